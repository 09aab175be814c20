#include "qel/core/utility/QelDateTime.h"

#include <cmath>

#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

// The first day of the Gregorian calendar, 1582-10-15.
constexpr long long kFirstGregorianDay = 2299160;

// 1/864000000, days per tick. Multiplied rather than divided by: day counts
// must come out bit for bit as they are computed with this constant, and a
// division rounds differently in the last bit for some values (85548 ticks).
constexpr double kDaysPerTick = 1.1574074074074074e-9;

struct CalendarDate {
    long long year;
    long long month;
    long long day;
};

// The day number (Julian Day Number less one) of an astronomical year (1 BC
// is year 0). Julian up to 1582-10-04, Gregorian from 1582-10-15. 64-bit
// throughout, so that no argument an int can hold overflows.
long long DayNumber(long long year, long long month, long long day) {
    bool const early = month == 1 || month == 2;
    long long const y = early ? year - 1 : year;
    long long const m = early ? month + 13 : month + 1;
    long long d = (y + 8000) / 4 + y * 365 +
                  static_cast<long long>(static_cast<double>(m) * 30.6001) + day + 1718994;
    bool const gregorian =
        year > 1582 || (year == 1582 && month > 10) || (year == 1582 && month == 10 && day >= 15);
    if (gregorian)
        d += (y + 8000) / 400 - (y + 8000) / 100 + 62;
    return d;
}

// The inverse of DayNumber, with the double constants of the classic
// (Meeus) algorithm; the decoded fields depend on them exactly.
CalendarDate DecodeDay(long long d) {
    long long a = d + 1;
    if (d >= kFirstGregorianDay) {
        auto const alpha =
            static_cast<long long>((static_cast<double>(d) + 1 - 1867216.25) / 36524.25);
        a = d + alpha + 2 - alpha / 4;
    }
    long long const b = a + 1524;
    auto const c = static_cast<long long>((static_cast<double>(b) - 122.1) / 365.25);
    long long const e = b - static_cast<long long>(static_cast<double>(c) * 365.25);
    auto const f = static_cast<long long>(static_cast<double>(e) / 30.6001);
    CalendarDate date;
    date.day = e - static_cast<long long>(static_cast<double>(f) * 30.6001);
    date.month = f - 1 < 13 ? f - 1 : f - 13;
    date.year = c - 4716 + (date.month <= 2 ? 1 : 0);
    return date;
}

// Assembles the ticks modulo 2^64, so that unchecked fields of any size give
// some number rather than a signed overflow.
unsigned long long Assemble(long long dayNumber, int hour, int minute, int second, int fraction) {
    using U = unsigned long long;
    U v = static_cast<U>(dayNumber);
    v = v * 24 + static_cast<U>(static_cast<long long>(hour));
    v = v * 60 + static_cast<U>(static_cast<long long>(minute));
    v = v * 60 + static_cast<U>(static_cast<long long>(second));
    return v * QelDateTime::TicksPerSecond + static_cast<U>(static_cast<long long>(fraction));
}

long long DayOf(unsigned long long value) {
    return static_cast<long long>(value / QelDateTime::TicksPerDay);
}

// A non-negative whole number of days as an unsigned count, wrapped modulo
// 2^64 where it does not fit, so that FromDouble never converts out of range.
// A NaN or an infinity counts as no days.
unsigned long long WholeDays(double w) {
    constexpr double kTwoTo64 = 18446744073709551616.0;
    if (!std::isfinite(w) || w < 0)
        return 0;
    if (w >= kTwoTo64)
        w = std::fmod(w, kTwoTo64);
    return static_cast<unsigned long long>(w);
}

}  // namespace

bool QelDateTimeParts::IsValid() const {
    return m_year >= 400 && m_year <= 23829 && m_month >= 1 && m_month <= 12 && m_day >= 1 &&
           m_day <= 31 && m_hour >= 0 && m_hour <= 23 && m_minute >= 0 && m_minute <= 59 &&
           m_second >= 0 && m_second <= 59 && m_fraction >= 0 && m_fraction <= 9999;
}

bool QelISO8601DateTimeParts::IsValid() const {
    return m_isoYear >= 400 && m_isoYear <= 23829 && m_isoWeek >= 1 && m_isoWeek <= 53 &&
           m_isoWeekday >= 1 && m_isoWeekday <= 7 && m_hour >= 0 && m_hour <= 23 && m_minute >= 0 &&
           m_minute <= 59 && m_second >= 0 && m_second <= 59 && m_fraction >= 0 &&
           m_fraction <= 9999;
}

QelDateTime::QelDateTime(int year, int month, int day, int hour, int minute, int second,
                         int fraction)
    : m_value(ComputeQelDateTime(year, month, day, hour, minute, second, fraction)) {}

QelDateTime::QelDateTime(QelDateTimeParts const& parts)
    : QelDateTime(parts.GetYear(), parts.GetMonth(), parts.GetDay(), parts.GetHour(),
                  parts.GetMinute(), parts.GetSecond(), parts.GetFraction()) {}

QelDateTime QelDateTime::FromDouble(double days) {
    double const a = std::fabs(days);
    double const w = std::trunc(a);
    // In [0, 864000000]: a fraction that rounds up to a whole day adds it. A
    // NaN or an infinity has none.
    unsigned long long t = 0;
    if (std::isfinite(a))
        t = static_cast<unsigned long long>((a - w) * 864000000.0 + 0.5);
    unsigned long long const span = WholeDays(w) * TicksPerDay + t;
    return QelDateTime(days < 0 ? DateTimeDefault - span : DateTimeDefault + span);
}

