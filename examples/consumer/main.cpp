// Makes one value through the public factory and prints its primitive text.
// Exits 0 only when the text is "42", so a package that links but computes
// nonsense fails as surely as one that does not link.
//
// It also makes a check inline in a public header fail: the refusal must name
// the library's own source, never the path this host included the header
// from.

#include <qel/core/QelCore.h>
#include <iostream>
#include <memory>
#include <regex>
#include <string>

namespace {

bool RefusalNamesLibrarySource() {
    int elements[3] = {1, 2, 3};
    qel::core::ArrayView<int> view(elements, 3);
    try {
        view.GetAt(3);
    } catch (qel::core::QelException const& e) {
        std::string const context = e.GetContext().toStdString();
        if (std::regex_match(context, std::regex("Source: core/main/utility/ArrayView:[0-9]+")))
            return true;
        std::cerr << "unexpected context: " << context << '\n';
        return false;
    }
    std::cerr << "GetAt(3) of three elements was not refused\n";
    return false;
}

}  // namespace

int main() {
    std::shared_ptr<qel::core::StoreValue> value = qel::core::factory::MakeInt32(42);
    std::string const text = qel::core::FormatPrimitive(*value).toStdString();
    std::cout << text << '\n';
    return text == "42" && RefusalNamesLibrarySource() ? 0 : 1;
}
