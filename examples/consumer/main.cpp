// Makes one value through the public factory and prints its primitive text.
// Exits 0 only when the text is "42", so a package that links but computes
// nonsense fails as surely as one that does not link.

#include <qel/core/QelCore.h>
#include <iostream>
#include <memory>
#include <string>

int main() {
    std::shared_ptr<qel::core::StoreValue> value = qel::core::factory::MakeInt32(42);
    std::string const text = qel::core::FormatPrimitive(*value).toStdString();
    std::cout << text << '\n';
    return text == "42" ? 0 : 1;
}
