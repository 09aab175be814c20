#include "qel/core/serialize/VtlScanner.h"

#include <gtest/gtest.h>

#include <boost/variant/get.hpp>
#include <cmath>
#include <string>

#include "core/test/ThrownText.h"
#include "qel/core/serialize/VtlLiteralParser.h"
#include "qel/core/utility/QelException.h"

namespace qel::core {
namespace {

using test::ThrownText;

// The tokens of a text in a compact form: "Id(a) - Int(1) BlockStart ...".
std::string Describe(VtlToken const& t) {
    using Ty = VtlTokenType;
    Ty const type = t.GetType();
    std::string const text = t.GetString().toStdString();
    char real[40];
    std::snprintf(real, sizeof(real), "Real(%g)", type == Ty::Real ? t.GetReal() : 0.0);
    return type == Ty::Invalid        ? "Invalid"
           : type == Ty::End          ? "End"
           : type == Ty::BlockStart   ? "BlockStart"
           : type == Ty::BlockEnd     ? "BlockEnd"
           : type == Ty::Comment      ? "Comment(" + text + ")"
           : type == Ty::Identifier   ? "Id(" + text + ")"
           : type == Ty::QuotedString ? "Str(" + text + ")"
           : type == Ty::Bool         ? (t.GetBool() ? "true" : "false")
           : type == Ty::Int          ? "Int(" + std::to_string(t.GetInt()) + ")"
           : type == Ty::Real         ? real
           : type == Ty::Special      ? "Special(" + std::to_string(int(t.GetSpecial())) + ")"
                                      : text;  // punctuation
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

TEST(VtlScannerTest, PunctuationNamesNumbersAndExactCaseSensitiveKeywords) {
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
    for (char16_t const* text : {u"9223372036854775808", u"99999999999999999999", u".", u".a"})
        EXPECT_EQ(Tokens(text), "Invalid") << TStringCore(text);

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
    for (char16_t const* text : {u"'abc", u"'ab\ncd'", u"'a\\qb'", u"'a\\", u"\"a\""})
        EXPECT_EQ(Tokens(text), "Invalid") << TStringCore(text);
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

// "<what> @ <where>" of the runtime exception that `call` throws, where is the
// context's source up to its line number.
template <class Call>
std::string RuntimeFault(Call&& call) {
    try {
        call();
    } catch (QelRuntimeException const& e) {
        std::string const context = e.GetContext().toStdString();
        return std::string(e.what()) + " @ " + context.substr(0, context.rfind(':'));
    }
    return "(nothing thrown)";
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
    EXPECT_EQ(
        RuntimeFault([&] { scanner.Next(VtlTokenType::Colon, TStringCore(u"colon expected")); }),
        "unexpected token\ncolon expected @ Source: core/main/serialize/VtlScanner");
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
    EXPECT_EQ(ThrownText([] { VtlScanner::ScanSingleToken(TStringCore(u"1 2")); }),
              "unexpected token\n1 2");
    EXPECT_EQ(VtlScanner::ScanSingleString(TStringCore(u"'a b'")), TStringCore(u"a b"));
    EXPECT_EQ(ThrownText([] { VtlScanner::ScanSingleString(TStringCore(u"12")); }),
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

std::shared_ptr<StoreValue> Parse(Type const* type, char16_t const* text) {
    return ParsePrimitive(type, TStringCore(text));
}

std::string Round(Type const* type, char16_t const* text) {
    return FormatPrimitive(*Parse(type, text)).toStdString();
}

TEST(VtlLiteralParserTest, EveryPrimitiveTypeReadsItsLiteral) {
    EXPECT_EQ(Parse(BoolType::Get(), u"true")->AsBool(), true);
    EXPECT_EQ(Parse(IntType::Get32(), u"-12")->AsInt32(), -12);
    EXPECT_EQ(Parse(IntType::Get64(), u"+9007199254740993")->AsInt64(), 9007199254740993LL);
    EXPECT_EQ(Parse(RealType::Get64(), u"3")->AsReal64(), 3.0);
    EXPECT_EQ(Parse(RealType::Get32(), u"-0.5")->AsReal32(), -0.5f);
    EXPECT_EQ(Parse(StringType::Get(), u"'a b'")->AsString().GetValue(), TStringCore(u"a b"));
    EXPECT_EQ(Round(StringType::Get(), u"name"), "name");
    EXPECT_EQ(Round(DateType::Get(), u"'2020-03-04'"), "2020-03-04");
    EXPECT_EQ(Round(DateTimeType::Get(), u"'2020-03-04T05:06:07.0005'"),
              "2020-03-04T05:06:07.0005");
    EXPECT_EQ(Round(ColorType::Get(), u"'ff010203'"), "ff010203");
    // A literal has no decimal format: the type's precision is not applied.
    EXPECT_EQ(Parse(RealType::Get64(10, 2), u"1.5")->GetType(), RealType::Get64());
    // Formatted numbers and specials read back.
    for (char16_t const* text : {u"0.10000000000000001", u"-inf", u"nan", u"Null", u"-2.5"}) {
        EXPECT_EQ(Round(RealType::Get64(), text), TStringCore(text).toStdString());
    }
}

TEST(VtlLiteralParserTest, SpecialsForEveryTypeAndStringCollation) {
    auto null = Parse(IntType::Get32(), u"Null");
    EXPECT_EQ(null->GetSpecialKind(), SpecialKind::Null);
    EXPECT_EQ(null->GetType(), IntType::Get32());
    ArrayType const* array = ArrayType::Get(IntType::Get32());
    EXPECT_EQ(Parse(array, u"Missing")->GetType(), array);
    EXPECT_EQ(Parse(array, u"Missing")->GetSpecialKind(), SpecialKind::Missing);
    EXPECT_EQ(Parse(StringType::Get(), u"'x'")->GetType(), StringType::Get());
}

TEST(VtlLiteralParserTest, RefusedLiteralsAndTrailingText) {
    EXPECT_EQ(ThrownText([] { Parse(IntType::Get32(), u"12 13"); }), "unexpected token\n12 13");
    EXPECT_EQ(ThrownText([] { Parse(IntType::Get32(), u"1.5"); }), "cannot parse int32");
    EXPECT_EQ(ThrownText([] { Parse(BoolType::Get(), u"yes"); }), "cannot parse bool");
    EXPECT_EQ(ThrownText([] { Parse(RealType::Get32(), u"'1'"); }), "cannot parse real32");
    EXPECT_EQ(ThrownText([] { Parse(StringType::Get(), u"12"); }), "cannot parse string");
    EXPECT_EQ(ThrownText([] { Parse(DateType::Get(), u"2020-01-01"); }), "cannot parse date/time");
    EXPECT_EQ(ThrownText([] { Parse(ColorType::Get(), u"ff"); }), "unexpected token");
    EXPECT_EQ(ThrownText([] { Parse(ColorType::Get(), u"''"); }), "hex string cannot be empty");
    EXPECT_EQ(ThrownText([] { Parse(ArrayType::Get(IntType::Get32()), u"1"); }),
              "cannot make StoreValue for given key");
    EXPECT_EQ(ThrownText([] { Parse(nullptr, u"1"); }), "null is not a valid argument");
    EXPECT_EQ(ThrownText([] { Parse(IntType::Get32(), u"'unterminated"); }), "cannot parse int32");
    // The trailing-text refusal names its source but is not a logged report.
    EXPECT_EQ(RuntimeFault([] { Parse(IntType::Get32(), u"1 x"); }),
              "unexpected token\n1 x @ Source: core/main/serialize/VtlLiteralParser");
}

}  // namespace
}  // namespace qel::core
