#include "qel/core/utility/FloatUtil.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
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

template <class T>
TStringCore ConvertFloatToString(T value) {
    if (FloatUtil::IsNan(value))
        return TStringCore(u"nan");
    if (std::isinf(value))
        return TStringCore(value < 0 ? u"-inf" : u"+inf");
    char buffer[30] = {};
    int const precision = std::is_same_v<T, float> ? 8 : 17;
    std::snprintf(buffer, sizeof(buffer), "%.*g", precision, static_cast<double>(value));
    return TStringCore(buffer);
}

template TStringCore ConvertFloatToString<float>(float);
template TStringCore ConvertFloatToString<double>(double);

}  // namespace qel::core
