#include "qel/core/utility/Parser.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <optional>
#include <string>

#include "core/test/ThrownText.h"
#include "qel/core/serialize/VtlScanner.h"
#include "qel/core/types/RIndirectString.h"
#include "qel/core/types/Type.h"

namespace qel::core {
namespace {

using test::ThrownText;

auto const T = [](char16_t const* text) { return TStringCore(text); };

// What a Try function read from the text, or nothing when it refused it.
template <class V>
std::optional<V> Try(bool (*parse)(TStringCore const&, V&), char16_t const* text) {
    V value{};
    return parse(T(text), value) ? std::optional<V>(value) : std::nullopt;
}

TEST(ParserTest, IntegersTakeASignAndWrapToTheirWidth) {
    EXPECT_EQ(Try(TryParseInt32FromString, u"-12"), -12);
    EXPECT_EQ(Try(TryParseInt32FromString, u" + 7 "), 7);
    EXPECT_EQ(Try(TryParseInt32FromString, u"4294967297"), 1) << "cut to 32 bits, no range check";
    EXPECT_EQ(Try(TryParseInt64FromString, u"-9223372036854775807"), -9223372036854775807LL);
    for (char16_t const* bad : {u"", u"1.5", u"- -1", u"x", u"12 x", u"--1", u"1e3"}) {
        EXPECT_FALSE(Try(TryParseInt32FromString, bad)) << TStringCore(bad);
    }
    // The throwing forms read only the front of the text.
    EXPECT_EQ(ParseInt32FromString(T(u"12 x")), 12);
    EXPECT_EQ(ParseInt64FromString(T(u"-3,")), -3);
    EXPECT_EQ(ThrownText([] { ParseInt32FromString(T(u"x")); }), "cannot parse int32");
    EXPECT_EQ(ThrownText([] { ParseInt64FromString(T(u"")); }), "cannot parse int64");

    EXPECT_EQ(Try(TryParseSizeIntFromString, u"4294967296"), 0u);
    EXPECT_FALSE(Try(TryParseSizeIntFromString, u"-1"));
    EXPECT_EQ(ThrownText([] { ParseSizeIntFromString(T(u"+1")); }), "cannot parse int32");

    // Try leaves the value token but not the sign.
    VtlScanner scanner{T(u"- x")};
    int i = 0;
    EXPECT_FALSE(TryParseInt32(scanner, i));
    EXPECT_EQ(scanner.GetCurrentToken().GetType(), VtlTokenType::Minus);
    EXPECT_EQ(scanner.Next().GetString(), T(u"x"));
}

TEST(ParserTest, RealsBoolsAndStrings) {
    EXPECT_EQ(Try(TryParseReal64FromString, u"-2.5e1"), -25.0);
    EXPECT_EQ(Try(TryParseReal64FromString, u"3"), 3.0);
    EXPECT_EQ(Try(TryParseReal64FromString, u"-inf"), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(Try(TryParseReal32FromString, u"0.1"), 0.1f);
    EXPECT_FALSE(Try(TryParseReal32FromString, u"1 2"));
    EXPECT_EQ(ParseReal32FromString(T(u"1 2")), 1.0f);
    EXPECT_EQ(ThrownText([] { ParseReal64FromString(T(u"'1'")); }), "cannot parse real64");
    EXPECT_EQ(ThrownText([] { ParseReal32FromString(T(u"true")); }), "cannot parse real32");

    EXPECT_EQ(Try(TryParseBoolFromString, u"true"), true);
    EXPECT_FALSE(Try(TryParseBoolFromString, u"True"));
    EXPECT_EQ(ThrownText([] { ParseBoolFromString(T(u"1")); }), "cannot parse bool");

    VtlScanner scanner{T(u"name 'quoted text' 12")};
    EXPECT_EQ(ParseString(scanner), T(u"name"));
    EXPECT_EQ(ParseString(scanner), T(u"quoted text"));
    EXPECT_EQ(ThrownText([&] { ParseString(scanner); }), "cannot parse string");
}

// The number read from a hexadecimal text, or the text of the error.
std::string Hex(char16_t const* text) {
    int value = 0;
    QelError error = QelError::NoError;
    bool const ok = TryParseInt32FromHexString(T(text), value, error);
    return ok ? std::to_string(value) : ErrorToString(error).toStdString();
}

TEST(ParserTest, HexadecimalColours) {
    EXPECT_EQ(Hex(u"FFFFFFFF"), "-1");
    EXPECT_EQ(Hex(u"'0a0B'"), std::to_string(0x0a0b));
    EXPECT_EQ(Hex(u"123456789"), "hex string must be 8 or fewer characters");
    EXPECT_EQ(Hex(u"''"), "hex string cannot be empty");
    EXPECT_EQ(Hex(u"12g4"), "hex string contains invalid character");
    int value = 0;
    QelError error = QelError::NoError;
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
    EXPECT_EQ(Try(TryParseDateTimeFromString, u"2020-03-04"), QelDateTime(2020, 3, 4, 0, 0, 0, 0));
    EXPECT_EQ(Try(TryParseDateTimeFromString, u"'2020-03-04T05:06:07.0005'"),
              QelDateTime(2020, 3, 4, 5, 6, 7, 5));
    EXPECT_EQ(Try(TryParseDateTimeFromString, u"2020-03-04T05:06:07"),
              QelDateTime(2020, 3, 4, 5, 6, 7, 0));
    for (char16_t const* bad :
         {u"2020-01-02T03:04:05.5", u"2020-01-02T03:04:05.12345", u"2020-01", u"2020-01-02T03:04",
          u"2020-x-02", u"2020-01-02 x", u"", u"-400-01-01"}) {
        EXPECT_FALSE(Try(TryParseDateTimeFromString, bad)) << TStringCore(bad);
    }
    // Well-formed but impossible: the date's own failure, even from Try.
    EXPECT_EQ(ThrownText([] { Try(TryParseDateTimeFromString, u"2020-13-01"); }),
              "month out of range\nMust be between 1 and 12");
    EXPECT_EQ(ThrownText([] { Try(TryParseDateTimeFromString, u"2023-02-29"); }),
              "invalid date/time");
    EXPECT_EQ(ThrownText([] { ParseDateTimeFromString(T(u"2020/01/02")); }),
              "cannot parse date/time");
}

// What ParseStorageType<V> throws for the text "1" of the type.
template <class V>
std::string Refused(Type const* type) {
    return ThrownText([&] { ParseStorageType<V>(T(u"1"), type); });
}

TEST(ParserTest, StorageTypesHoldTheBitsTheTypeNames) {
    using Boxed = std::shared_ptr<StoreValue>;
    EXPECT_EQ(ParseStorageType<unsigned char>(T(u"true"), BoolType::Get()), 1);
    EXPECT_EQ(ParseStorageType<unsigned int>(T(u"-1"), IntType::Get32()), 0xFFFFFFFFu);
    EXPECT_EQ(ParseStorageType<unsigned int>(T(u"80000001"), ColorType::Get()), 0x80000001u);
    unsigned int const floatBits = ParseStorageType<unsigned int>(T(u"1.5"), RealType::Get32());
    EXPECT_EQ(std::bit_cast<float>(floatBits), 1.5f);
    unsigned long long const doubleBits =
        ParseStorageType<unsigned long long>(T(u"-0.25"), RealType::Get64(10, 2));
    EXPECT_EQ(std::bit_cast<double>(doubleBits), -0.25);
    EXPECT_EQ(ParseStorageType<unsigned long long>(T(u"1900-01-01"), DateType::Get()),
              QelDateTime::DateTimeDefault);
    EXPECT_EQ(ParseStorageType<RIndirectString>(T(u"a b"), StringType::Get()).GetValue(),
              T(u"a b"));

    bool ok = true;
    EXPECT_EQ(TryParseStorageType<unsigned long long>(T(u"x"), IntType::Get64(), ok), 0u);
    EXPECT_FALSE(ok);
    EXPECT_EQ(TryParseStorageType<Boxed>(T(u"1"), IntType::Get32(), ok), nullptr);
    EXPECT_FALSE(ok);

    EXPECT_EQ(Refused<unsigned char>(IntType::Get32()), "expected bool but was ");
    EXPECT_EQ(Refused<unsigned int>(IntType::Get64()), "type doesn't match expected type");
    EXPECT_EQ(Refused<TStringCore>(IntType::Get32()), "expected string but was ");
    EXPECT_EQ(Refused<Boxed>(IntType::Get32()), "not implemented");
    EXPECT_EQ(Refused<unsigned int>(nullptr), "null is not a valid argument");
}

}  // namespace
}  // namespace qel::core
