#pragma once

// A date and time as one unsigned 64-bit count of ticks of 1/10000 second:
//
//   value = (((D * 24 + h) * 60 + m) * 60 + s) * 10000 + f
//
// where D is the Julian Day Number less one (1582-10-15 is day 2299160). The
// calendar is Julian up to 1582-10-04 and Gregorian from 1582-10-15 on. As
// the number grows with time, comparison, ordering and hashing use it alone;
// it is decoded only for display. Dates and date-times share the encoding.
//
// The constructors from fields validate them (ranges, then that the date
// exists); the constructor from a raw number, FromValue and FromDouble never
// fail, so an out-of-range value can exist: IsValid and ToString tell.

#include <cstddef>
#include <cstdint>
#include <functional>

#include "qel/core/utility/Base.h"

namespace qel::core {

class QelDateTimeParts {
public:
    QelDateTimeParts() = default;
    QelDateTimeParts(int year, int month, int day, int hour, int minute, int second, int fraction)
        : m_year(year),
          m_month(month),
          m_day(day),
          m_hour(hour),
          m_minute(minute),
          m_second(second),
          m_fraction(fraction) {}

    int GetYear() const { return m_year; }
    int GetMonth() const { return m_month; }
    int GetDay() const { return m_day; }
    int GetHour() const { return m_hour; }
    int GetMinute() const { return m_minute; }
    int GetSecond() const { return m_second; }
    int GetFraction() const { return m_fraction; }
    void SetYear(int v) { m_year = v; }
    void SetMonth(int v) { m_month = v; }
    void SetDay(int v) { m_day = v; }
    void SetHour(int v) { m_hour = v; }
    void SetMinute(int v) { m_minute = v; }
    void SetSecond(int v) { m_second = v; }
    void SetFraction(int v) { m_fraction = v; }

    // Each field in its range (year 400 to 23829, day 1 to 31, ...); the
    // month's length is not considered.
    bool IsValid() const;

private:
    int m_year = 0;
    int m_month = 0;
    int m_day = 0;
    int m_hour = 0;
    int m_minute = 0;
    int m_second = 0;
    int m_fraction = 0;
};

// An ISO 8601 week date with the time of day. Weekday 1 is Monday.
class QelISO8601DateTimeParts {
public:
    QelISO8601DateTimeParts() = default;

    int GetISOYear() const { return m_isoYear; }
    int GetISOWeek() const { return m_isoWeek; }
    int GetISOWeekday() const { return m_isoWeekday; }
    int GetHour() const { return m_hour; }
    int GetMinute() const { return m_minute; }
    int GetSecond() const { return m_second; }
    int GetFraction() const { return m_fraction; }
    void SetISOYear(int v) { m_isoYear = v; }
    void SetISOWeek(int v) { m_isoWeek = v; }
    void SetISOWeekday(int v) { m_isoWeekday = v; }
    void SetHour(int v) { m_hour = v; }
    void SetMinute(int v) { m_minute = v; }
    void SetSecond(int v) { m_second = v; }
    void SetFraction(int v) { m_fraction = v; }

    bool IsValid() const;

private:
    int m_isoYear = 0;
    int m_isoWeek = 0;
    int m_isoWeekday = 0;
    int m_hour = 0;
    int m_minute = 0;
    int m_second = 0;
    int m_fraction = 0;
};

class QelDateTime {
public:
    static constexpr unsigned long long DateTimeDefault = 2086577280000000ULL;  // 1900-01-01
    static constexpr unsigned long long DateTimeMinimum = 1613223648000000ULL;  // 0400-01-01
    static constexpr unsigned long long DateTimeMaximum = 9007016831999999ULL;  // 23829-12-31 ...

    static constexpr unsigned long long TicksPerSecond = 10000ULL;
    static constexpr unsigned long long TicksPerMinute = 600000ULL;
    static constexpr unsigned long long TicksPerHour = 36000000ULL;
    static constexpr unsigned long long TicksPerDay = 864000000ULL;

    // 1900-01-01 00:00:00.
    constexpr QelDateTime() = default;
    // The number as it stands; never fails.
    constexpr explicit QelDateTime(unsigned long long value) : m_value(value) {}
    QelDateTime(int year, int month, int day, int hour, int minute, int second, int fraction);
    explicit QelDateTime(QelDateTimeParts const& parts);

    static constexpr QelDateTime FromValue(unsigned long long value) { return QelDateTime(value); }
    // Days since 1900-01-01 (negative before); the time of day rounds to the
    // nearest tick. Not checked against any limit.
    static QelDateTime FromDouble(double days);
    constexpr unsigned long long GetValue() const { return m_value; }
    double ToDouble() const;

    // Validates the ranges ("year out of range", ...) and that the date
    // exists ("invalid date/time": 30 February, 1582-10-05 to 1582-10-14).
    static unsigned long long ComputeQelDateTime(int year, int month, int day, int hour, int minute,
                                                 int second, int fraction);
    // No validation; also accepts years below 1 (there is no year 0).
    static unsigned long long ComputeQelDateTimeUnchecked(int year, int month, int day, int hour,
                                                          int minute, int second, int fraction);

    QelDateTimeParts GetQelDateTimeParts() const;
    QelISO8601DateTimeParts GetQelISO8601DateTimeParts() const;
    int GetGregorianDayOfYear() const;
    bool IsValid() const;
    bool HasTime() const;
    // Midnight of the same day; validates like ComputeQelDateTime.
    QelDateTime TruncateTime() const;
    constexpr int CompareTo(QelDateTime other) const {
        return m_value < other.m_value ? -1 : (m_value > other.m_value ? 1 : 0);
    }
    constexpr std::size_t GetHashValue() const { return static_cast<std::size_t>(m_value); }
    // "1900-01-01", "2020-03-04T05:06:07", "2020-03-04T00:00:00.0005"; fails
    // "invalid date/time" when the decoded fields are out of range.
    TStringCore ToString() const;

private:
    unsigned long long m_value = DateTimeDefault;
};

constexpr bool operator==(QelDateTime a, QelDateTime b) {
    return a.GetValue() == b.GetValue();
}
constexpr bool operator!=(QelDateTime a, QelDateTime b) {
    return a.GetValue() != b.GetValue();
}
constexpr bool operator<(QelDateTime a, QelDateTime b) {
    return a.GetValue() < b.GetValue();
}
constexpr bool operator>(QelDateTime a, QelDateTime b) {
    return a.GetValue() > b.GetValue();
}
constexpr bool operator<=(QelDateTime a, QelDateTime b) {
    return a.GetValue() <= b.GetValue();
}
constexpr bool operator>=(QelDateTime a, QelDateTime b) {
    return a.GetValue() >= b.GetValue();
}

}  // namespace qel::core

template <>
struct std::hash<qel::core::QelDateTime> {
    std::size_t operator()(qel::core::QelDateTime d) const noexcept { return d.GetHashValue(); }
};