double QelDateTime::ToDouble() const {
    auto const ticks = static_cast<long long>(m_value - DateTimeDefault);
    return static_cast<double>(ticks) * kDaysPerTick;
}

unsigned long long QelDateTime::ComputeQelDateTime(int year, int month, int day, int hour,
                                                   int minute, int second, int fraction) {
    QEL_VALIDATE_RANGE(year, 400, 23829, QelError::YearOutOfRange,
                       u"Must be between 400 and 23829");
    QEL_VALIDATE_RANGE(month, 1, 12, QelError::MonthOutOfRange, u"Must be between 1 and 12");
    QEL_VALIDATE_RANGE(day, 1, 31, QelError::DayOutOfRange, u"Must be between 1 and 31");
    QEL_VALIDATE_RANGE(hour, 0, 23, QelError::HourOutOfRange, u"Must be between 0 and 23");
    QEL_VALIDATE_RANGE(minute, 0, 59, QelError::MinuteOutOfRange, u"Must be between 0 and 59");
    QEL_VALIDATE_RANGE(second, 0, 59, QelError::SecondOutOfRange, u"Must be between 0 and 59");
    QEL_VALIDATE_RANGE(fraction, 0, 9999, QelError::FractionOutOfRange,
                       u"Must be between 0 and 9999");
    unsigned long long const value =
        Assemble(DayNumber(year, month, day), hour, minute, second, fraction);
    // The day-number formula accepts any day up to 31 in any month; a date
    // that doesn't exist (30 February, the days dropped in October 1582)
    // decodes to another one.
    CalendarDate const decoded = DecodeDay(DayOf(value));
    if (decoded.year != year || decoded.month != month || decoded.day != day)
        QEL_VALIDATION_FAILED(QelError::InvalidDateTime);
    return value;
}

unsigned long long QelDateTime::ComputeQelDateTimeUnchecked(int year, int month, int day, int hour,
                                                            int minute, int second, int fraction) {
    // There is no year 0: 1 BC is astronomical year 0.
    long long const astronomical = year < 1 ? static_cast<long long>(year) + 1 : year;
    return Assemble(DayNumber(astronomical, month, day), hour, minute, second, fraction);
}

QelDateTimeParts QelDateTime::GetQelDateTimeParts() const {
    CalendarDate const date = DecodeDay(DayOf(m_value));
    auto const r = m_value % TicksPerDay;
    // A decoded field of any 64-bit value fits an int: the year stays below
    // 6 * 10^7.
    return QelDateTimeParts(
        static_cast<int>(date.year), static_cast<int>(date.month), static_cast<int>(date.day),
        static_cast<int>(r / TicksPerHour), static_cast<int>((r / TicksPerMinute) % 60),
        static_cast<int>((r / TicksPerSecond) % 60), static_cast<int>(r % TicksPerSecond));
}

QelISO8601DateTimeParts QelDateTime::GetQelISO8601DateTimeParts() const {
    long long const d = DayOf(m_value);
    QelISO8601DateTimeParts iso;
    auto const weekday = static_cast<int>((d + 1) % 7 + 1);  // 1900-01-01, a Monday, gives 1
    // A week belongs to the year that holds its Thursday; week 1 is the one
    // whose Thursday is among the first seven days of that year.
    long long const thursday = d - weekday + 4;
    long long const isoYear = DecodeDay(thursday).year;
    iso.SetISOYear(static_cast<int>(isoYear));
    iso.SetISOWeek(static_cast<int>((thursday - DayNumber(isoYear, 1, 1)) / 7 + 1));
    iso.SetISOWeekday(weekday);
    QelDateTimeParts const parts = GetQelDateTimeParts();
    iso.SetHour(parts.GetHour());
    iso.SetMinute(parts.GetMinute());
    iso.SetSecond(parts.GetSecond());
    iso.SetFraction(parts.GetFraction());
    return iso;
}

int QelDateTime::GetGregorianDayOfYear() const {
    long long const d = DayOf(m_value);
    return static_cast<int>(d - DayNumber(DecodeDay(d).year, 1, 1) + 1);
}

bool QelDateTime::IsValid() const {
    return GetQelDateTimeParts().IsValid();
}

bool QelDateTime::HasTime() const {
    return m_value % TicksPerDay != 0;
}

QelDateTime QelDateTime::TruncateTime() const {
    QelDateTimeParts const parts = GetQelDateTimeParts();
    return QelDateTime(
        ComputeQelDateTime(parts.GetYear(), parts.GetMonth(), parts.GetDay(), 0, 0, 0, 0));
}

TStringCore QelDateTime::ToString() const {
    QelDateTimeParts const parts = GetQelDateTimeParts();
    if (!parts.IsValid())
        QEL_VALIDATION_FAILED(QelError::InvalidDateTime);
    TStringCore text = TStringCore::number(parts.GetYear(), 10, 4, u'0');
    text.append(u'-');
    text.append(TStringCore::number(parts.GetMonth(), 10, 2, u'0'));
    text.append(u'-');
    text.append(TStringCore::number(parts.GetDay(), 10, 2, u'0'));
    if (HasTime()) {
        text.append(u'T');
        text.append(TStringCore::number(parts.GetHour(), 10, 2, u'0'));
        text.append(u':');
        text.append(TStringCore::number(parts.GetMinute(), 10, 2, u'0'));
        text.append(u':');
        text.append(TStringCore::number(parts.GetSecond(), 10, 2, u'0'));
    }
    if (parts.GetFraction() != 0) {
        text.append(u'.');
        text.append(TStringCore::number(parts.GetFraction(), 10, 4, u'0'));
    }
    return text;
}

}  // namespace qel::core
