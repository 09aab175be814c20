#include "core/main/store/DateColorValues.h"

#include <gtest/gtest.h>

#include "core/test/ThrownText.h"
#include "qel/core/store/Factory.h"

namespace qel::core {
namespace {

using namespace factory;
using test::ThrownText;

QelDateTime const kNoon(2020, 3, 4, 12, 0, 0, 0);
QelDateTime const kMidnight(2020, 3, 4, 0, 0, 0, 0);

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
    EXPECT_EQ(ThrownText([&] { MakeColor(0, 0, 0, 256); }),
              "invalid alpha value\nMust be between 0 and 255");
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
    EXPECT_EQ(FormatPrimitive(*MakeDate(kMidnight)).toStdString(), "2020-03-04");
    EXPECT_EQ(FormatPrimitive(*MakeDate(kNoon)).toStdString(), "2020-03-04T12:00:00");
    EXPECT_EQ(FormatPrimitive(*MakeDateTime(QelDateTime(2020, 3, 4, 5, 6, 7, 5))).toStdString(),
              "2020-03-04T05:06:07.0005");
    EXPECT_EQ(FormatPrimitive(*MakeDateTime(QelDateTime())).toStdString(), "1900-01-01");
    EXPECT_EQ(FormatPrimitive(*MakeColor(1, 2, 3, 255)).toStdString(), "ff010203");
    EXPECT_EQ(FormatPrimitive(*MakeSpecial(DateType::Get(), SpecialKind::Null)).toStdString(),
              "Null");
    // A raw number out of range is boxed as it is and refused in its text.
    EXPECT_EQ(ThrownText([] { FormatPrimitive(*MakeDate(QelDateTime(0ULL))); }),
              "invalid date/time");
}

}  // namespace
}  // namespace qel::core
