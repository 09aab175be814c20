#include "qel/core/utility/TextUtil.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "core/test/ThrownText.h"
#include "qel/core/utility/QelLog.h"

namespace qel::core {
namespace {

using S = TStringCore;
using test::ThrownText;

std::string Escape(char16_t const* text) {
    return EscapeString(S(text)).toStdString();
}
std::string Unescape(char16_t const* text) {
    return UnescapeString(S(text)).toStdString();
}
std::string Unquote(char16_t const* text) {
    return UnquoteString(S(text)).toStdString();
}

// The tokens joined by "|", each in angle brackets so that empty ones show.
std::string Tokens(std::vector<S> const& tokens) {
    std::string out;
    for (S const& token : tokens)
        out += (out.empty() ? "<" : "|<") + token.toStdString() + ">";
    return out;
}
std::string Split(char16_t const* text, char16_t separator, bool keepEmpty = false) {
    return Tokens(TokenizeString(S(text), separator, keepEmpty));
}
std::string Split(char16_t const* text, char16_t const* separator, bool keepEmpty = false) {
    return Tokens(TokenizeString(S(text), S(separator), keepEmpty));
}

// Collects what failed validations log, to check the conditions they report.
struct LogCapture {
    std::ostringstream text;
    QelStreamLogger logger{QelLogLevel::Trace, text};
    std::shared_ptr<QelLogger> previous = SetQelLogger(logger.GetQelLogger());
    ~LogCapture() { SetQelLogger(std::move(previous)); }
    // Whether `condition` was reported since the last call.
    bool Reported(std::string const& condition) {
        bool const found =
            text.str().find("(condition \"" + condition + "\" failed)") != std::string::npos;
        text.str("");
        return found;
    }
};

TEST(TextUtilTest, SpecialCharacters) {
    for (std::u16string_view special : KeyChars::SpecialChars) {
        S const text = S(u"a") + S(special.data(), static_cast<int>(special.size())) + u"b";
        EXPECT_TRUE(ContainsSpecialCharacters(text)) << text;
    }
    // The arrow is special only as a whole.
    EXPECT_FALSE(ContainsSpecialCharacters(S(u"a-b>c<-d")));
    EXPECT_FALSE(ContainsSpecialCharacters(S(u"a\tb.c;d[e]}|\u00A0")));
}

TEST(TextUtilTest, EscapeQuotesOnlyWhatNeedsQuotes) {
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

TEST(TextUtilTest, UnescapeInvertsEscape) {
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
}

TEST(TextUtilTest, UnescapeRefusesUnquotedText) {
    LogCapture log;
    for (char16_t const* text : {u"", u"a", u"'a", u"a'", u"'a\\"}) {
        EXPECT_EQ(ThrownText([&] { UnescapeString(S(text)); }),
                  "a string must be quoted to be unescaped")
            << S(text);
        EXPECT_TRUE(log.Reported(
            "(s[0] == KeyChars::EncloseChar && s[s.length() - 1] == KeyChars::EncloseChar)"));
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

TEST(TextUtilTest, TokenizeAtSingleUnit) {
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
}

TEST(TextUtilTest, TokenizeAtSeveralUnits) {
    EXPECT_EQ(Split(u"a->b->c", u"->"), "<a>|<b>|<c>");
    EXPECT_EQ(Split(u"a->->b", u"->", true), "<a>|<>|<b>");
    // Partial matches are text, including one that a new match starts inside.
    EXPECT_EQ(Split(u"a-b>c", u"->"), "<a-b>c>");
    EXPECT_EQ(Split(u"a-->b", u"->"), "<a->|<b>");
    EXPECT_EQ(Split(u"a-", u"->"), "<a->");
    EXPECT_EQ(Split(u"a-'b'", u"->"), "<a-'b'>");
    EXPECT_EQ(Split(u"a-\\>b", u"->"), "<a-\\>b>");
    EXPECT_EQ(Split(u"'a->b'->c", u"->"), "<'a->b'>|<c>");
    // A separator unit that is a quote or a backslash keeps its own role.
    EXPECT_EQ(Split(u"a-'b", u"-'"), "<a-'b>");
    // An empty separator never matches.
    EXPECT_EQ(Split(u"a,b", u""), "<a,b>");
}

TEST(TextUtilTest, HexBytes) {
    EXPECT_EQ(ParseBytesFromHex(S(u"00aFff10")),
              (std::vector<unsigned char>{0x00, 0xaf, 0xff, 0x10}));
    EXPECT_TRUE(ParseBytesFromHex(S()).empty());

    LogCapture log;
    EXPECT_EQ(ThrownText([] { ParseBytesFromHex(S(u"0")); }), "hex string length must be even");
    EXPECT_TRUE(log.Reported("(s.length() % 2 == 0)"));
    EXPECT_EQ(ThrownText([] { ParseBytesFromHex(S(u"abc")); }), "hex string length must be even");
    for (char16_t const* bad :
         {u"zz", u"0g", u"g0", u" f", u"f ", u"+f", u"-0", u"0x", u"\uFF10\uFF10"}) {
        EXPECT_EQ(ThrownText([&] { ParseBytesFromHex(S(bad)); }),
                  "hex string contains invalid character")
            << S(bad);
        EXPECT_TRUE(log.Reported("(isOk)"));
    }
    EXPECT_EQ(ThrownText([] { ParseBytesFromHex(S(u"00ff0x")); }),
              "hex string contains invalid character");
}

}  // namespace
}  // namespace qel::core
