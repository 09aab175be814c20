#include "qel/core/utility/FloatUtil.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>

namespace qel::core {
namespace {

using F = std::numeric_limits<float>;
using D = std::numeric_limits<double>;

TEST(FloatUtilTest, CompareWithinUlpsSignsZerosAndNan) {
    EXPECT_EQ(FloatUtil::Compare(1.0f, 1.0000001f, 0), -1);
    EXPECT_EQ(FloatUtil::Compare(1.0f, 1.0000001f, 16), 0);
    float const up2 = std::nextafter(std::nextafter(1.0f, 2.0f), 2.0f);
    EXPECT_EQ(FloatUtil::Compare(1.0f, up2, 1), -1);
    EXPECT_EQ(FloatUtil::Compare(1.0f, up2, 2), 0);
    EXPECT_EQ(FloatUtil::Compare(-1.0f, -1.0000001f, 0), 1);
    EXPECT_EQ(FloatUtil::Compare(F::max(), F::infinity(), 1), 0);  // adjacent patterns
    EXPECT_EQ(FloatUtil::Compare(1.0, std::nextafter(1.0, 2.0), 0), -1);
    EXPECT_EQ(FloatUtil::Compare(1.0, std::nextafter(1.0, 2.0), 1), 0);
    // 2^52 steps apart: the 64-bit distance must not be cut to the tolerance's width.
    EXPECT_EQ(FloatUtil::Compare(1.0, 2.0, ~0u), -1);
    EXPECT_EQ(FloatUtil::Compare(2.0, 1.0, ~0u), 1);

    EXPECT_EQ(FloatUtil::Compare(0.0f, -0.0f, 0), 0);
    // The smallest numbers of opposite sign are never within tolerance.
    EXPECT_EQ(FloatUtil::Compare(F::denorm_min(), -F::denorm_min(), ~0u), 1);
    EXPECT_EQ(FloatUtil::Compare(-F::denorm_min(), 0.0f, ~0u), -1);
    EXPECT_EQ(FloatUtil::Compare(-D::denorm_min(), D::denorm_min(), ~0u), -1);
    // A NaN is never below the other side; only its own pattern is close.
    EXPECT_EQ(FloatUtil::Compare(F::quiet_NaN(), 1.0f, 0), 1);
    EXPECT_EQ(FloatUtil::Compare(-1.0, D::quiet_NaN(), 0), 1);
    EXPECT_EQ(FloatUtil::Compare(F::quiet_NaN(), F::quiet_NaN(), 0), 0);

    EXPECT_TRUE(FloatUtil::IsNan(F::quiet_NaN()));
    EXPECT_TRUE(FloatUtil::IsSpecial(-F::infinity()));
    EXPECT_TRUE(FloatUtil::IsSpecial(D::quiet_NaN()));
    EXPECT_FALSE(FloatUtil::IsSpecial(F::max()));
    EXPECT_FALSE(FloatUtil::IsSpecial(D::denorm_min()));
}

// The text is printf's "%.*g", with 17 digits for double and 8 for float,
// except for the values that are not finite. The implementation may produce
// it another way only if every value gives the same characters: edges first,
// then random bit patterns.
TEST(FloatUtilTest, TextIsPrintfsGeneralFormForEveryBitPattern) {
    auto text = [](auto value) { return ConvertFloatToString(value).toStdString(); };
    EXPECT_EQ(text(0.1), "0.10000000000000001");
    EXPECT_EQ(text(0.1f), "0.1");
    EXPECT_EQ(text(-F::quiet_NaN()), "nan");
    EXPECT_EQ(text(D::infinity()), "+inf");
    EXPECT_EQ(text(-D::infinity()), "-inf");

    int compared = 0;
    auto printfText = [&](auto value) {
        if (!std::isfinite(value))
            return;
        char expected[30];
        std::snprintf(expected, sizeof(expected), "%.*g", sizeof(value) == 8 ? 17 : 8,
                      static_cast<double>(value));
        ASSERT_EQ(text(value), expected) << std::hexfloat << value;
        ++compared;
    };
    for (double d : {-0.0, 1e300, -D::denorm_min(), D::max()})
        printfText(d);
    for (float f : {F::max(), F::denorm_min(), -F::denorm_min()})
        printfText(f);
    // Exact ties at the last digit (which round to even), and values whose
    // rounding carries into a new digit or that sit beside a power of ten.
    for (double d : {1234567890123456.75, 1234567890123456.25, 0.5, 2.5e-8, 99999999999999999.0})
        printfText(d);
    for (int e = -325; e <= 308; ++e) {
        double const power = std::pow(10.0, e);
        for (double d : {power, std::nextafter(power, 0.0), std::nextafter(power, D::max())})
            printfText(d);
    }
    for (int e = -1074; e <= 1023; ++e) {
        printfText(std::ldexp(1.0, e));
        printfText(std::ldexp(3.0, e));
    }
    for (long long i = 1; i < 20000; ++i) {
        printfText(static_cast<double>(i) * 0.125 + 1e15);
        printfText(static_cast<float>(static_cast<double>(i) + 0.5));
    }
    std::mt19937_64 random(20261123);
    for (int i = 0; i < 300000 && !HasFailure(); ++i) {
        std::uint64_t const bits = random();
        printfText(std::bit_cast<double>(bits));
        printfText(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    }
    EXPECT_GT(compared, 500000);
}

}  // namespace
}  // namespace qel::core
