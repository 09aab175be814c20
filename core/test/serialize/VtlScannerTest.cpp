#include "qel/core/vtl/VtlScanner.h"

#include <gtest/gtest.h>

#include <boost/variant/get.hpp>
#include <cmath>
#include <string>

#include "core/test/ThrownText.h"
#include "qel/core/utility/QelException.h"

namespace qel::core {
namespace {

// The tokens of a text in a compact form: "Id(a) - Int(1) BlockStart ...".
std::string Describe(VtlToken const& t) {
    switch (t.GetType()) {
        case VtlTokenType::Invalid:
            return "Invalid";
        case VtlTokenType::End:
            return "End";
        case VtlTokenType::BlockStart:
            return "BlockStart";
        case VtlTokenType::BlockEnd:
            return "BlockEnd";
        case VtlTokenType::Comment:
            return "Comment(" + t.GetString().toStdString() + ")";
        case VtlTokenType::Identifier:
            return "Id(" + t.GetString().toStdString() + ")";
        case VtlTokenType::QuotedString:
            return "Str(" + t.GetString().toStdString() + ")";
        case VtlTokenType::Bool:
            return t.GetBool() ? "true" : "false";
        case VtlTokenType::Int:
            return "Int(" + std::to_string(t.GetInt()) + ")";
        case VtlTokenType::Real: {
            char buffer[40];
            std::snprintf(buffer, sizeof(buffer), "Real(%g)", t.GetReal());
            return buffer;
        }
        case VtlTokenType::Special:
            return "Special(" + std::to_string(static_cast<int>(t.GetSpecial())) + ")";
        default:
            return t.GetString().toStdString();
    }
}

std::string Tokens(std::u16string const& text) {
    VtlScanner scanner{TStringCore(text.data(), static_cast<int>(text.size()))};
    std::string out;
    for (int i = 0; i < 64; ++i) {
        VtlToken const& t = scanner.Next();
        if (!out.empty())
            out += ' ';
        out += Describe(t);
        if (t.GetType() == VtlTokenType::End || t.GetType() == VtlTokenType::Invalid)
            break;
    }
    return out;
}

TEST(VtlScannerTest, PunctuationNamesAndNumbers) {
    EXPECT_EQ(Tokens(u""), "End");
    EXPECT_EQ(Tokens(u" \t "), "End");
    EXPECT_EQ(Tokens(u"( ) * + , : < > { } / -"), "( ) * + , : < > { } / - End");
    EXPECT_EQ(Tokens(u"a-b.c=d"), "Id(a-b.c=d) End");
    EXPECT_EQ(Tokens(u"a - b"), "Id(a) - Id(b) End");
    EXPECT_EQ(Tokens(u"1-2"), "Int(1) - Int(2) End");
    // An arrow right behind a name is read into it, up to the '>'.
    EXPECT_EQ(Tokens(u"a->b"), "Id(a-) > Id(b) End");
    EXPECT_EQ(Tokens(u"1->b"), "Int(1) -> Id(b) End");
    EXPECT_EQ(Tokens(u"_x ~y ^z =w a?#"), "Id(_x) Id(~y) Id(^z) Id(=w) Id(a?#) End");
    EXPECT_EQ(Tokens(u"00012 .5 12. 1e3 2E-2"),
              "Int(12) Real(0.5) Real(12) Real(1000) Real(0.02) End");
    // An incomplete exponent backs up to the 'e'.
    EXPECT_EQ(Tokens(u"12e"), "Int(12) Id(e) End");
    EXPECT_EQ(Tokens(u"1.5e+"), "Real(1.5) Id(e) + End");
    EXPECT_EQ(Tokens(u"9223372036854775807"), "Int(9223372036854775807) End");
    EXPECT_EQ(Tokens(u"9223372036854775808"), "Invalid");
    EXPECT_EQ(Tokens(u"99999999999999999999"), "Invalid");
    EXPECT_EQ(Tokens(u"."), "Invalid");
    EXPECT_EQ(Tokens(u".a"), "Invalid");
}

TEST(VtlScannerTest, KeywordsAreExactAndCaseSensitive) {
    EXPECT_EQ(Tokens(u"true false Null Missing All Wildcard"),
              "true false Special(1) Special(9) Special(2) Special(3) End");
    EXPECT_EQ(Tokens(u"Skipped NoAccess Ragged Error ManyValues"),
              "Special(4) Special(5) Special(6) Special(7) Special(8) End");
    EXPECT_EQ(Tokens(u"Normal Allow true1 Null. Null-x Inf"),
              "Id(Normal) Id(Allow) Id(true1) Id(Null.) Id(Null-x) Id(Inf) End");
    VtlScanner scanner{TStringCore(u"inf -inf nan")};
    EXPECT_TRUE(std::isinf(scanner.Next().GetReal()));
    EXPECT_EQ(scanner.Next().GetType(), VtlTokenType::Minus);
    EXPECT_GT(scanner.Next().GetReal(), 0);
    EXPECT_TRUE(std::isnan(scanner.Next().GetReal()));
}

TEST(VtlScannerTest, IndentationAndComments) {
    EXPECT_EQ(Tokens(u"\n  a\n  b\nc"), "BlockStart Id(a) Id(b) BlockEnd Id(c) End");
    // A fall of any depth is one BlockEnd; an empty line falls to zero.
    EXPECT_EQ(Tokens(u"a\n  b\n    c\nd"),
              "Id(a) BlockStart Id(b) BlockStart Id(c) BlockEnd Id(d) End");
    EXPECT_EQ(Tokens(u"a\n  b\n\n  c"), "Id(a) BlockStart Id(b) BlockEnd BlockStart Id(c) End");
    // A tab is no indentation; a carriage return before the line feed is.
    EXPECT_EQ(Tokens(u"a\n\tb"), "Id(a) Id(b) End");
    TStringCore const crlfText(u"\r\n  a");  // a State reads the text in place
    VtlScanner::State crlf{crlfText};
    EXPECT_EQ(VtlScanner::ConsumeNext(crlf, false), VtlToken::BlockStart);
    EXPECT_EQ(crlf.indent, 3);
    TStringCore const lfText(u"x \r\n  a");
    VtlScanner::State lf{lfText};
    VtlScanner::ConsumeNext(lf, false);
    VtlScanner::ConsumeNext(lf, false);
    EXPECT_EQ(lf.indent, 2) << "a carriage return inside a blank run does not count";
    // The comment takes its line feed, so the next line is not measured.
    EXPECT_EQ(Tokens(u"// x\n    a"), "Comment( x) Id(a) End");
    EXPECT_EQ(Tokens(u"a // x\r"), "Id(a) Comment( x\r) End");
}

TEST(VtlScannerTest, QuotedStrings) {
    EXPECT_EQ(Tokens(u"'it\\'s' 'a\\\\b' 'l\\nf' ''"), "Str(it's) Str(a\\b) Str(l\nf) Str() End");
    EXPECT_EQ(Tokens(u"'abc"), "Invalid");
    EXPECT_EQ(Tokens(u"'ab\ncd'"), "Invalid");
    EXPECT_EQ(Tokens(u"'a\\qb'"), "Invalid");
    EXPECT_EQ(Tokens(u"'a\\"), "Invalid");
    EXPECT_EQ(Tokens(u"\"a\""), "Invalid");
    // Surrogates pass through unchanged, but never as an escape.
    std::u16string pair = u"'\xD83D\xDE00'";
    VtlToken token;
    ASSERT_TRUE(VtlScanner::TryScanSingleToken(TStringCore(pair.data(), 4), token, false));
    EXPECT_EQ(token.GetString().size(), 2);
    EXPECT_EQ(Tokens(u"'\\\xD83D\xDE00'"), "Invalid");
    EXPECT_EQ(Tokens(u"'\\\xD83D'"), "Invalid");
}

TEST(VtlScannerTest, HostileUnitsAreInvalidAndSticky) {
    for (char16_t c : std::u16string(u"\x0C!\"#$%&;?@[\\]`|\x7F\x80\xFFFF\x01")) {
        EXPECT_EQ(Tokens(std::u16string(1, c) + u" a"), "Invalid") << int(c);
    }
    // Embedded zero units are unreadable, not an end of text.
    EXPECT_EQ(Tokens(std::u16string(u"a\0b", 3)), "Id(a) Invalid");
    std::u16string quoted(u"'a\0b'", 5);
    VtlToken token;
    ASSERT_TRUE(VtlScanner::TryScanSingleToken(TStringCore(quoted.data(), 5), token, false));
    EXPECT_EQ(token.GetString().size(), 3);
    // After the reader took an Invalid, everything is Invalid, even peeks.
    VtlScanner scanner{TStringCore(u"a ! b")};
    scanner.Next();
    EXPECT_EQ(scanner.Next(), VtlToken::Invalid);
    EXPECT_EQ(scanner.Peek(3), VtlToken::Invalid);
    EXPECT_EQ(scanner.Next(), VtlToken::Invalid);
}

TEST(VtlScannerTest, LookAheadPushBackAndChecks) {
    VtlScanner scanner{TStringCore(u"a, 'b' 7")};
    EXPECT_EQ(scanner.GetCurrentToken(), VtlToken::Start);
    EXPECT_TRUE(scanner.Peek(3, VtlTokenType::QuotedString));
    EXPECT_TRUE(scanner.PeekString());
    EXPECT_FALSE(scanner.NextIf(VtlTokenType::Comma));
    VtlToken a;
    EXPECT_TRUE(scanner.NextIfString(a));
    EXPECT_EQ(a.GetString(), TStringCore(u"a"));
    scanner.Push(VtlToken(a));
    EXPECT_EQ(scanner.Next().GetString(), TStringCore(u"a"));
    scanner.Next(VtlTokenType::Comma, TStringCore(u"comma expected"));
    EXPECT_EQ(scanner.NextString(TStringCore(u"name expected")), TStringCore(u"b"));
    try {
        scanner.Next(VtlTokenType::Colon, TStringCore(u"colon expected"));
        FAIL() << "nothing thrown";
    } catch (QelRuntimeException const& e) {
        EXPECT_EQ(e.GetError(), QelError::UnexpectedToken);
        EXPECT_EQ(std::string(e.what()), "unexpected token\ncolon expected");
        EXPECT_EQ(e.GetContext().toStdString().rfind("Source: core/main/serialize/VtlScanner:", 0),
                  0u);
    }
    EXPECT_EQ(scanner.Next(), VtlToken::End);
    EXPECT_EQ(scanner.Next(), VtlToken::End);
}

TEST(VtlScannerTest, TokenValuesAndEquality) {
    EXPECT_THROW(VtlToken::Int(1).GetBool(), boost::bad_get);
    EXPECT_THROW(VtlToken::Comma.GetInt(), boost::bad_get);
    EXPECT_EQ(VtlToken::Comma.GetReal(), 0.0);
    EXPECT_NE(VtlToken::Identifier(), VtlToken::Identifier(TStringCore()));
    EXPECT_NE(VtlToken::Int(1), VtlToken::Real(1.0));
    EXPECT_TRUE(IsLiteralToken(VtlToken::Minus));
    EXPECT_FALSE(IsLiteralToken(VtlToken::Comma));
    // skipValue classifies without building values.
    VtlToken token;
    ASSERT_TRUE(VtlScanner::TryScanSingleToken(TStringCore(u"name"), token, true));
    EXPECT_EQ(token, VtlToken::Identifier());
    ASSERT_TRUE(VtlScanner::TryScanSingleToken(TStringCore(u"99999999999999999999"), token, true));
    EXPECT_EQ(token, VtlToken::Int(0));
}

TEST(VtlScannerTest, SingleTokensAndQuoting) {
    VtlToken out;
    EXPECT_FALSE(VtlScanner::TryScanSingleToken(TStringCore(u"a b"), out, false));
    EXPECT_EQ(out.GetString(), TStringCore(u"a"));
    EXPECT_TRUE(
        VtlScanner::TryScanSingleToken(TStringCore(u" 12 "), VtlTokenType::Int, out, false));
    EXPECT_FALSE(
        VtlScanner::TryScanSingleToken(TStringCore(u"12"), VtlTokenType::Real, out, false));
    EXPECT_EQ(test::ThrownText([] { VtlScanner::ScanSingleToken(TStringCore(u"1 2")); }),
              "unexpected token\n1 2");
    EXPECT_EQ(VtlScanner::ScanSingleString(TStringCore(u"'a b'")), TStringCore(u"a b"));
    EXPECT_EQ(test::ThrownText([] { VtlScanner::ScanSingleString(TStringCore(u"12")); }),
              "unexpected token\n12");

    EXPECT_EQ(VtlScanner::Quote(TStringCore()), TStringCore(u"''"));
    EXPECT_EQ(VtlScanner::Quote(TStringCore(u"a'b\\c\nd")), TStringCore(u"'a\\'b\\\\c\\nd'"));
    std::u16string withZero(u"ab\0cd", 5);
    EXPECT_EQ(VtlScanner::Quote(TStringCore(withZero.data(), 5)), TStringCore(u"'ab'"));
    for (char16_t const* text : {u"a\nb", u"it's", u"\\", u"->: ,(x)", u"'"}) {
        EXPECT_EQ(VtlScanner::ScanSingleString(VtlScanner::Quote(TStringCore(text))),
                  TStringCore(text));
    }
}

}  // namespace
}  // namespace qel::core
