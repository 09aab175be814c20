#include "qel/core/utility/FloatUtil.h"

#include <array>
#include <bit>
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

// Exact "%.*g" digits without printf. A value v = m * 2^e is scaled by a
// power of ten held to 128 bits, so that its integer part has `P` or `P+1`
// digits, and rounded to `P` digits by the bits below. The power is rounded
// down, so the scaled value is known within 2^-64 of a unit; only when that
// window holds the rounding point (an exact tie, or a value within 2^-64 of
// one) does the conversion defer to the standard library's exact one.

// 10^k rounded down to 128 significant bits: 10^k ~ (hi * 2^64 + lo) * 2^exponent.
struct PowerOfTen {
    std::uint64_t hi;
    std::uint64_t lo;
    int exponent;
};

// k such that v * 10^k has 17 or 18 integer digits, over all doubles
// (floats, widened, need 8 or 9 and fall well inside).
constexpr int kMinPower = -292;
constexpr int kMaxPower = 341;
constexpr int kPowerCount = kMaxPower - kMinPower + 1;

// A big number in 32-bit limbs, least significant first: wide enough for
// 10^341 (1133 bits) and for 2^1120, which divided by 10^292 still keeps
// 150 bits.
struct BigNumber {
    static constexpr int kLimbs = 37;
    std::uint32_t limb[kLimbs] = {};

    constexpr int HighestBit() const {
        for (int i = kLimbs - 1; i >= 0; --i)
            if (limb[i] != 0)
                return i * 32 + 31 - std::countl_zero(limb[i]);
        return -1;
    }
    constexpr bool Bit(int n) const { return n >= 0 && (limb[n / 32] >> (n % 32)) & 1; }
    constexpr void MultiplyBy10() {
        std::uint64_t carry = 0;
        for (auto& l : limb) {
            std::uint64_t const v = std::uint64_t{l} * 10 + carry;
            l = static_cast<std::uint32_t>(v);
            carry = v >> 32;
        }
    }
    constexpr void DivideBy10() {
        std::uint64_t rest = 0;
        for (int i = kLimbs - 1; i >= 0; --i) {
            std::uint64_t const v = (rest << 32) | limb[i];
            limb[i] = static_cast<std::uint32_t>(v / 10);
            rest = v % 10;
        }
    }
    // The top 128 bits, rounded down, and the weight of their lowest bit
    // (bits below 0 read as zero, so a short number is shifted up exactly).
    constexpr PowerOfTen Top128(int weightOffset) const {
        int const top = HighestBit();
        PowerOfTen p{0, 0, top - 127 - weightOffset};
        for (int n = 0; n < 64; ++n) {
            p.hi = (p.hi << 1) | (Bit(top - n) ? 1 : 0);
            p.lo = (p.lo << 1) | (Bit(top - 64 - n) ? 1 : 0);
        }
        return p;
    }
};

constexpr std::array<PowerOfTen, kPowerCount> MakePowersOfTen() {
    std::array<PowerOfTen, kPowerCount> powers{};
    BigNumber up;
    up.limb[0] = 1;
    for (int k = 0; k <= kMaxPower; ++k) {
        powers[k - kMinPower] = up.Top128(0);
        up.MultiplyBy10();
    }
    constexpr int kScale = 1120;
    BigNumber down;
    down.limb[kScale / 32] = std::uint32_t{1} << (kScale % 32);
    for (int k = 1; k <= -kMinPower; ++k) {
        down.DivideBy10();
        powers[-k - kMinPower] = down.Top128(kScale);
    }
    return powers;
}

constexpr std::array<PowerOfTen, kPowerCount> kPowersOfTen = MakePowersOfTen();

constexpr std::uint64_t kPowers10[] = {1ULL,
                                       10ULL,
                                       100ULL,
                                       1000ULL,
                                       10000ULL,
                                       100000ULL,
                                       1000000ULL,
                                       10000000ULL,
                                       100000000ULL,
                                       1000000000ULL,
                                       10000000000ULL,
                                       100000000000ULL,
                                       1000000000000ULL,
                                       10000000000000ULL,
                                       100000000000000ULL,
                                       1000000000000000ULL,
                                       10000000000000000ULL,
                                       100000000000000000ULL,
                                       1000000000000000000ULL};

constexpr char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

// Eight digits of `n` (below 10^8), zero-padded on the left, all at once:
// the halves, the pairs and the digits are split in lanes of one register
// by multiplications that stand for exact divisions in their ranges.
void WriteEightDigits(std::uint32_t n, char* out) {
    std::uint64_t const merged = (n / 10000) | (std::uint64_t{n % 10000} << 32);
    std::uint64_t const hundreds = ((merged * 10486) >> 20) & 0x0000007F0000007FULL;
    std::uint64_t const pairs = hundreds | ((merged - 100 * hundreds) << 16);
    std::uint64_t const tens = ((pairs * 103) >> 10) & 0x000F000F000F000FULL;
    std::uint64_t const digits = (tens | ((pairs - 10 * tens) << 8)) | 0x3030303030303030ULL;
    std::memcpy(out, &digits, sizeof digits);
}

