#include "qel/core/utility/TextUtil.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <string>
#include <vector>

#include "core/test/Refusal.h"
#include "core/test/ThrownText.h"
#include "qel/core/types/RIndirectString.h"
#include "qel/core/utility/Format.h"

namespace qel::core {
namespace {

using S = TStringCore;
using test::Refusal;

auto const Escape = [](char16_t const* text) { return EscapeString(S(text)).toStdString(); };
auto const Unescape = [](char16_t const* text) { return UnescapeString(S(text)).toStdString(); };
auto const Unquote = [](char16_t const* text) { return UnquoteString(S(text)).toStdString(); };

// The tokens at a separator unit or text joined by "|", each in angle
// brackets so that empty ones show.
template <class Separator>
std::string Split(char16_t const* text, Separator const& separator, bool keepEmpty = false) {
    std::string out;
    for (S const& token : TokenizeString(S(text), separator, keepEmpty))
        out += (out.empty() ? "<" : "|<") + token.toStdString() + ">";
    return out;
}

TEST(TextUtilTest, EscapeQuotesOnlyTextWithSpecialCharacters) {
    for (std::u16string_view special : KeyChars::SpecialChars) {
        S const text = S(u"a") + S(special.data(), static_cast<int>(special.size())) + u"b";
        EXPECT_TRUE(ContainsSpecialCharacters(text)) << text;
    }
    // The arrow is special only as a whole.
    EXPECT_FALSE(ContainsSpecialCharacters(S(u"a-b>c<-d")));
    EXPECT_FALSE(ContainsSpecialCharacters(S(u"a\tb.c;d[e]}|\u00A0")));

    EXPECT_EQ(Escape(u"a:b"), "'a:b'");
    EXPECT_EQ(Escape(u"ab"), "ab");
    EXPECT_EQ(Escape(u""), "");
    EXPECT_EQ(Escape(u"a->b"), "'a->b'");
    // A quote is escaped, and then itself makes the text need quotes.
    EXPECT_EQ(Escape(u"it's"), "'it\\'s'");
    EXPECT_EQ(Escape(u"'"), "'\\''");
    // Backslashes are not doubled.
    EXPECT_EQ(Escape(u"a\\b"), "'a\\b'");
}

TEST(TextUtilTest, UnescapeInvertsEscapeAndRefusesUnquotedText) {
    for (char16_t const* text :
         {u"a:b", u"it's", u"''", u"x -> y", u"(a, b)", u"\"q\"", u"'", u"{/}"}) {
        EXPECT_EQ(UnescapeString(EscapeString(S(text))), S(text)) << S(text);
    }
    // A backslash outside quotes is plain text; inside, it escapes any unit.
    EXPECT_EQ(Unescape(u"'a'\\b''"), "a\\b");
    EXPECT_EQ(Unescape(u"'a\\b'"), "ab");
    EXPECT_EQ(Unescape(u"'\\\\'"), "\\");
    // So an undoubled backslash does not survive the round trip.
    EXPECT_EQ(UnescapeString(EscapeString(S(u"a\\b"))), S(u"ab"));
    EXPECT_EQ(Unescape(u"'"), "");
    EXPECT_EQ(Unescape(u"'\\'"), "'");  // the closing quote was escaped

    for (char16_t const* text : {u"", u"a", u"'a", u"a'", u"'a\\"}) {
        EXPECT_EQ(Refusal([&] { UnescapeString(S(text)); }),
                  "a string must be quoted to be unescaped | (s[0] == KeyChars::EncloseChar && "
                  "s[s.length() - 1] == KeyChars::EncloseChar)")
            << S(text);
    }
}

TEST(TextUtilTest, UnquoteRemovesOnlyNeedlessQuotes) {
    EXPECT_EQ(Unquote(u"'a'"), "a");
    EXPECT_EQ(Unquote(u"'a:b'"), "'a:b'");
    EXPECT_EQ(Unquote(u"'it\\'s'"), "'it\\'s'");
    EXPECT_EQ(Unquote(u"''"), "");
    EXPECT_EQ(Unquote(u""), "");
    EXPECT_EQ(Unquote(u"'"), "'");  // a lone quote is not a quoted text
    EXPECT_EQ(Unquote(u"'a"), "'a");
}

TEST(TextUtilTest, TokenizeAtAUnitOrAText) {
    EXPECT_EQ(Split(u"a,b,,c,", u','), "<a>|<b>|<c>");
    EXPECT_EQ(Split(u"a,b,,c,", u',', true), "<a>|<b>|<>|<c>|<>");
    EXPECT_EQ(Split(u",", u',', true), "<>|<>");
    EXPECT_EQ(Split(u"", u',', true), "<>");
    EXPECT_EQ(Split(u"", u','), "");
    // Quotes protect separators, and are removed where not needed.
    EXPECT_EQ(Split(u"'a,b',c", u','), "<'a,b'>|<c>");
    EXPECT_EQ(Split(u"'ab',c", u','), "<ab>|<c>");
    EXPECT_EQ(Split(u"x'a,b'y,c", u','), "<x'a,b'y>|<c>");
    // A backslash keeps the next unit in the token, and stays there itself.
    EXPECT_EQ(Split(u"a\\,b,c", u','), "<a\\,b>|<c>");
    EXPECT_EQ(Split(u"'a\\',b',c", u','), "<'a\\',b'>|<c>");
    // Hostile endings: an unclosed quote swallows the rest; a trailing
    // backslash escapes nothing.
    EXPECT_EQ(Split(u"a,'b,c", u','), "<a>|<'b,c>");
    EXPECT_EQ(Split(u"'", u','), "<'>");
    EXPECT_EQ(Split(u"a\\", u','), "<a\\>");

    EXPECT_EQ(Split(u"a->b->c", S(u"->")), "<a>|<b>|<c>");
    EXPECT_EQ(Split(u"a->->b", S(u"->"), true), "<a>|<>|<b>");
    // Partial matches are text, including one that a new match starts inside.
    EXPECT_EQ(Split(u"a-b>c", S(u"->")), "<a-b>c>");
    EXPECT_EQ(Split(u"a-->b", S(u"->")), "<a->|<b>");
    EXPECT_EQ(Split(u"a-", S(u"->")), "<a->");
    EXPECT_EQ(Split(u"a-'b'", S(u"->")), "<a-'b'>");
    EXPECT_EQ(Split(u"a-\\>b", S(u"->")), "<a-\\>b>");
    EXPECT_EQ(Split(u"'a->b'->c", S(u"->")), "<'a->b'>|<c>");
    // A separator unit that is a quote or a backslash keeps its own role.
    EXPECT_EQ(Split(u"a-'b", S(u"-'")), "<a-'b>");
    // An empty separator never matches.
    EXPECT_EQ(Split(u"a,b", S(u"")), "<a,b>");
}

TEST(TextUtilTest, HexBytes) {
    EXPECT_EQ(ParseBytesFromHex(S(u"00aFff10")),
              (std::vector<unsigned char>{0x00, 0xaf, 0xff, 0x10}));
    EXPECT_TRUE(ParseBytesFromHex(S()).empty());

    for (char16_t const* odd : {u"0", u"abc"}) {
        EXPECT_EQ(Refusal([&] { ParseBytesFromHex(S(odd)); }),
                  "hex string length must be even | (s.length() % 2 == 0)");
    }
    for (char16_t const* bad :
         {u"zz", u"0g", u"g0", u" f", u"f ", u"+f", u"-0", u"0x", u"\uFF10\uFF10", u"00ff0x"}) {
        EXPECT_EQ(Refusal([&] { ParseBytesFromHex(S(bad)); }),
                  "hex string contains invalid character | (isOk)")
            << S(bad);
    }
}

auto const F = [](auto const& value) { return Format(value).toStdString(); };

// Narrow text must not quietly become a bool.
template <class T>
concept Formattable = requires(T value) {
    Format(value);
};
static_assert(Formattable<char16_t const*>);
static_assert(!Formattable<char const*>);

TEST(FormatTest, EachKindOfValue) {
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

    // Floating point as ConvertFloatToString writes it, each at its own width.
    EXPECT_EQ(F(1.0f / 3), "0.33333334");
    EXPECT_EQ(F(0.1), "0.10000000000000001");
    EXPECT_EQ(F(std::numeric_limits<float>::infinity()), "+inf");

    EXPECT_EQ(F(QelColor(1, 2, 3, 255)), "ff010203");
    EXPECT_EQ(F(QelDateTime(2020, 3, 4, 5, 6, 7, 0)), "2020-03-04T05:06:07");
    // A raw value out of range cannot be shown; it fails as the date does.
    EXPECT_EQ(test::ThrownText([] { Format(QelDateTime(~0ULL)); }), "invalid date/time");
}

}  // namespace
}  // namespace qel::core
