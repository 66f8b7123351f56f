/// @file
/// A day of the calendar, without a time of day.
///
///     KZDateEx date(2024, 1, 31);
///     date += KZDurationEx(1, KZDurationEx::month);            // 2024-02-29
///     KZString const text = date.AsString(u"%d.%m.%Y");        // "29.02.2024"
///     KZDurationEx const left = KZDateEx(2024, 12, 24) - date; // 299 days
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/time/KZDurationEx.h"
#include "ZerlithCore/time/KZExchangeTypes.h"
#include "ZerlithCore/time/detail/CalendarDays.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <iosfwd>
#include <string_view> // std::hash

class KZDateTime;
class KZTimeZone;
struct KZDateAndTime;

/// A date of the Gregorian calendar in 32 bits: the year in the upper 23, the month in bits 5 to 8, the day below. 0 is
/// the null date. Any month from 0 to 15 and any day up to 31 can be stored; `IsValid` returns whether the day exists.
///
/// Years reach from -4,194,304 to 4,194,303 and wrap round there.
///
/// Templates: %Y is the year, %y its last two digits, %m the month, %d the day, %W the week as `GetYearWeek` counts,
/// all but %Y with two digits; any other letter stands for itself. Reading knows %Y, %y (below 70 is 20xx, below 100
/// 19xx), %m and %d. A field is a number, which may begin with a sign; text between the fields is skipped and not
/// compared with the template. A field that is followed by another character than in the template is dropped: by
/// "%Y/%m", "2024-05" has no year.
///
/// Errors: functions with a text throw std::bad_alloc; those that need the local zone throw what
/// `KZTimeZone::GetLocalTimeZone` throws.
///
/// Thread safety: as an integer.
class KZ_EXPORT KZDateEx {
public:
    /// "%Y/%m/%d".
    static KZString const & GetDefaultFormat();

    /// The null date.
    constexpr KZDateEx() noexcept = default;
    /// Stores the fields as `SetDate` does.
    constexpr KZDateEx(int year, unsigned int month, unsigned int day) noexcept { SetDate(year, month, day); }
    /// From the packed form that `AsInt` returns.
    constexpr explicit KZDateEx(int packed) noexcept : packed_(packed) {}
    /// From other forms; null if these hold no date. Times of day are dropped; of a KZDateTime the local date is taken.
    explicit KZDateEx(KZDateAndTime const & fields) { SetDateAndTime(fields); }
    explicit KZDateEx(std::tm const & time) { FromStructTM(time); }
    explicit KZDateEx(KZExchange::SYSTEMTIME const & time) { FromSystemTime(time); }
    explicit KZDateEx(KZExchange::FILETIME const & time) { FromFileTime(time); }
    explicit KZDateEx(KZExchange::VARIANT const & value) { FromVariant(value); }
    explicit KZDateEx(double days) { FromDouble(days); }
    explicit KZDateEx(KZDateTime const & moment) { FromKZDateTime(moment, true); }
    /// Reads `text` with `FromString`; after an error the fields that could be read are stored.
    explicit KZDateEx(KZString const & text) { FromString(text); }
    KZDateEx(KZString const & text, KZString const & format) { FromString(text, format); }

    /// Today, in local time or UTC.
    [[nodiscard]] static KZDateEx GetCurrentDate(bool local = true);
    /// The number of days, 28 to 31; 0 for a month that doesn't exist.
    [[nodiscard]] static constexpr unsigned int GetDaysInMonth(int year, unsigned int month) noexcept {
        return KZDetail::DaysInMonth(year, month);
    }

    // --- Fields

    /// Stores the fields without a check, each cut to its bits.
    constexpr void SetDate(int year, unsigned int month, unsigned int day) noexcept {
        packed_ = static_cast<std::int32_t>(static_cast<std::uint32_t>(year) << 9 | (month & 15U) << 5 |
                                            (day & 31U));
    }
    [[nodiscard]] constexpr int GetYear() const noexcept { return packed_ >> 9; }
    [[nodiscard]] constexpr unsigned int GetMonth() const noexcept {
        return static_cast<unsigned int>(packed_ >> 5) & 15U;
    }
    [[nodiscard]] constexpr unsigned int GetDay() const noexcept {
        return static_cast<unsigned int>(packed_) & 31U;
    }

    /// Fills the date fields that `mask` names, and sets `fields.mask` to them. Returns false for a null date.
    bool GetDateAndTime(KZDateAndTime & fields, unsigned int mask = 7) const;
    /// Stores the date fields that `fields.mask` names. A year of 8,388,608 or more, a month above 12 and a day above
    /// 31 are dropped: the old field stays. Returns whether the date is valid afterwards.
    bool SetDateAndTime(KZDateAndTime const & fields);