// The `precision` significant digits of a finite, nonzero |v|, correctly
// rounded, and the decimal exponent of the first; false when the scaled
// value lies too close to a rounding point to decide here.
bool RoundedDigits(double v, int precision, std::uint64_t& digits, int& exponent10) {
    std::uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    int const biased = static_cast<int>((bits >> 52) & 0x7FF);
    std::uint64_t mantissa = bits & ((std::uint64_t{1} << 52) - 1);
    int exponent = -1074;
    if (biased != 0) {
        mantissa |= std::uint64_t{1} << 52;
        exponent = biased - 1075;
    }
    int const shift = std::countl_zero(mantissa);
    mantissa <<= shift;
    exponent -= shift;
    // floor(log10(2^(exponent + 63))): the decimal exponent of v or one less.
    int const guess = ((exponent + 63) * 78913) >> 18;
    int const k = precision - 1 - guess;
    PowerOfTen const& power = kPowersOfTen[static_cast<std::size_t>(k - kMinPower)];
    // The 192-bit product mantissa * power, of which the top 64 bits and the
    // next 64 are enough: the scaled value is product * 2^-(scale).
    unsigned __int128 const low = static_cast<unsigned __int128>(mantissa) * power.lo;
    unsigned __int128 const high = static_cast<unsigned __int128>(mantissa) * power.hi;
    unsigned __int128 const middle = high + static_cast<std::uint64_t>(low >> 64);
    auto const p2 = static_cast<std::uint64_t>(middle >> 64);
    auto const p1 = static_cast<std::uint64_t>(middle);
    int const r = -(exponent + power.exponent) - 128;  // 2..41 for both precisions
    std::uint64_t const integer = p2 >> r;
    std::uint64_t const fraction = (p2 << (64 - r)) | (p1 >> r);
    // The true scaled value lies in [integer + fraction, integer + fraction + 2) units of 2^-64.
    constexpr std::uint64_t kHalf = std::uint64_t{1} << 63;
    std::uint64_t const limit = kPowers10[precision];
    bool up;
    exponent10 = guess;
    if (integer < limit) {
        digits = integer;
        if (fraction >= kHalf - 2 && fraction <= kHalf)
            return false;
        up = fraction > kHalf;
    } else {
        std::uint64_t const last = integer % 10;
        digits = integer / 10;
        ++exponent10;
        if ((last == 5 && fraction == 0) || (last == 4 && fraction >= ~std::uint64_t{0} - 1))
            return false;
        up = last >= 5;
    }
    if (up && ++digits == limit) {
        digits = limit / 10;
        ++exponent10;
    }
    return true;
}

// printf's "%.*g" of a finite double, or -1 when it must be left to the
// exact conversion.
int FormatG(double v, int precision, char* out) {
    char* at = out;
    if (std::signbit(v)) {
        *at++ = '-';
        v = -v;
    }
    if (v == 0) {
        *at++ = '0';
        return static_cast<int>(at - out);
    }
    std::uint64_t n;
    int e;
    if (!RoundedDigits(v, precision, n, e))
        return -1;
    // The digits, then the trailing zeros that "%g" drops.
    char digits[20];
    if (precision == 17) {
        std::uint64_t const high = n / 100000000;
        digits[0] = static_cast<char>('0' + high / 100000000);
        WriteEightDigits(static_cast<std::uint32_t>(high % 100000000), digits + 1);
        WriteEightDigits(static_cast<std::uint32_t>(n % 100000000), digits + 9);
    } else {
        WriteEightDigits(static_cast<std::uint32_t>(n), digits);
    }
    int significant = precision;
    while (digits[significant - 1] == '0')
        --significant;
    if (e >= -4 && e < precision) {
        if (e < 0) {
            std::memcpy(at, "0.0000", static_cast<std::size_t>(1 - e));
            at += 1 - e;
            std::memcpy(at, digits, static_cast<std::size_t>(significant));
            at += significant;
        } else if (significant <= e + 1) {
            std::memcpy(at, digits, static_cast<std::size_t>(significant));
            at += significant;
            for (int i = significant; i <= e; ++i)
                *at++ = '0';
        } else {
            std::memcpy(at, digits, static_cast<std::size_t>(e + 1));
            at += e + 1;
            *at++ = '.';
            std::memcpy(at, digits + e + 1, static_cast<std::size_t>(significant - e - 1));
            at += significant - e - 1;
        }
        return static_cast<int>(at - out);
    }
    *at++ = digits[0];
    if (significant > 1) {
        *at++ = '.';
        std::memcpy(at, digits + 1, static_cast<std::size_t>(significant - 1));
        at += significant - 1;
    }
    *at++ = 'e';
    *at++ = e < 0 ? '-' : '+';
    int const magnitude = e < 0 ? -e : e;
    if (magnitude >= 100) {
        *at++ = static_cast<char>('0' + magnitude / 100);
    }
    std::memcpy(at, kDigitPairs + 2 * (magnitude % 100), 2);
    at += 2;
    return static_cast<int>(at - out);
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
// double, the float widened first), written without printf: no locale, and
// about ten times faster.
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
    auto const wide = static_cast<double>(value);
    if (std::isfinite(wide)) {
        int const length = FormatG(wide, precision, buffer);
        if (length >= 0)
            return length;
    }
    auto result =
        std::to_chars(buffer, buffer + sizeof(buffer), wide, std::chars_format::general, precision);
    return static_cast<int>(result.ptr - buffer);
}

template int ConvertFloatToChars<float>(float, char (&)[32]);
template int ConvertFloatToChars<double>(double, char (&)[32]);

template TStringCore ConvertFloatToString<float>(float);
template TStringCore ConvertFloatToString<double>(double);

}  // namespace qel::core
