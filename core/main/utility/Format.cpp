#include "qel/core/utility/Format.h"

#include "qel/core/types/RIndirectString.h"

#include "qel/core/utility/FloatUtil.h"

namespace qel::core {

TStringCore Format(bool value) {
    return TStringCore(value ? u"true" : u"false");
}

TStringCore Format(int value) {
    return TStringCore::number(value);
}

TStringCore Format(unsigned int value) {
    return TStringCore::number(value);
}

TStringCore Format(long long value) {
    return TStringCore::number(value);
}

TStringCore Format(unsigned long long value) {
    return TStringCore::number(value);
}

TStringCore Format(char16_t const* text) {
    return TStringCore(text);
}

TStringCore Format(TStringCore const& text) {
    return text;
}

TStringCore Format(RIndirectString const& text) {
    return text.GetValue();
}

TStringCore Format(float value) {
    return ConvertFloatToString(value);
}

TStringCore Format(double value) {
    return ConvertFloatToString(value);
}

TStringCore Format(QelColor color) {
    return color.ToString();
}

TStringCore Format(QelDateTime dateTime) {
    return dateTime.ToString();
}

}  // namespace qel::core
