#include "qel/core/vtl/VtlLiteralParser.h"

#include <gtest/gtest.h>

#include "core/test/ThrownText.h"
#include "qel/core/utility/QelException.h"

namespace qel::core {
namespace {

using test::ThrownText;

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
    try {
        Parse(IntType::Get32(), u"1 x");
        FAIL() << "nothing thrown";
    } catch (QelRuntimeException const& e) {
        EXPECT_EQ(
            e.GetContext().toStdString().rfind("Source: core/main/serialize/VtlLiteralParser:", 0),
            0u);
    }
}

}  // namespace
}  // namespace qel::core
