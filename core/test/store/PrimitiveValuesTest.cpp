#include "core/main/store/PrimitiveValues.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>

#include "core/main/store/DateColorValues.h"
#include "core/test/ThrownText.h"
#include "qel/core/store/Collation.h"
#include "qel/core/store/Factory.h"
#include "qel/core/types/RInternString.h"
#include "qel/core/utility/StringHash.h"

namespace qel::core {
namespace {

using namespace factory;
using test::ThrownText;

auto const German = [] { return Collation(RInternString(u"de")); };

TEST(PrimitiveValuesTest, OrderAndHash) {
    EXPECT_EQ(MakeBool(false)->Compare(*MakeBool(true)), -1);
    EXPECT_EQ(MakeString(u"A")->Compare(*MakeString(u"a")), -1);  // the collator's, normalised
    EXPECT_EQ(MakeString(u"b")->Compare(*MakeString(TStringCore(u"abc"))), 1);
    EXPECT_EQ(MakeBool(true)->GetHashValue(), 1u);
    EXPECT_EQ(MakeInt32(-1)->GetHashValue(), std::numeric_limits<std::size_t>::max());
    // Both zeros compare equal, so they hash alike.
    EXPECT_EQ(MakeReal32(-0.0f)->GetHashValue(), 0u);
    EXPECT_EQ(MakeReal64(-0.0)->GetHashValue(), 0u);
    EXPECT_EQ(MakeReal32(-1.0f)->GetHashValue(), 0xbf800000u);  // zero-extended
    EXPECT_EQ(MakeReal64(1.0, 4, 2)->GetHashValue(), 0x3ff0000000000000u);
    EXPECT_EQ(MakeString(u"abc")->GetHashValue(), HashString(TStringCore(u"abc")));
}

// Each value cast to every target, as " <type>|<text>", or " -" where the
// cast is refused as illegal. The targets are decorated: only the store type
// of the target decides.
TEST(PrimitiveValuesTest, CastMatrix) {
    Type const* const targets[] = {BoolType::Get(),       IntType::Get32(),
                                   IntType::Get64(),      RealType::Get32(4, 2),
                                   RealType::Get64(5, 3), StringType::Get(German()),
                                   DateType::Get(),       ArrayType::Get(IntType::Get32())};
    std::pair<std::shared_ptr<StoreValue>, char const*> const rows[] = {
        {MakeBool(true), " b|true - - - - - - -"},
        {MakeInt32(-7), " - i|-7 l|-7 f<-1,-1>|-7 r<-1,-1>|-7 - - -"},
        {MakeInt64(4294967297LL),
         " - i|1 l|4294967297 f<-1,-1>|4.2949673e+09 r<-1,-1>|4294967297 - - -"},
        // Widening keeps precision and scale; narrowing drops them.
        {MakeReal32(-2.9f, 3, 1),
         " - i|-2 l|-2 f<3,1>|-2.9000001 r<3,1>|-2.9000000953674316 - - -"},
        {MakeReal64(2.9, 10, 2), " - i|2 l|2 f<-1,-1>|2.9000001 r<10,2>|2.8999999999999999 - - -"},
        {MakeString(u"x"), " - - - - - s<LROOT>|x - -"},
    };
    for (auto const& row : rows) {
        auto const& value = row.first;  // a lambda may not capture a structured binding
        auto const& expected = row.second;
        std::string casts;
        for (Type const* target : targets) {
            std::unique_ptr<StoreValue> cast;
            std::string const refused = ThrownText([&] { cast = value->Cast(target); });
            // Appended piece by piece: g++ 12 at -O3 misreads `" " + string`.
            casts += ' ';
            if (!cast) {
                casts += refused == "illegal type cast" ? "-" : refused;
            } else {
                casts += cast->GetType()->ToString().toStdString();
                casts += '|';
                casts += FormatPrimitive(*cast).toStdString();
            }
        }
        EXPECT_EQ(casts, expected);
        EXPECT_EQ(ThrownText([&] { value->Cast(nullptr); }), "illegal type cast") << expected;
        // A clone is a new object of the very same type.
        EXPECT_EQ(value->Clone()->GetType(), value->GetType()) << expected;
    }
}

TEST(PrimitiveValuesTest, TruncationAndLowBits) {
    auto toInt32 = [](auto const& v) { return v->Cast(IntType::Get32())->AsInt32(); };
    auto toInt64 = [](auto const& v) { return v->Cast(IntType::Get64())->AsInt64(); };
    int const low32 = std::numeric_limits<int>::min();
    long long const low64 = std::numeric_limits<long long>::min();
    // Toward zero; NaN and anything out of range give the lowest value.
    EXPECT_EQ(toInt32(MakeReal32UniquePtr(-0.5f)), 0);
    EXPECT_EQ(toInt32(MakeReal64(2147483647.9)), 2147483647);
    EXPECT_EQ(toInt32(MakeReal64(2147483648.0)), low32);
    EXPECT_EQ(toInt32(MakeReal64(std::nan(""))), low32);
    EXPECT_EQ(toInt32(MakeReal32(INFINITY)), low32);
    EXPECT_EQ(toInt64(MakeReal64(9.3e18)), low64);
    EXPECT_EQ(toInt64(MakeReal64(-9.2e18)), -9200000000000000000LL);
    EXPECT_EQ(toInt64(MakeReal32(std::nanf(""))), low64);
}

QelDateTime const kNoon(2020, 3, 4, 12, 0, 0, 0);
QelDateTime const kMidnight(2020, 3, 4, 0, 0, 0, 0);

auto const Text = [](auto const& value) { return FormatPrimitive(*value).toStdString(); };

TEST(DateColorValuesTest, BoxesKeepTheirNumberAndAccessorOnly) {
    auto const date = MakeDate(kNoon);  // a date may hold a time of day
    auto const dateTime = MakeDateTimeUniquePtr(kNoon);
    auto const color = MakeColor(1, 2, 3, 255);
    EXPECT_EQ(date->GetType(), DateType::Get());
    EXPECT_EQ(MakeDateUniquePtr(kNoon)->GetType(), DateType::Get());
    EXPECT_EQ(dateTime->GetType(), DateTimeType::Get());
    EXPECT_EQ(MakeDateTime(kNoon)->GetType(), DateTimeType::Get());
    EXPECT_EQ(color->GetType(), ColorType::Get());
    EXPECT_EQ(date->AsDate(), kNoon);
    EXPECT_EQ(dateTime->AsDateTime(), kNoon);
    EXPECT_EQ(color->AsColor(), QelColor(1, 2, 3, 255));
    EXPECT_EQ(MakeColor(-1)->AsColor().GetA(), 255);
    EXPECT_EQ(date->GetHashValue(), kNoon.GetValue());
    EXPECT_EQ(dateTime->GetHashValue(), kNoon.GetValue());
    EXPECT_EQ(color->GetHashValue(), std::size_t{0xffffffffff010203u});
    // No accessor converts between the two date kinds.
    EXPECT_EQ(ThrownText([&] { date->AsDateTime(); }), "expected datetime but was \nDate");
    EXPECT_EQ(ThrownText([&] { dateTime->AsDate(); }), "expected date but was \nDateTime");
}

TEST(DateColorValuesTest, Comparison) {
    auto const early = MakeDate(kMidnight);
    auto const late = MakeDate(kNoon);
    EXPECT_EQ(early->Compare(*late), -1);
    EXPECT_EQ(late->Compare(*early), 1);
    EXPECT_TRUE(late->IsEqual(*MakeDateUniquePtr(kNoon)));
    EXPECT_EQ(MakeDateTime(kNoon)->Compare(*MakeDateTime(kMidnight)), 1);
    // Date and DateTime are different types: IsEqual is false, Compare fails.
    EXPECT_FALSE(late->IsEqual(*MakeDateTime(kNoon)));
    EXPECT_EQ(ThrownText([&] { late->Compare(*MakeDateTime(kNoon)); }),
              "expected date but was \nDateTime");

    // Specials sort after every date, whichever side asks.
    auto const null = MakeSpecial(DateType::Get(), SpecialKind::Null);
    EXPECT_EQ(null->Compare(*late), 1);
    EXPECT_EQ(late->Compare(*null), -1);
    EXPECT_TRUE(
        MakeDateTime(kNoon)->IsLessThan(*MakeSpecial(DateTimeType::Get(), SpecialKind::Missing)));
    EXPECT_EQ(ThrownText([&] { late->Compare(*MakeSpecial(ColorType::Get(), SpecialKind::Null)); }),
              "type mismatch");

    // Colours by the signed packed value: opaque below transparent.
    auto const opaque = MakeColor(1, 2, 3, 255);
    auto const clear = MakeColor(1, 2, 3, 0);
    EXPECT_EQ(opaque->Compare(*clear), -1);
    EXPECT_EQ(clear->Compare(*opaque), 1);
    EXPECT_TRUE(opaque->IsEqual(*MakeColor(static_cast<int>(0xff010203u))));
}

TEST(DateColorValuesTest, Casts) {
    // Between the date kinds the number passes unchanged, time of day kept.
    auto const toDateTime = MakeDate(kNoon)->Cast(DateTimeType::Get());
    EXPECT_EQ(toDateTime->GetType(), DateTimeType::Get());
    EXPECT_EQ(toDateTime->AsDateTime(), kNoon);
    auto const toDate = MakeDateTime(kNoon)->Cast(DateType::Get());
    EXPECT_EQ(toDate->GetType(), DateType::Get());
    EXPECT_EQ(toDate->AsDate(), kNoon);
    EXPECT_EQ(MakeDate(kNoon)->Cast(DateType::Get())->AsDate(), kNoon);
    EXPECT_EQ(MakeDateTime(kNoon)->Cast(DateTimeType::Get())->AsDateTime(), kNoon);

    Type const* const others[] = {IntType::Get64(), ColorType::Get(), nullptr};
    for (Type const* other : others) {
        EXPECT_EQ(ThrownText([&] { MakeDate(kNoon)->Cast(other); }), "illegal type cast");
        EXPECT_EQ(ThrownText([&] { MakeDateTime(kNoon)->Cast(other); }), "illegal type cast");
    }
    // A colour casts to nothing, not even to Color.
    EXPECT_EQ(ThrownText([] { MakeColor(1)->Cast(ColorType::Get()); }), "illegal type cast");
}

TEST(DateColorValuesTest, FormatPrimitive) {
    EXPECT_EQ(Text(MakeDate(kMidnight)), "2020-03-04");
    EXPECT_EQ(Text(MakeDate(kNoon)), "2020-03-04T12:00:00");
    EXPECT_EQ(Text(MakeDateTime(QelDateTime(2020, 3, 4, 5, 6, 7, 5))), "2020-03-04T05:06:07.0005");
    EXPECT_EQ(Text(MakeDateTime(QelDateTime())), "1900-01-01");
    EXPECT_EQ(Text(MakeColor(1, 2, 3, 255)), "ff010203");
    // A raw number out of range is boxed as it is and refused in its text.
    EXPECT_EQ(ThrownText([] { FormatPrimitive(*MakeDate(QelDateTime(0ULL))); }),
              "invalid date/time");
}

}  // namespace
}  // namespace qel::core
