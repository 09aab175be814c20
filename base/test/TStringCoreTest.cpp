#include "qel/sys/TStringCore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <limits>
#include <string>
#include <vector>

namespace qel::sys {
namespace {

using S = TStringCore;
// Eleven units fit inline, twelve need a shared header.
constexpr char16_t kInline[] = u"abcdefghijk";
constexpr char16_t kLong[] = u"abcdefghijkl";

TEST(TStringCoreTest, ConstructionAndGrowthAcrossTheInlineLimit) {
    static_assert(TStringManager::kInlineCapacity == 11);
    EXPECT_EQ(S().constData()[0], u'\0');
    EXPECT_TRUE(S(static_cast<char16_t const*>(nullptr)).isEmpty());
    EXPECT_EQ(S(u"abcdef", 3).view(), u"abc");
    EXPECT_EQ(S("\xE9t").view(), u"\u00E9t");  // the narrow constructor widens bytes
    EXPECT_EQ(S(u'x', 3).view(), u"xxx");

    S grown;
    std::u16string expected;
    for (int i = 0; i < 100; ++i) {
        grown.append(static_cast<char16_t>(u'a' + i % 26));
        expected.push_back(static_cast<char16_t>(u'a' + i % 26));
        ASSERT_EQ(grown.view(), expected);
        ASSERT_EQ(grown.constData()[grown.length()], u'\0');
    }
}

TEST(TStringCoreTest, CopiesShareUntilWritten) {
    S const original(kLong);
    S copy = original;
    EXPECT_EQ(copy.constData(), original.constData());
    copy[0] = u'X';
    S appended = original;
    appended.append(u'!');
    S viaIterator = original;
    *viaIterator.begin() = u'Y';
    EXPECT_EQ(original.view(), kLong);
    EXPECT_EQ(original.constData()[original.length()], u'\0');
    EXPECT_EQ(copy.view(), u"Xbcdefghijkl");

    S moved = std::move(appended);
    EXPECT_EQ(moved.view(), u"abcdefghijkl!");
    EXPECT_TRUE(appended.isEmpty());  // NOLINT(bugprone-use-after-move)
    copy = std::move(moved);
    EXPECT_TRUE(moved.isEmpty());  // NOLINT(bugprone-use-after-move)
}

TEST(TStringCoreTest, AppendAndConcatenate) {
    for (char16_t const* text : {kInline, kLong}) {
        S s(text);
        S const before = s;
        s.append(s);  // itself, possibly through a shared header
        EXPECT_EQ(s.view(), std::u16string(text) + text);
        S t = before;
        t.append(t.constData() + 2, 3);  // a range inside itself
        EXPECT_EQ(t, before + u"cde");
    }
    // With room reserved, short appends write in place, but never into a
    // shared header, and a range of the string itself is read before it
    // grows.
    S roomy(kLong);
    roomy.reserve(64);
    S const sharer = roomy;
    roomy.append(u"xy", 2).append(u'z');
    roomy.append(roomy.constData(), 3);
    EXPECT_EQ(roomy.view(), std::u16string(kLong) + u"xyzabc");
    EXPECT_EQ(sharer.view(), kLong);
    EXPECT_EQ(roomy.constData()[roomy.length()], u'\0');
    // Units filled in place: across the inline limit, into reserved room
    // and out of a shared header, which keeps its text.
    S huge(kLong);
    huge.reserve(10'000'000);  // beyond the size that asks for huge pages
    for (S grown : {S(kInline), S(kLong), roomy, huge}) {
        S const other = grown;
        int const n = grown.length();
        std::copy_n(u"123", 3, grown.extend(3));
        EXPECT_EQ(grown.view(), std::u16string(other.view()) + u"123");
        EXPECT_EQ(grown.constData()[n + 3], u'\0');
        EXPECT_EQ(other.length(), n);
    }
    S s(u"a");
    s.append('b').append(u'c').append("d\xFF", 2).append(u"e", -1).append(S(u"f"));
    EXPECT_EQ(s.view(), u"abcd\u00FFef");
    EXPECT_EQ((u'<' + S(kInline) + u'>').view(), u"<abcdefghijk>");
    EXPECT_EQ((u"[" + S(kLong) + S(u"]")).view(), u"[abcdefghijkl]");
    EXPECT_EQ(s.assign(u'z', 2).view(), u"zz");
}

TEST(TStringCoreTest, CompareAndSearch) {
    auto const cs = CaseSensitivity::CaseSensitive;
    auto const ci = CaseSensitivity::CaseInsensitive;
    EXPECT_LT(S::compare(u"abc", u"abd", cs), 0);
    EXPECT_EQ(S::compare(nullptr, u"", cs), 0);
    EXPECT_EQ(S::compare(u"\u00C9t\u00E9", u"\u00E9T\u00C9", ci), 0);
    EXPECT_LT(S(u"ab").compare(S(u"abc"), ci), 0);
    EXPECT_LT(S(u"B").compare(S(u"a"), cs), 0);  // code unit order
    EXPECT_TRUE(S(u"ab") < S(u"b"));

    S text(u"one,two,ONE");
    EXPECT_EQ(text.indexOf(u',', 4), 7);
    EXPECT_EQ(text.indexOf(u'E', -1), 10);
    EXPECT_EQ(text.indexOf(S(u"one"), 1), -1);
    EXPECT_EQ(text.indexOf(S(u"one"), 1, ci), 8);
    EXPECT_EQ(text.indexOf(S(u"o"), 100), -1);
}

TEST(TStringCoreTest, DerivedStrings) {
    S text(u"hello world!");
    EXPECT_EQ(text.mid(6, 100).view(), u"world!");
    EXPECT_EQ(text.mid(-2, 4).view(), u"he");
    EXPECT_TRUE(text.mid(INT_MAX, 1).isEmpty());

    using Parts = std::vector<S>;
    EXPECT_EQ(S(u",a,,b,").split(u','), (Parts{S(), S(u"a"), S(), S(u"b"), S()}));
    EXPECT_EQ(S(u",a,,b,").split(u',', SplitBehavior::SkipEmptyParts), (Parts{S(u"a"), S(u"b")}));

    EXPECT_EQ(S(u"ab").leftJustified(4, u'.').view(), u"ab..");
    EXPECT_EQ(S(u"ab").rightJustified(4, u'.').view(), u"..ab");
    EXPECT_EQ(S(u"abcdef").rightJustified(3, u' ', true).view(), u"abc");

    S r(u"a-b");
    EXPECT_EQ(r.replace(u'a', r).view(), u"a-b-b");  // the replacement aliases the string
    EXPECT_EQ(S(u" \t\u00A0x y\r\n").trimmed().view(), u"x y");
}

TEST(TStringCoreTest, IntegerAndFloatingPointText) {
    EXPECT_EQ(S::number(static_cast<short>(SHRT_MIN)).view(), u"-32768");
    EXPECT_EQ(S::number(LLONG_MIN).view(), u"-9223372036854775808");
    EXPECT_EQ(S::number(ULLONG_MAX).view(), u"18446744073709551615");
    EXPECT_EQ(S::number(-5L, 2).view(), u"-101");
    EXPECT_EQ(S::number(7, 10, 3, u'0').view(), u"007");
    EXPECT_EQ(S::pointer(reinterpret_cast<void const*>(0xbeef)).view(), u"0xbeef");

    EXPECT_EQ(S::number(1234567.0).view(), u"1.23457e+06");  // 'g' with 6 digits
    EXPECT_EQ(S::number(0.1, 'f', 3).view(), u"0.100");
    EXPECT_EQ(S::number(-2.5, 'e', 2).view(), u"-2.50e+00");
    EXPECT_EQ(S::number(2.5e-7, 'E', 1).view(), u"2.5E-07");
    EXPECT_EQ(S::number(2.5, 'f', -1).view(), u"2.500000");
    EXPECT_EQ(S::number(0.5, 'x', 3).view(), u"0.5");  // unknown formats act as 'g'
    // The flag raises the case of every letter, whatever the format's case.
    EXPECT_EQ(S::number(2.5e-7, 'e', 1, true).view(), u"2.5E-07");
    EXPECT_EQ(S::number(std::numeric_limits<double>::infinity(), 'f', 2, true).view(), u"INF");
    EXPECT_EQ(S::number(std::numeric_limits<double>::quiet_NaN(), 'g', 6, true).view(), u"NAN");
    // A huge precision is bounded, not a buffer overrun.
    S const widest = S::number(-std::numeric_limits<double>::max(), 'f', INT_MAX);
    EXPECT_EQ(widest.length(), 1 + 309 + 1 + 1100);
    EXPECT_EQ(widest.mid(0, 4).view(), u"-179");
}

// The value as text, or "bad" when the conversion failed (and gave 0).
// `ok` is a reference so that it is read after the conversion has set it.
template <class T>
std::string Result(T value, bool const& ok) {
    return ok ? std::to_string(value) : value == T() ? "bad" : "bad but not 0";
}

TEST(TStringCoreTest, TextToNumber) {
    bool ok = false;
    auto ll = [&](S const& s, int base = 10) { return Result(s.toLongLong(&ok, base), ok); };
    auto us = [&](S const& s) { return Result(s.toUShort(&ok), ok); };
    auto db = [&](S const& s) { return Result(s.toDouble(&ok), ok); };
    EXPECT_EQ(ll(S(u" -123 ")), "-123");
    EXPECT_EQ(ll(S(u"ff"), 16), "255");
    EXPECT_EQ(us(S(u"65535")), "65535");
    EXPECT_EQ(db(S(u" 1.5e3 ")), "1500.000000");
    for (char16_t const* bad :
         {u"", u"  ", u"12x", u"1 2", u"-", u"9223372036854775808", u"\uFF11", u"0x10"}) {
        EXPECT_EQ(ll(S(bad)), "bad") << S(bad);
    }
    char16_t const embeddedZero[] = {u'1', 0, u'2'};
    EXPECT_EQ(ll(S(embeddedZero, 3)), "bad");
    EXPECT_EQ(us(S(u"65536")), "bad");
    EXPECT_EQ(us(S(u"-1")), "bad");
    EXPECT_EQ(db(S(u"1.5x")), "bad");
}

TEST(TStringCoreTest, Utf8Conversion) {
    char const utf8[] = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    EXPECT_EQ(S::fromUtf8(utf8).view(), u"a\u00E9\u20AC\xD83D\xDE00");
    EXPECT_EQ(S::fromUtf8(utf8).toStdString(), utf8);
    EXPECT_EQ(S::fromStdString(std::string("a\0b", 3)).length(), 3);

    // Each broken sequence becomes one U+FFFD and never swallows what follows.
    for (char const* bad :
         {"\x80z", "\xE2\x82z", "\xED\xA0\x80z", "\xF4\x90\x80\x80z", "\xE0\x80\xAFz", "\xFFz"}) {
        EXPECT_EQ(S::fromUtf8(bad).view(), u"\uFFFDz") << bad;
    }
    EXPECT_EQ(S::fromUtf8("ab\xC3\xA9", 3).view(), u"ab\uFFFD");  // the length cuts the pair

    // Lone or reversed surrogates encode as U+FFFD.
    std::string const bad = "\xEF\xBF\xBD";
    EXPECT_EQ(S(u"a\xD800").toStdString(), "a" + bad);
    EXPECT_EQ(S(u"\xDE00\xD83D").toStdString(), bad + bad);
    EXPECT_EQ(S(u"\xD83D\xD83D\xDE00").toStdString(), bad + "\xF0\x9F\x98\x80");
}

}  // namespace
}  // namespace qel::sys
