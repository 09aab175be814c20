#include "qel/core/utility/Format.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <string>

#include "core/test/ThrownText.h"

namespace qel::core {
namespace {

template <class T>
std::string F(T const& value) {
    return Format(value).toStdString();
}

// Narrow text must not quietly become a bool.
template <class T>
concept Formattable = requires(T value) {
    Format(value);
};
static_assert(Formattable<char16_t const*>);
static_assert(!Formattable<char const*>);

TEST(FormatTest, PlainValues) {
    EXPECT_EQ(F(true), "true");
    EXPECT_EQ(F(false), "false");
    EXPECT_EQ(F(INT_MIN), "-2147483648");
    EXPECT_EQ(F(UINT_MAX), "4294967295");
    EXPECT_EQ(F(LLONG_MIN), "-9223372036854775808");
    EXPECT_EQ(F(ULLONG_MAX), "18446744073709551615");

    EXPECT_EQ(F(u"text"), "text");
    EXPECT_EQ(F(static_cast<char16_t const*>(nullptr)), "");
    EXPECT_EQ(F(TStringCore(u"a\0b", 3)), std::string("a\0b", 3));  // the whole text
    EXPECT_EQ(F(RIndirectString(u"indirect")), "indirect");
}

TEST(FormatTest, FloatsReadBackExactly) {
    EXPECT_EQ(F(1.0f / 3), "0.33333334");  // eight digits for float
    EXPECT_EQ(F(0.1), "0.10000000000000001");
    EXPECT_EQ(F(-2.5), "-2.5");
    EXPECT_EQ(F(1e300), "1.0000000000000001e+300");
    EXPECT_EQ(F(std::numeric_limits<float>::infinity()), "+inf");
    EXPECT_EQ(F(-std::numeric_limits<double>::infinity()), "-inf");
    EXPECT_EQ(F(std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST(FormatTest, ColoursAndDates) {
    EXPECT_EQ(F(QelColor(1, 2, 3, 255)), "ff010203");
    EXPECT_EQ(F(QelDateTime()), "1900-01-01");
    EXPECT_EQ(F(QelDateTime(2020, 3, 4, 5, 6, 7, 0)), "2020-03-04T05:06:07");
    // A raw value out of range cannot be shown; it fails as the date does.
    EXPECT_EQ(test::ThrownText([] { Format(QelDateTime(~0ULL)); }), "invalid date/time");
}

}  // namespace
}  // namespace qel::core