    [[nodiscard]] constexpr bool IsNull() const noexcept { return packed_ == 0; }
    constexpr void SetNull() noexcept { packed_ = 0; }
    /// True when the calendar has this day.
    [[nodiscard]] constexpr bool IsValid() const noexcept {
        return GetDay() != 0 && GetDay() <= GetDaysInMonth(GetYear(), GetMonth());
    }
    [[nodiscard]] constexpr int AsInt() const noexcept { return packed_; }
    constexpr void FromInt(int packed) noexcept { packed_ = packed; }

    /// The weekday; Sunday is 0. A null date and every day before 1970 give 0, too: callers rely on it. The
    /// year counts modulo 65,536.
    [[nodiscard]] constexpr unsigned int GetWeekDay() const noexcept;
    /// The day of the year; 1 January is 1. 0 when the date isn't valid.
    [[nodiscard]] constexpr unsigned int GetYearDay() const noexcept;
    /// The week of the year. Weeks start on Monday; the days before the year's first Monday are week 0. 0 when the date
    /// isn't valid.
    [[nodiscard]] constexpr unsigned int GetYearWeek() const noexcept;

    // --- Text

    /// Prints by the default template, or by `format`; a null date gives an empty text. Always returns true.
    bool AsString(KZString & out) const;
    bool AsString(KZString & out, KZString const & format) const;
    /// Prints into `buffer`, with a terminator, until fewer than 5 of its `capacity` units are left. Returns false when
    /// the text was cut.
    bool AsString(char16_t * buffer, std::size_t capacity, KZString const & format) const;
    [[nodiscard]] KZString AsString() const;
    [[nodiscard]] KZString AsString(KZString const & format) const;
    /// Reads `text`: a date, "SYSDATE" for today in local time, or blanks for null. Returns false when the fields make
    /// no valid date, for instance because one was dropped, or when the year is 0; the fields are stored all the same.
    bool FromString(KZString const & text);
    bool FromString(KZString const & text, KZString const & format);

    // --- Exchange. Each function returns false if the value can't be converted; a record is then unchanged, a date
    // null. Records with a time of day get 00:00:00.

    bool AsStructTM(std::tm & out) const;
    /// SYSTEMTIME and FILETIME have the years 1601 to 30827.
    bool AsSystemTime(KZExchange::SYSTEMTIME & out) const;
    bool AsFileTime(KZExchange::FILETIME & out) const;
    /// VARIANT and double have the years 100 to 9999. A double counts days as a VARIANT does.
    bool AsVariant(KZExchange::VARIANT & out) const;
    bool AsDouble(double & out) const;
    /// The first moment of the day in `zone`.
    bool AsKZDateTime(KZDateTime & out, KZTimeZone const & zone) const;
    bool FromStructTM(std::tm const & time);
    bool FromSystemTime(KZExchange::SYSTEMTIME const & time);
    bool FromFileTime(KZExchange::FILETIME const & time);
    bool FromVariant(KZExchange::VARIANT const & value);
    bool FromDouble(double days);
    /// The day of `moment`, in local time or UTC.
    bool FromKZDateTime(KZDateTime const & moment, bool local = true);

    // --- Arithmetic. A date that isn't valid is unchanged.

    constexpr KZDateEx & operator++() noexcept { return AddDays(1); }
    constexpr KZDateEx & operator--() noexcept { return AddDays(-1); }
    constexpr KZDateEx operator++(int) noexcept;
    constexpr KZDateEx operator--(int) noexcept;
    /// Adds, or subtracts, days; the lower 32 bits of the number count.
    constexpr KZDateEx & operator+=(long days) noexcept { return AddDays(static_cast<std::int32_t>(days)); }
    constexpr KZDateEx & operator-=(long days) noexcept {
        return AddDays(-std::int64_t{static_cast<std::int32_t>(days)});
    }
    constexpr KZDateEx & operator+=(KZDurationEx const & duration) noexcept {
        return AddOrSubstract(duration, true);
    }
    constexpr KZDateEx & operator-=(KZDurationEx const & duration) noexcept {
        return AddOrSubstract(duration, false);
    }
    /// Moves by a duration of years, months, weeks or days; smaller units change nothing. After years and months the
    /// day is cut to the last of the month: 31 January plus a month is 28 or 29 February.
    constexpr KZDateEx & AddOrSubstract(KZDurationEx const & duration, bool add) noexcept;

    friend constexpr KZDateEx operator+(KZDateEx date, long days) noexcept { return date += days; }
    friend constexpr KZDateEx operator-(KZDateEx date, long days) noexcept { return date -= days; }
    friend constexpr KZDateEx operator+(KZDateEx date, KZDurationEx const & duration) noexcept {
        return date += duration;
    }
    friend constexpr KZDateEx operator+(KZDurationEx const & duration, KZDateEx date) noexcept {
        return date += duration;
    }
    friend constexpr KZDateEx operator-(KZDateEx date, KZDurationEx const & duration) noexcept {
        return date -= duration;
    }
    /// Days from `b` to `a`; the invalid duration when one isn't valid.
    friend constexpr KZDurationEx operator-(KZDateEx const & a, KZDateEx const & b);

