/// @file
/// The Gregorian calendar as arithmetic on day numbers, valid for every year that a calendar value can hold.
///
/// The calendar also holds for years before 1582; the year before 1 is 0. A month or day outside its range gives some
/// number, but never undefined behaviour.
#pragma once

#include <cstdint>

namespace KZDetail {

inline constexpr std::int64_t millisecondsOfDay = 86400000;
inline constexpr std::int64_t secondsOfDay = 86400;

struct CivilDate {
    std::int32_t year;
    std::uint32_t month; // from 1
    std::uint32_t day;   // from 1
};

constexpr std::int64_t FloorDivide(std::int64_t a, std::int64_t b) noexcept {
    return a / b - (a % b < 0 ? 1 : 0);
}

// A multiple of 25 is a leap year if it is one of 16, any other year if it is one of 4.
constexpr bool IsLeapYear(int year) noexcept { return (year & (year % 25 == 0 ? 15 : 3)) == 0; }

/// 0 for a month that doesn't exist.
constexpr unsigned int DaysInMonth(int year, unsigned int month) noexcept {
    constexpr std::uint8_t days[13] = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month > 12) return 0;
    return days[month] + (month == 2 && IsLeapYear(year) ? 1U : 0U);
}

// Both functions count from a year of 400 times this number before 1970, so that they divide unsigned numbers by
// constants, which the compiler does by multiplying.
inline constexpr std::int64_t earlierEras = std::int64_t{1} << 36;
inline constexpr std::int64_t daysOfEra = 146097;
inline constexpr std::int64_t daysBefore1970 = earlierEras * daysOfEra + 719468;

/// Days since 1970-01-01. The year starts in March here, so that the leap day is its last.
constexpr std::int64_t DaysFromCivil(std::int32_t year, std::uint32_t month, std::uint32_t day) noexcept {
    auto const shifted = static_cast<std::uint64_t>(earlierEras * 400 + year - (month <= 2 ? 1 : 0));
    std::uint64_t const era = shifted / 400;
    auto const yearOfEra = static_cast<std::uint32_t>(shifted - era * 400);
    std::uint32_t const dayOfYear = (153 * (month + (month > 2 ? -3U : 9U)) + 2) / 5 + day - 1;
    std::uint32_t const dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return static_cast<std::int64_t>(era) * daysOfEra + dayOfEra - daysBefore1970;
}

/// The date of a day number; a year beyond 32 bits wraps round. Centuries, years and months are divided out in turn:
/// the remainder of a division, times a constant, has the next quotient in its upper half and what is left below it.
constexpr CivilDate CivilFromDays(std::int64_t days) noexcept {
    std::uint64_t const quarters = static_cast<std::uint64_t>(days + daysBefore1970) * 4 + 3;
    std::uint64_t const century = quarters / daysOfEra;
    std::uint64_t const years = (quarters % daysOfEra | 3) * 2939745; // 2^32 / 1461 days
    std::uint32_t const dayOfYear = static_cast<std::uint32_t>(years) / 2939745 / 4;
    std::uint32_t const months = dayOfYear * 2141 + 197913; // 2^16 / 30.6 days; the first is March
    bool const isNextYear = dayOfYear >= 306;
    std::uint64_t const year = century * 100 + (years >> 32) + isNextYear - earlierEras * 400;
    return {static_cast<std::int32_t>(year), (months >> 16) - (isNextYear ? 12 : 0),
            (months & 0xFFFF) / 2141 + 1};
}

/// The weekday at the start of each month, in a year that begins in March; a year moves it by one, a leap year by one
/// more. Any number of four bits counts as a month.
inline constexpr std::uint8_t weekDayOfMonth[16] = {4, 0, 3, 2, 5, 0, 3, 5, 1, 4, 6, 2, 4, 0, 3, 5};

/// Sunday is 0.
constexpr unsigned int WeekDayOfDays(std::int64_t days) noexcept {
    std::int64_t const fromSunday = (days + 4) % 7;
    return static_cast<unsigned int>(fromSunday < 0 ? fromSunday + 7 : fromSunday);
}

} // namespace KZDetail
