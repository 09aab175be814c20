#include "qel/core/utility/QelDateTime.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "core/test/Refusal.h"
#include "core/test/ThrownText.h"

namespace qel::core {
namespace {

using test::Refusal;
using test::ThrownText;

constexpr unsigned long long kDay = QelDateTime::TicksPerDay;

auto const Text = [](QelDateTime d) { return d.ToString().toStdString(); };

// "Y-M-D h:m:s.f", unpadded, so that out-of-range fields show as they are.
std::string Parts(QelDateTime d) {
    QelDateTimeParts const p = d.GetQelDateTimeParts();
    char text[100];
    std::snprintf(text, sizeof(text), "%d-%d-%d %d:%d:%d.%d", p.GetYear(), p.GetMonth(), p.GetDay(),
                  p.GetHour(), p.GetMinute(), p.GetSecond(), p.GetFraction());
    return text;
}

std::string Iso(QelDateTime d) {
    QelISO8601DateTimeParts const p = d.GetQelISO8601DateTimeParts();
    return std::to_string(p.GetISOYear()) + "-W" + std::to_string(p.GetISOWeek()) + "-" +
           std::to_string(p.GetISOWeekday());
}

QelDateTime D(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int f = 0) {
    return QelDateTime(y, mo, d, h, mi, s, f);
}

TEST(QelDateTimeTest, LimitsAndRangesCheckedInOrderWithTheirBounds) {
    EXPECT_EQ(Text(QelDateTime()), "1900-01-01");
    EXPECT_EQ(QelDateTime().ToDouble(), 0.0);
    EXPECT_EQ(D(1900, 1, 1).GetValue(), QelDateTime::DateTimeDefault);
    EXPECT_EQ(D(400, 1, 1).GetValue(), QelDateTime::DateTimeMinimum);
    QelDateTime const max(QelDateTimeParts(23829, 12, 31, 23, 59, 59, 9999));
    EXPECT_EQ(max.GetValue(), QelDateTime::DateTimeMaximum);
    EXPECT_EQ(Text(QelDateTime(QelDateTime::DateTimeMinimum)), "0400-01-01");
    EXPECT_EQ(Text(max), "23829-12-31T23:59:59.9999");

    // Raw numbers are taken as they stand; the limits show in IsValid and
    // ToString. Any 64-bit number decodes without fault.
    for (unsigned long long raw :
         {QelDateTime::DateTimeMinimum - 1, QelDateTime::DateTimeMaximum + 1, 0ULL, ~0ULL}) {
        QelDateTime const d = QelDateTime::FromValue(raw);
        EXPECT_FALSE(d.IsValid()) << raw;
        EXPECT_EQ(ThrownText([&] { d.ToString(); }), "invalid date/time") << raw;
    }
    EXPECT_TRUE(max.IsValid());

    struct Row {
        int y, mo, d, h, mi, s, f;
        char const* what;
    };
    Row const rows[] = {
        {399, 1, 1, 0, 0, 0, 0, "year out of range\nMust be between 400 and 23829"},
        {23830, 1, 1, 0, 0, 0, 0, "year out of range\nMust be between 400 and 23829"},
        {INT_MIN, INT_MIN, INT_MIN, 0, 0, 0, 0, "year out of range\nMust be between 400 and 23829"},
        {2000, 0, 1, 0, 0, 0, 0, "month out of range\nMust be between 1 and 12"},
        {2000, 13, 32, 24, 0, 0, 0, "month out of range\nMust be between 1 and 12"},
        {2000, 1, 0, 0, 0, 0, 0, "day out of range\nMust be between 1 and 31"},
        {2000, 1, 1, 24, 60, 0, 0, "hour out of range\nMust be between 0 and 23"},
        {2000, 1, 1, 0, -1, 60, 0, "minute out of range\nMust be between 0 and 59"},
        {2000, 1, 1, 0, 0, 60, 0, "second out of range\nMust be between 0 and 59"},
        {2000, 1, 1, 0, 0, 0, 10000, "fraction out of range\nMust be between 0 and 9999"},
        // The ranges come before the day's existence.
        {2023, 2, 30, 0, 0, 0, 10000, "fraction out of range\nMust be between 0 and 9999"},
    };
    for (Row const& r : rows)
        EXPECT_EQ(ThrownText([&] { D(r.y, r.mo, r.d, r.h, r.mi, r.s, r.f); }), r.what)
            << r.y << "-" << r.mo;
    // A range failure is a validation that reports its bounds and condition.
    EXPECT_EQ(Refusal([] { QelDateTime::ComputeQelDateTime(2000, 1, 1, 0, 0, 0, 10000); }),
              "fraction out of range\nMust be between 0 and 9999 | (fraction) >= (0) && (fraction) "
              "<= (9999)");
}

TEST(QelDateTimeTest, CalendarEdges) {
    int const missing[][3] = {{2023, 2, 29},  {2023, 2, 30},  {1900, 2, 29},
                              {2100, 2, 29},  {2023, 4, 31},  {1582, 10, 5},
                              {1582, 10, 10}, {1582, 10, 14}, {1500, 2, 30}};
    for (auto const& date : missing)
        EXPECT_EQ(ThrownText([&] { D(date[0], date[1], date[2]); }), "invalid date/time")
            << date[0] << "-" << date[1] << "-" << date[2];
    EXPECT_EQ(Text(D(2024, 2, 29)), "2024-02-29");
    EXPECT_EQ(Text(D(2000, 2, 29)), "2000-02-29");
    // Julian leap rule before the switch: every fourth year, centuries too.
    EXPECT_EQ(Text(D(1500, 2, 29)), "1500-02-29");
    QelDateTime const lastJulian = D(1582, 10, 4);
    QelDateTime const firstGregorian = D(1582, 10, 15);
    EXPECT_EQ(firstGregorian.GetValue() / kDay, 2299160u);
    EXPECT_EQ(firstGregorian.GetValue() - lastJulian.GetValue(), kDay);
}

// The calendar's month lengths, Julian up to 1582 and Gregorian after.
int MonthLength(int year, int month) {
    if (month == 2) {
        bool const leap = year % 4 == 0 && (year <= 1582 || year % 100 != 0 || year % 400 == 0);
        return leap ? 29 : 28;
    }
    return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

// Every day decodes to fields that encode back to it, and the next day is the
// calendar's next one: no day skipped or doubled, months of the right length.
TEST(QelDateTimeTest, DaysRoundTripAcrossTheRange) {
    auto check = [](unsigned long long first, unsigned long long last, unsigned long long step) {
        for (unsigned long long day = first; day <= last; day += step) {
            QelDateTime const d(day * kDay + 12345);
            QelDateTimeParts const p = d.GetQelDateTimeParts();
            ASSERT_EQ(QelDateTime(p).GetValue(), d.GetValue()) << Parts(d);
            QelDateTimeParts const n = QelDateTime(d.GetValue() + kDay).GetQelDateTimeParts();
            int const y = p.GetYear(), m = p.GetMonth();
            bool const sameMonth =
                n.GetYear() == y && n.GetMonth() == m && n.GetDay() == p.GetDay() + 1;
            bool const newMonth = n.GetDay() == 1 && p.GetDay() == MonthLength(y, m) &&
                                  n.GetMonth() == m % 12 + 1 && n.GetYear() == y + (m == 12);
            bool const gap = y == 1582 && m == 10 && p.GetDay() == 4 && n.GetDay() == 15;
            ASSERT_TRUE(sameMonth || newMonth || gap) << Parts(d);
        }
    };
    auto dayOf = [](int year) { return D(year, 1, 1).GetValue() / kDay; };
    check(QelDateTime::DateTimeMinimum / kDay, QelDateTime::DateTimeMaximum / kDay - 1, 13);
    check(dayOf(1580), dayOf(1585), 1);
    check(dayOf(1899), dayOf(2002), 1);
    EXPECT_EQ(Parts(QelDateTime(QelDateTime::DateTimeMaximum + 1)), "23830-1-1 0:0:0.0");
}

TEST(QelDateTimeTest, TimeOfDayAndText) {
    QelDateTime const t = D(2020, 3, 4, 5, 6, 7, 8);
    EXPECT_EQ(Parts(t), "2020-3-4 5:6:7.8");
    EXPECT_EQ(Text(t), "2020-03-04T05:06:07.0008");
    EXPECT_EQ(Text(D(2020, 3, 4, 5, 6, 7, 0)), "2020-03-04T05:06:07");
    EXPECT_EQ(Text(D(2020, 3, 4, 0, 0, 0, 5)), "2020-03-04T00:00:00.0005");
    EXPECT_EQ(Text(D(2020, 3, 4, 0, 0, 1, 0)), "2020-03-04T00:00:01");
    EXPECT_TRUE(t.HasTime());
    EXPECT_TRUE(D(2020, 3, 4, 0, 0, 0, 1).HasTime());
    EXPECT_EQ(t.TruncateTime(), D(2020, 3, 4));
    // Truncation validates the decoded date like the constructor.
    EXPECT_EQ(ThrownText([] { QelDateTime(0ULL).TruncateTime(); }),
              "year out of range\nMust be between 400 and 23829");
}

TEST(QelDateTimeTest, DaysAsDouble) {
    QelDateTime const dayAndHalf = QelDateTime::FromDouble(1.5);
    EXPECT_EQ(dayAndHalf.ToDouble(), 1.5);
    EXPECT_EQ(Parts(dayAndHalf), "1900-1-2 12:0:0.0");
    EXPECT_EQ(Text(QelDateTime::FromDouble(-0.5)), "1899-12-31T12:00:00");
    EXPECT_EQ(Text(QelDateTime::FromDouble(-1.25)), "1899-12-30T18:00:00");
    EXPECT_EQ(D(1899, 12, 31).ToDouble(), -1.0);
    // The time of day rounds to the nearest tick, away from the default date.
    double const tick = 1.0 / 864000000;
    EXPECT_EQ(QelDateTime::FromDouble(0.6 * tick).GetValue(), QelDateTime::DateTimeDefault + 1);
    EXPECT_EQ(QelDateTime::FromDouble(-0.6 * tick).GetValue(), QelDateTime::DateTimeDefault - 1);
    EXPECT_EQ(QelDateTime::FromDouble(0.4 * tick).GetValue(), QelDateTime::DateTimeDefault);
    // Multiplied by the constant, which differs from a division here.
    QelDateTime const few(QelDateTime::DateTimeDefault + 85548);
    EXPECT_EQ(few.ToDouble(), 9.9013888888888882e-05);
    EXPECT_NE(few.ToDouble(), 85548 / 864000000.0);
    // Not checked against any limit; under the sanitizers, no conversion
    // out of range.
    for (double wild : {1e300, -1e300, std::nan(""), std::numeric_limits<double>::infinity()})
        QelDateTime::FromDouble(wild).GetQelDateTimeParts();
}

TEST(QelDateTimeTest, IsoWeeksAndDaysOfYear) {
    // 1 January 1900 is a Monday; the others are weeks at year boundaries.
    std::tuple<QelDateTime, char const*> const weeks[] = {
        {D(1900, 1, 1), "1900-W1-1"},    {D(2021, 1, 3), "2020-W53-7"},
        {D(2020, 12, 31), "2020-W53-4"}, {D(2024, 12, 31), "2025-W1-2"},
        {D(2027, 1, 1), "2026-W53-5"},   {D(2023, 1, 1), "2022-W52-7"}};
    for (auto const& [date, iso] : weeks)
        EXPECT_EQ(Iso(date), iso);
    QelDateTime const june = D(2021, 6, 15, 5, 6, 7, 8);
    EXPECT_EQ(Iso(june), "2021-W24-2");
    QelISO8601DateTimeParts const p = june.GetQelISO8601DateTimeParts();
    EXPECT_EQ(std::vector({p.GetHour(), p.GetMinute(), p.GetSecond(), p.GetFraction()}),
              std::vector({5, 6, 7, 8}));
    EXPECT_TRUE(p.IsValid());
    EXPECT_FALSE(QelISO8601DateTimeParts().IsValid());

    EXPECT_EQ(D(2024, 1, 1).GetGregorianDayOfYear(), 1);
    EXPECT_EQ(D(2024, 3, 1, 23, 59, 59, 9999).GetGregorianDayOfYear(), 61);
    EXPECT_EQ(D(2024, 12, 31).GetGregorianDayOfYear(), 366);
    EXPECT_EQ(D(2023, 12, 31).GetGregorianDayOfYear(), 365);
    EXPECT_EQ(D(1582, 12, 31).GetGregorianDayOfYear(), 355);  // October lost ten days
}

TEST(QelDateTimeTest, UncheckedCountsYearsBeforeOne) {
    auto const unchecked = &QelDateTime::ComputeQelDateTimeUnchecked;
    EXPECT_EQ(unchecked(2020, 3, 4, 5, 6, 7, 8), D(2020, 3, 4, 5, 6, 7, 8).GetValue());
    // There is no year 0: 1 BC is followed by AD 1.
    EXPECT_EQ(unchecked(1, 1, 1, 0, 0, 0, 0) - unchecked(-1, 12, 31, 0, 0, 0, 0), kDay);
    // Day 0 is 2 January 4713 BC of the Julian calendar.
    EXPECT_EQ(unchecked(-4713, 1, 2, 0, 0, 0, 0), 0u);
    // Nonexistent dates pass, counted in the Julian calendar, and no argument
    // overflows.
    EXPECT_EQ(unchecked(1582, 10, 10, 0, 0, 0, 0), D(1582, 10, 4).GetValue() + 6 * kDay);
    unchecked(INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX);
    unchecked(INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN);
}

}  // namespace
}  // namespace qel::core
