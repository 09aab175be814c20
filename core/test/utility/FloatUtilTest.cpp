#include "qel/core/utility/FloatUtil.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>

namespace qel::core {
namespace {

using F = std::numeric_limits<float>;
using D = std::numeric_limits<double>;

TEST(FloatUtilTest, CompareWithinUlps) {
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
}

TEST(FloatUtilTest, CompareSignsZerosAndNan) {
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

TEST(FloatUtilTest, FloatText) {
    auto text = [](auto value) { return ConvertFloatToString(value).toStdString(); };
    EXPECT_EQ(text(0.1), "0.10000000000000001");
    EXPECT_EQ(text(0.1f), "0.1");
    EXPECT_EQ(text(-0.0), "-0");
    EXPECT_EQ(text(1e300), "1.0000000000000001e+300");
    EXPECT_EQ(text(-D::denorm_min()), "-4.9406564584124654e-324");
    EXPECT_EQ(text(D::max()), "1.7976931348623157e+308");
    EXPECT_EQ(text(F::max()), "3.4028235e+38");
    EXPECT_EQ(text(F::denorm_min()), "1.4012985e-45");
    EXPECT_EQ(text(-F::quiet_NaN()), "nan");
    EXPECT_EQ(text(D::infinity()), "+inf");
    EXPECT_EQ(text(-D::infinity()), "-inf");
}

// The text is defined as printf's "%.*g"; the implementation may produce it
// another way only if every value gives the same characters.
TEST(FloatUtilTest, TextIsPrintfsGeneralFormForEveryBitPattern) {
    std::mt19937_64 random(20261123);
    int compared = 0;
    for (int i = 0; i < 300000; ++i) {
        std::uint64_t bits = random();
        double d;
        std::memcpy(&d, &bits, sizeof(d));
        float f;
        auto low = static_cast<std::uint32_t>(bits);
        std::memcpy(&f, &low, sizeof(f));
        char expected[30];
        if (std::isfinite(d)) {
            std::snprintf(expected, sizeof(expected), "%.*g", 17, d);
            ASSERT_EQ(ConvertFloatToString(d).toStdString(), expected) << bits;
            ++compared;
        }
        if (std::isfinite(f)) {
            std::snprintf(expected, sizeof(expected), "%.*g", 8, static_cast<double>(f));
            ASSERT_EQ(ConvertFloatToString(f).toStdString(), expected) << low;
            ++compared;
        }
    }
    EXPECT_GT(compared, 500000);
}

}  // namespace
}  // namespace qel::core
