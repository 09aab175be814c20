#include "qel/core/utility/Parser.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "core/test/ThrownText.h"

namespace qel::core {
namespace {

using test::ThrownText;

TStringCore T(char16_t const* text) {
    return TStringCore(text);
}

TEST(ParserTest, IntegersTakeASignAndWrapToTheirWidth) {
    int i = 0;
    EXPECT_TRUE(TryParseInt32FromString(T(u"-12"), i));
    EXPECT_EQ(i, -12);
    EXPECT_TRUE(TryParseInt32FromString(T(u" + 7 "), i));
    EXPECT_EQ(i, 7);
    EXPECT_TRUE(TryParseInt32FromString(T(u"4294967297"), i));
    EXPECT_EQ(i, 1) << "cut to 32 bits, no range check";
    long long l = 0;
    EXPECT_TRUE(TryParseInt64FromString(T(u"-9223372036854775807"), l));
    EXPECT_EQ(l, -9223372036854775807LL);
    for (char16_t const* bad : {u"", u"1.5", u"- -1", u"x", u"12 x", u"--1", u"1e3"}) {
        EXPECT_FALSE(TryParseInt32FromString(T(bad), i)) << TStringCore(bad);
    }
    // The throwing forms read only the front of the text.
    EXPECT_EQ(ParseInt32FromString(T(u"12 x")), 12);
    EXPECT_EQ(ParseInt64FromString(T(u"-3,")), -3);
    EXPECT_EQ(ThrownText([] { ParseInt32FromString(T(u"x")); }), "cannot parse int32");
    EXPECT_EQ(ThrownText([] { ParseInt64FromString(T(u"")); }), "cannot parse int64");

    unsigned int size = 0;
    EXPECT_TRUE(TryParseSizeIntFromString(T(u"4294967296"), size));
    EXPECT_EQ(size, 0u);
    EXPECT_FALSE(TryParseSizeIntFromString(T(u"-1"), size));
    EXPECT_EQ(ThrownText([] { ParseSizeIntFromString(T(u"+1")); }), "cannot parse int32");
}

TEST(ParserTest, RealsBoolsAndStrings) {
    double d = 0;
    EXPECT_TRUE(TryParseReal64FromString(T(u"-2.5e1"), d));
    EXPECT_EQ(d, -25.0);
    EXPECT_TRUE(TryParseReal64FromString(T(u"3"), d));
    EXPECT_EQ(d, 3.0);
    EXPECT_TRUE(TryParseReal64FromString(T(u"-inf"), d));
    EXPECT_EQ(d, -std::numeric_limits<double>::infinity());
    float f = 0;
    EXPECT_TRUE(TryParseReal32FromString(T(u"0.1"), f));
    EXPECT_EQ(f, 0.1f);
    EXPECT_FALSE(TryParseReal32FromString(T(u"1 2"), f));
    EXPECT_EQ(ParseReal32FromString(T(u"1 2")), 1.0f);
    EXPECT_EQ(ThrownText([] { ParseReal64FromString(T(u"'1'")); }), "cannot parse real64");
    EXPECT_EQ(ThrownText([] { ParseReal32FromString(T(u"true")); }), "cannot parse real32");

    bool b = false;
    EXPECT_TRUE(TryParseBoolFromString(T(u"true"), b));
    EXPECT_TRUE(b);
    EXPECT_FALSE(TryParseBoolFromString(T(u"True"), b));
    EXPECT_EQ(ThrownText([] { ParseBoolFromString(T(u"1")); }), "cannot parse bool");

    VtlScanner scanner{T(u"name 'quoted text' 12")};
    EXPECT_EQ(ParseString(scanner), T(u"name"));
    EXPECT_EQ(ParseString(scanner), T(u"quoted text"));
    EXPECT_EQ(ThrownText([&] { ParseString(scanner); }), "cannot parse string");
}

TEST(ParserTest, TryLeavesTheValueTokenButNotTheSign) {
    VtlScanner scanner{T(u"- x")};
    int i = 0;
    EXPECT_FALSE(TryParseInt32(scanner, i));
    EXPECT_EQ(scanner.GetCurrentToken().GetType(), VtlTokenType::Minus);
    EXPECT_EQ(scanner.Next().GetString(), T(u"x"));
}

TEST(ParserTest, HexadecimalColours) {
    int value = 0;
    QelError error = QelError::NoError;
    EXPECT_TRUE(TryParseInt32FromHexString(T(u"FFFFFFFF"), value, error));
    EXPECT_EQ(value, -1);
    EXPECT_TRUE(TryParseInt32FromHexString(T(u"'0a0B'"), value, error));
    EXPECT_EQ(value, 0x0a0b);
    EXPECT_FALSE(TryParseInt32FromHexString(T(u"123456789"), value, error));
    EXPECT_EQ(error, QelError::HexStringMustBe8OrFewer);
    EXPECT_FALSE(TryParseInt32FromHexString(T(u"''"), value, error));
    EXPECT_EQ(error, QelError::HexStringCannotBeEmpty);
    EXPECT_FALSE(TryParseInt32FromHexString(T(u"12g4"), value, error));
    EXPECT_EQ(error, QelError::HexStringContainsInvalidCharacter);
    VtlScanner notQuoted{T(u"ff")};
    EXPECT_FALSE(TryParseInt32FromHex(notQuoted, value, error));
    EXPECT_EQ(error, QelError::UnexpectedToken);
    EXPECT_EQ(ThrownText([] { ParseInt32FromHexString(T(u"zz")); }),
              "hex string contains invalid character");

    bool ok = true;
    EXPECT_EQ(StringParser<QelColor>::TryParse(T(u"ff010203"), nullptr, ok).GetA(), 255);
    EXPECT_TRUE(ok);
    EXPECT_EQ(StringParser<QelColor>::TryParse(T(u"nope"), nullptr, ok), QelColor());
    EXPECT_FALSE(ok);
}

TEST(ParserTest, DatesAreReadByPosition) {
    QelDateTime d;
    EXPECT_TRUE(TryParseDateTimeFromString(T(u"2020-03-04"), d));
    EXPECT_EQ(d, QelDateTime(2020, 3, 4, 0, 0, 0, 0));
    EXPECT_TRUE(TryParseDateTimeFromString(T(u"'2020-03-04T05:06:07.0005'"), d));
    EXPECT_EQ(d, QelDateTime(2020, 3, 4, 5, 6, 7, 5));
    EXPECT_TRUE(TryParseDateTimeFromString(T(u"2020-03-04T05:06:07"), d));
    EXPECT_EQ(d.GetQelDateTimeParts().GetSecond(), 7);
    for (char16_t const* bad :
         {u"2020-01-02T03:04:05.5", u"2020-01-02T03:04:05.12345", u"2020-01", u"2020-01-02T03:04",
          u"2020-x-02", u"2020-01-02 x", u"", u"-400-01-01"}) {
        EXPECT_FALSE(TryParseDateTimeFromString(T(bad), d)) << TStringCore(bad);
    }
    // Well-formed but impossible: the date's own failure, even from Try.
    EXPECT_EQ(ThrownText([&] { TryParseDateTimeFromString(T(u"2020-13-01"), d); }),
              "month out of range\nMust be between 1 and 12");
    EXPECT_EQ(ThrownText([&] { TryParseDateTimeFromString(T(u"2023-02-29"), d); }),
              "invalid date/time");
    EXPECT_EQ(ThrownText([] { ParseDateTimeFromString(T(u"2020/01/02")); }),
              "cannot parse date/time");
}

TEST(ParserTest, StorageTypesHoldTheBitsTheTypeNames) {
    EXPECT_EQ(ParseStorageType<unsigned char>(T(u"true"), BoolType::Get()), 1);
    EXPECT_EQ(ParseStorageType<unsigned int>(T(u"-1"), IntType::Get32()), 0xFFFFFFFFu);
    EXPECT_EQ(ParseStorageType<unsigned int>(T(u"80000001"), ColorType::Get()), 0x80000001u);
    unsigned int floatBits = ParseStorageType<unsigned int>(T(u"1.5"), RealType::Get32());
    float f;
    std::memcpy(&f, &floatBits, sizeof(f));
    EXPECT_EQ(f, 1.5f);
    unsigned long long doubleBits =
        ParseStorageType<unsigned long long>(T(u"-0.25"), RealType::Get64(10, 2));
    double d;
    std::memcpy(&d, &doubleBits, sizeof(d));
    EXPECT_EQ(d, -0.25);
    EXPECT_EQ(ParseStorageType<unsigned long long>(T(u"1900-01-01"), DateType::Get()),
              QelDateTime::DateTimeDefault);
    EXPECT_EQ(ParseStorageType<RIndirectString>(T(u"a b"), StringType::Get()).GetValue(),
              T(u"a b"));

    bool ok = true;
    EXPECT_EQ(TryParseStorageType<unsigned long long>(T(u"x"), IntType::Get64(), ok), 0u);
    EXPECT_FALSE(ok);
    EXPECT_EQ(TryParseStorageType<std::shared_ptr<StoreValue>>(T(u"1"), IntType::Get32(), ok),
              nullptr);
    EXPECT_FALSE(ok);

    EXPECT_EQ(ThrownText([] { ParseStorageType<unsigned char>(T(u"1"), IntType::Get32()); }),
              "expected bool but was ");
    EXPECT_EQ(ThrownText([] { ParseStorageType<unsigned int>(T(u"1"), IntType::Get64()); }),
              "type doesn't match expected type");
    EXPECT_EQ(ThrownText([] { ParseStorageType<TStringCore>(T(u"1"), IntType::Get32()); }),
              "expected string but was ");
    EXPECT_EQ(ThrownText(
                  [] { ParseStorageType<std::shared_ptr<StoreValue>>(T(u"1"), IntType::Get32()); }),
              "not implemented");
    EXPECT_EQ(ThrownText([] { ParseStorageType<unsigned int>(T(u"1"), nullptr); }),
              "null is not a valid argument");
}

}  // namespace
}  // namespace qel::core