    /// The order of the calendar; null comes after the negative years and before the positive ones.
    friend constexpr auto operator<=>(KZDateEx const &, KZDateEx const &) noexcept = default;

private:
    friend class KZDateTimeEx;

    // The arguments come from the 32 bits of a duration, so these sums can't overflow.
    constexpr KZDateEx & AddMonths(std::int64_t months) noexcept;
    constexpr KZDateEx & AddDays(std::int64_t days) noexcept;
    [[nodiscard]] constexpr std::int64_t DayNumber() const noexcept {
        return KZDetail::DaysFromCivil(GetYear(), GetMonth(), GetDay());
    }

    std::int32_t packed_ = 0;
};

static_assert(sizeof(KZDateEx) == 4);

/// Writes the default text.
KZ_EXPORT std::wostream & operator<<(std::wostream & stream, KZDateEx const & date);
/// Reads a word as `FromString` does; sets failbit if that fails.
KZ_EXPORT std::wistream & operator>>(std::wistream & stream, KZDateEx & date);

// --- Definitions that may also run in constant expressions

constexpr unsigned int KZDateEx::GetWeekDay() const noexcept {
    if (GetYear() < 1970) return 0;
    auto const year = static_cast<std::uint16_t>(GetYear() - (GetMonth() <= 2 ? 1 : 0));
    unsigned int const century = year / 100U;
    unsigned int const leapDays = year / 4U - century + century / 4U;
    return (KZDetail::weekDayOfMonth[GetMonth()] + year + leapDays + GetDay()) % 7;
}

constexpr unsigned int KZDateEx::GetYearDay() const noexcept {
    constexpr std::uint16_t daysBefore[13] = {0, 0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    if (!IsValid()) return 0;
    unsigned int const leapDay = GetMonth() > 2 && KZDetail::IsLeapYear(GetYear()) ? 1 : 0;
    return daysBefore[GetMonth()] + leapDay + GetDay();
}

constexpr unsigned int KZDateEx::GetYearWeek() const noexcept {
    if (!IsValid()) return 0;
    unsigned int const weekDay = GetWeekDay();
    unsigned int const day = GetYearDay() - 1;
    unsigned int const fromMonday = weekDay == 0 ? 6 : weekDay - 1;
    if (day < fromMonday) return 0;
    return day / 7 + (day % 7 < fromMonday ? 0 : 1);
}

constexpr KZDateEx KZDateEx::operator++(int) noexcept {
    KZDateEx const before = *this;
    ++*this;
    return before;
}

constexpr KZDateEx KZDateEx::operator--(int) noexcept {
    KZDateEx const before = *this;
    --*this;
    return before;
}

constexpr KZDateEx & KZDateEx::AddOrSubstract(KZDurationEx const & duration, bool add) noexcept {
    if (!duration.IsValid() || duration.GetDuration() == 0 || !IsValid()) return *this;
    std::int64_t const value = add ? duration.GetDuration() : -duration.GetDuration();
    switch (duration.GetUnit()) {
    case KZDurationEx::year: AddMonths(value * 12); break;
    case KZDurationEx::month: AddMonths(value); break;
    case KZDurationEx::week: return AddDays(value * 7);
    case KZDurationEx::day: return AddDays(value);
    default: return *this;
    }
    unsigned int const last = GetDaysInMonth(GetYear(), GetMonth());
    if (GetDay() > last) SetDate(GetYear(), GetMonth(), last);
    return *this;
}

constexpr KZDateEx & KZDateEx::AddMonths(std::int64_t months) noexcept {
    std::int64_t const total = std::int64_t{GetMonth()} - 1 + months;
    std::int64_t const years = KZDetail::FloorDivide(total, 12);
    SetDate(static_cast<int>(static_cast<std::uint32_t>(GetYear() + years)),
            static_cast<unsigned int>(total - years * 12) + 1, GetDay());
    return *this;
}

// Computed by day numbers; the result is that of stepping from day to day.
constexpr KZDateEx & KZDateEx::AddDays(std::int64_t days) noexcept {
    if (!IsValid()) return *this;
    // Most steps stay in the month.
    std::int64_t const day = GetDay() + days;
    if (day >= 1 && day <= 28) {
        SetDate(GetYear(), GetMonth(), static_cast<unsigned int>(day));
        return *this;
    }
    KZDetail::CivilDate const date = KZDetail::CivilFromDays(DayNumber() + days);
    SetDate(date.year, date.month, date.day);
    return *this;
}

constexpr KZDurationEx operator-(KZDateEx const & a, KZDateEx const & b) {
    if (!a.IsValid() || !b.IsValid()) return KZDurationEx(0, KZDurationEx::invalid);
    return KZDurationEx(static_cast<long>(a.DayNumber() - b.DayNumber()), KZDurationEx::day);
}

template <>
struct std::hash<KZDateEx> {
    std::size_t operator()(KZDateEx const & value) const noexcept { return std::hash<int>()(value.AsInt()); }
};
