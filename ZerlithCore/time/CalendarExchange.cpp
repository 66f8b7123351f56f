// One pair of functions, to the record and back, for each kind of record.
#include "ZerlithCore/time/detail/CalendarExchange.h"

#include "ZerlithCore/time/KZDateTime.h"
#include "ZerlithCore/time/KZTimeZone.h"

#include <cmath>
#include <limits>
#include <optional>

namespace KZDetail {
using namespace KZExchange;

namespace {

// The first days from which the records count, as days since 1970-01-01.
constexpr std::int64_t fileTimeOrigin = DaysFromCivil(1601, 1, 1);
constexpr std::int64_t fileTimeEnd = DaysFromCivil(30828, 1, 1);
constexpr std::int64_t doubleOrigin = DaysFromCivil(1899, 12, 30);
constexpr std::int64_t doubleBegin = DaysFromCivil(100, 1, 1);
constexpr std::int64_t doubleEnd = DaysFromCivil(10000, 1, 1);
constexpr std::int64_t tickPerMillisecond = 10000; // a tick is 100 ns

bool IsEmpty(DateAndTime const & value) { return value.date.IsNull() && value.time.IsNull(); }
bool IsUsable(DateAndTime const & value) {
    return !IsEmpty(value) && (value.date.IsNull() || value.date.IsValid());
}

int TimeOf(DateAndTime const & value) { return value.time.IsNull() ? 0 : value.time.AsMilliseconds(); }

std::int64_t DaysOf(KZDateEx const & date) {
    return DaysFromCivil(date.GetYear(), date.GetMonth(), date.GetDay());
}

KZDateEx DateOf(std::int64_t days) {
    CivilDate const date = CivilFromDays(days);
    return {date.year, date.month, date.day};
}

// Days since 1970, or `origin` if there is no date; std::nullopt outside of `begin` to `end`.
std::optional<std::int64_t> DaysWithin(DateAndTime const & value, std::int64_t origin, std::int64_t begin,
                                       std::int64_t end) {
    if (!IsUsable(value)) return std::nullopt;
    std::int64_t const days = value.date.IsNull() ? origin : DaysOf(value.date);
    return days >= begin && days < end ? std::optional(days) : std::nullopt;
}

bool StoreFields(DateAndTime & value, bool hasDate, KZDateEx const & date, KZTimeEx const & time) {
    if ((hasDate && !date.IsValid()) || time.IsNull()) return false;
    value = {hasDate ? date : KZDateEx(), time};
    return true;
}

} // namespace

bool ToTm(DateAndTime const & value, std::tm & out) {
    if (!IsUsable(value)) return false;
    std::tm result{};
    result.tm_hour = static_cast<int>(value.time.GetHour());
    result.tm_min = static_cast<int>(value.time.GetMinute());
    result.tm_sec = static_cast<int>(value.time.GetSecond());
    if (!value.date.IsNull()) {
        result.tm_year = value.date.GetYear() - 1900;
        result.tm_mon = static_cast<int>(value.date.GetMonth()) - 1;
        result.tm_mday = static_cast<int>(value.date.GetDay());
        result.tm_wday = static_cast<int>(WeekDayOfDays(DaysOf(value.date)));
        result.tm_yday = static_cast<int>(value.date.GetYearDay()) - 1;
    }
    result.tm_isdst = -1;
    out = result;
    return true;
}

bool ToSystemTime(DateAndTime const & value, SYSTEMTIME & out) {
    auto const days = DaysWithin(value, fileTimeOrigin, fileTimeOrigin, fileTimeEnd);
    if (!days) return false;
    auto const field = [](unsigned int number) { return static_cast<std::uint16_t>(number); };
    out = {};
    if (!value.date.IsNull()) {
        out.wYear = field(static_cast<unsigned int>(value.date.GetYear()));
        out.wMonth = field(value.date.GetMonth());
        out.wDay = field(value.date.GetDay());
        out.wDayOfWeek = field(WeekDayOfDays(*days));
    }
    out.wHour = field(value.time.GetHour());
    out.wMinute = field(value.time.GetMinute());
    out.wSecond = field(value.time.GetSecond());
    out.wMilliseconds = field(value.time.GetMillisecond());
    return true;
}

bool ToFileTime(DateAndTime const & value, FILETIME & out) {
    auto const days = DaysWithin(value, fileTimeOrigin, fileTimeOrigin, fileTimeEnd);
    if (!days) return false;
    auto const ticks = static_cast<std::uint64_t>(
        ((*days - fileTimeOrigin) * millisecondsOfDay + TimeOf(value)) * tickPerMillisecond);
    out = {static_cast<std::uint32_t>(ticks), static_cast<std::uint32_t>(ticks >> 32)};
    return true;
}

// The fraction counts from midnight, even if the day is negative: -1.25 is 06:00 of day -1.
bool ToDouble(DateAndTime const & value, double & out) {
    auto const days = DaysWithin(value, doubleOrigin, doubleBegin, doubleEnd);
    if (!days) return false;
    auto const whole = static_cast<double>(*days - doubleOrigin);
    double const fraction = TimeOf(value) / static_cast<double>(millisecondsOfDay);
    out = whole < 0 ? whole - fraction : whole + fraction;
    return true;
}

bool ToVariant(DateAndTime const & value, VARIANT & out) {
    VARIANT result{VT_DATE, 0, 0, 0, 0};
    if (!ToDouble(value, result.date)) return false;
    out = result;
    return true;
}

bool FromTm(std::tm const & in, DateAndTime & value) {
    bool const hasDate = in.tm_year != 0 || in.tm_mon != 0 || in.tm_mday != 0;
    constexpr int yearsHeld = 1 << 22;
    if (in.tm_year > yearsHeld - 1901 || in.tm_year < -yearsHeld - 1900 || in.tm_mon < 0 || in.tm_mon > 11 ||
        in.tm_mday < 0 || in.tm_mday > 31)
        return false;
    if (in.tm_hour < 0 || in.tm_hour > 23 || in.tm_min < 0 || in.tm_min > 59 || in.tm_sec < 0 ||
        in.tm_sec > 59)
        return false;
    KZDateEx const date(in.tm_year + 1900, static_cast<unsigned int>(in.tm_mon) + 1,
                        static_cast<unsigned int>(in.tm_mday));
    KZTimeEx const time(static_cast<unsigned int>(in.tm_hour), static_cast<unsigned int>(in.tm_min),
                        static_cast<unsigned int>(in.tm_sec));
    return StoreFields(value, hasDate, date, time);
}

bool FromSystemTime(SYSTEMTIME const & in, DateAndTime & value) {
    bool const hasDate = in.wYear != 0 || in.wMonth != 0 || in.wDay != 0;
    if (hasDate && (in.wYear < 1601 || in.wYear > 30827 || in.wMonth > 12 || in.wDay > 31)) return false;
    if (in.wHour > 23 || in.wMinute > 59 || in.wSecond > 59 || in.wMilliseconds > 999) return false;
    return StoreFields(value, hasDate, KZDateEx(in.wYear, in.wMonth, in.wDay),
                       KZTimeEx(in.wHour, in.wMinute, in.wSecond, in.wMilliseconds));
}

// Parts of a millisecond are dropped.
bool FromFileTime(FILETIME const & in, DateAndTime & value) {
    std::uint64_t const ticks = std::uint64_t{in.dwHighDateTime} << 32 | in.dwLowDateTime;
    std::uint64_t const milliseconds = ticks / tickPerMillisecond;
    std::int64_t const days = static_cast<std::int64_t>(milliseconds / millisecondsOfDay) + fileTimeOrigin;
    if (days >= fileTimeEnd) return false;
    value = {DateOf(days), KZTimeEx(static_cast<int>(milliseconds % millisecondsOfDay))};
    return true;
}

// Rounds to the nearest millisecond, which may be the first of the next day.
bool FromDouble(double in, DateAndTime & value) {
    if (!(in > -1e6 && in < 1e7)) return false;
    double const whole = std::trunc(in);
    auto const time = static_cast<std::int64_t>(
        std::llround(std::abs(in - whole) * static_cast<double>(millisecondsOfDay)));
    std::int64_t const days = static_cast<std::int64_t>(whole) + doubleOrigin + time / millisecondsOfDay;
    if (days < doubleBegin || days >= doubleEnd) return false;
    value = {DateOf(days), KZTimeEx(static_cast<int>(time % millisecondsOfDay))};
    return true;
}

bool FromVariant(VARIANT const & in, DateAndTime & value) {
    return in.vt == VT_DATE && FromDouble(in.date, value);
}

std::int64_t ToMilliseconds(DateAndTime const & value) {
    return DaysOf(value.date) * millisecondsOfDay + TimeOf(value);
}

DateAndTime FromMilliseconds(std::int64_t milliseconds) {
    std::int64_t const days = FloorDivide(milliseconds, millisecondsOfDay);
    return {DateOf(days), KZTimeEx(static_cast<int>(milliseconds - days * millisecondsOfDay))};
}

DateAndTime ValueAt(std::int64_t milliseconds, bool local) {
    std::int64_t const offset =
        local ? KZTimeZone::GetLocalTimeZone().GetLocalMinusUTC(milliseconds / 1000) : 0;
    return FromMilliseconds(milliseconds + offset * 1000);
}

bool ToKZDateTime(std::int64_t seconds, KZDateTime & out) {
    if (seconds <= 0 || seconds > std::numeric_limits<std::uint32_t>::max()) return false;
    out = KZDateTime(static_cast<std::uint32_t>(seconds));
    return true;
}

} // namespace KZDetail
