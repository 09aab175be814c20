#include "qel/core/utility/RFormatString.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "qel/core/types/RInternString.h"

namespace qel::core {
namespace {

using S = TStringCore;

auto const Text = [](RFormatString const& format) { return format.result().toStdString(); };

// "<code>: <what>" of the format string fault that `call` throws.
template <class Call>
std::string Fault(Call&& call) {
    try {
        call();
    } catch (RFormatString::Exception const& e) {
        return std::to_string(static_cast<int>(e.GetError())) + ": " + e.what();
    } catch (std::exception const& e) {
        return std::string("wrong exception: ") + e.what();
    }
    return "(nothing thrown)";
}

auto const ScanFault = [](char16_t const* format) { return Fault([&] { RFormatString{format}; }); };

TEST(RFormatStringTest, MarkersTakeTheirArgumentsInAnyOrder) {
    EXPECT_EQ(Text(RFormatString(u"%1 and %2").arg(S(u"a")).arg(S(u"b"))), "a and b");
    EXPECT_EQ(Text(RFormatString(u"%2%1").arg(S(u"a")).arg(S(u"b"))), "ba");
    EXPECT_EQ(Text(RFormatString(u"100%%")), "100%");
    EXPECT_EQ(Text(RFormatString("%1%1, %3!").arg(u"x").arg(u"unused").arg(u"z")), "xx, z!");
    // Arguments beyond the highest marker are ignored.
    EXPECT_EQ(Text(RFormatString(u"[%1]").arg(1).arg(2)), "[1]");
    // A marker ends at the first non-digit, which may start the next marker.
    EXPECT_EQ(Text(RFormatString(u"%1%%%2x").arg(u"a").arg(u"b")), "a%bx");
    EXPECT_EQ(Text(RFormatString(u"%%1").arg(u"a")), "%1");
    EXPECT_EQ(Text(RFormatString(u"")), "");
    EXPECT_EQ(Text(RFormatString(static_cast<char16_t const*>(nullptr))), "");

    std::vector<S> const ten = {S(u"a"), S(u"b"), S(u"c"), S(u"d"), S(u"e"),
                                S(u"f"), S(u"g"), S(u"h"), S(u"i"), S(u"j")};
    EXPECT_EQ(Text(RFormatString(u"%10%1%9").arg(ten)), "jai");
    RFormatString spread(u"%10%1%9");
    spread.arg(ten[0], ten[1], ten[2], ten[3], ten[4], ten[5], ten[6], ten[7], ten[8], ten[9]);
    EXPECT_EQ(Text(spread), "jai");
    EXPECT_EQ(Text(RFormatString(u"%3%2%1").arg(S(u"x"), S(u"y")).arg(u'z')), "zyx");
    // Two digits at most: "%99" is one marker, and the rest stays text.
    std::vector<S> many(99, S(u"-"));
    many.back() = S(u"last");
    EXPECT_EQ(Text(RFormatString(u"%99 %1a").arg(many)), "last -a");
}

TEST(RFormatStringTest, EachMalformedMarkerHasItsOwnCodeAndOnlyAsciiDigitsCount) {
    EXPECT_EQ(ScanFault(u"%"), "16: format string ends with an incomplete marker");
    EXPECT_EQ(ScanFault(u"%x"), "13: invalid numberless marker in format string");
    // Only ASCII digits count: a full-width or Arabic-Indic digit is not a number.
    EXPECT_EQ(ScanFault(u"%\uFF11"), "13: invalid numberless marker in format string");
    EXPECT_EQ(ScanFault(u"%\u0661"), "13: invalid numberless marker in format string");
    EXPECT_EQ(ScanFault(u"%0"), "12: leading zero in marker number in format string");
    EXPECT_EQ(ScanFault(u"%100"), "14: invalid marker number > 99 in format string");
    EXPECT_EQ(ScanFault(u"%1000000000000"), "14: invalid marker number > 99 in format string");
    EXPECT_EQ(ScanFault(u"%1%"), "16: format string ends with an incomplete marker");

    EXPECT_TRUE(RFormatString::isDigit(u'9'));
    EXPECT_FALSE(RFormatString::isDigit(u':'));
    EXPECT_FALSE(RFormatString::isDigit(u'\uFF10'));  // full-width zero
    EXPECT_FALSE(RFormatString::isDigit(static_cast<char16_t>(u'0' + 256)));
    EXPECT_EQ(RFormatString::digitValue(u'7'), 7);
}

TEST(RFormatStringTest, TooFewArgumentsSayHowManyAreMissing) {
    EXPECT_EQ(Fault([] { RFormatString(u"%1").result(); }),
              "11: insufficient parameters to format string\n"
              "have 0, need 1: format string = \"%1\"");
    // The highest number counts, not the number of markers.
    EXPECT_EQ(Fault([] { RFormatString(u"%1 %12").arg(1).arg(2).result(); }),
              "11: insufficient parameters to format string\n"
              "have 2, need 12: format string = \"%1 %12\"");
    // It is a runtime exception, for callers that catch only those.
    EXPECT_THROW(RFormatString(u"%2").arg(1).result(), QelRuntimeException);
    // So is interning the result.
    EXPECT_THROW(RInternString(RFormatString(u"%1")), RFormatString::Exception);
    EXPECT_EQ(RInternString(RFormatString(u"%1-%2").arg(u"a").arg(u"b")), RInternString(u"a-b"));
}

TEST(RFormatStringTest, FieldWidthPadsWithoutCuttingAndFillGoesBeforeTheSign) {
    EXPECT_EQ(Text(RFormatString(u"[%1]").arg(S(u"ab"), 5, u'.')), "[...ab]");
    EXPECT_EQ(Text(RFormatString(u"[%1]").arg(S(u"ab"), -5, u'.')), "[ab...]");
    EXPECT_EQ(Text(RFormatString(u"[%1]").arg(S(u"abcdef"), 3)), "[abcdef]");
    EXPECT_EQ(Text(RFormatString(u"[%1]").arg(S(u"abcdef"), -3)), "[abcdef]");
    EXPECT_EQ(Text(RFormatString(u"[%1]").arg(u'x', 3)), "[  x]");
    EXPECT_EQ(Text(RFormatString(u"[%1]").arg(u'x', -3, u'_')), "[x__]");

    EXPECT_EQ(Text(RFormatString(u"%1").arg(7, 4, 10, u'0')), "0007");
    EXPECT_EQ(Text(RFormatString(u"%1").arg(-7, 4, 10, u'0')), "00-7");
    EXPECT_EQ(Text(RFormatString(u"%1").arg(-7, -4, 10, u'0')), "-700");
    EXPECT_EQ(Text(RFormatString(u"%1").arg(255u, 0, 16)), "ff");
    EXPECT_EQ(Text(RFormatString(u"%1").arg(-5L, 0, 2)), "-101");
    // Every integer width keeps its full range.
    RFormatString all(u"%1 %2 %3 %4 %5 %6 %7 %8");
    all.arg(short{SHRT_MIN}).arg(static_cast<unsigned short>(USHRT_MAX)).arg(INT_MIN);
    all.arg(UINT_MAX).arg(LONG_MIN).arg(ULONG_MAX).arg(LLONG_MIN).arg(ULLONG_MAX);
    EXPECT_EQ(Text(all),
              "-32768 65535 -2147483648 4294967295 -9223372036854775808 18446744073709551615 "
              "-9223372036854775808 18446744073709551615");

    EXPECT_EQ(Text(RFormatString(u"%1").arg(3.14159, 0, 'f', 2)), "3.14");
    EXPECT_EQ(Text(RFormatString(u"%1").arg(-3.14159, 7, 'f', 2, u'0')), "00-3.14");
    EXPECT_EQ(Text(RFormatString(u"%1").arg(2.5e-7, -9, 'e', 1, u'*', true)), "2.5E-07**");
    EXPECT_EQ(Text(RFormatString(u"%1").arg(0.1f)), "0.1");  // 'g' with 6 digits
}

TEST(RFormatStringTest, ReassigningTheTextKeepsTheArguments) {
    RFormatString format(u"%1+%2");
    format.arg(u"a").arg(u"b");
    format = S(u"%2-%1");
    EXPECT_EQ(Text(format), "b-a");
    format = u"%2%2";
    EXPECT_EQ(Text(format), "bb");

    // A bad text is refused and leaves the object as it was.
    EXPECT_EQ(Fault([&] { format = u"%0"; }), "12: leading zero in marker number in format string");
    EXPECT_EQ(Text(format), "bb");

    RFormatString copy(format);
    copy.arg(u"c");
    copy = u"%3";
    EXPECT_EQ(Text(copy), "c");
    format = copy;
    EXPECT_EQ(Text(format), "c");
}

}  // namespace
}  // namespace qel::core
