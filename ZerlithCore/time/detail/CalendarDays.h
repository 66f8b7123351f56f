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

constexpr bool IsLeapYear(int year) noexcept { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

/// 0 for a month that doesn't exist.
constexpr unsigned int DaysInMonth(int year, unsigned int month) noexcept {
    constexpr std::uint8_t days[13] = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month > 12) return 0;
    return days[month] + (month == 2 && IsLeapYear(year) ? 1U : 0U);
}

/// Days since 1970-01-01. The year starts in March here, so that the leap day is its last.
constexpr std::int64_t DaysFromCivil(std::int32_t year, std::uint32_t month, std::uint32_t day) noexcept {
    std::int64_t const shifted = std::int64_t{year} - (month <= 2 ? 1 : 0);
    std::int64_t const era = FloorDivide(shifted, 400);
    auto const yearOfEra = static_cast<std::uint32_t>(shifted - era * 400);
    std::uint32_t const dayOfYear = (153 * (month + (month > 2 ? -3U : 9U)) + 2) / 5 + day - 1;
    std::uint32_t const dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + std::int64_t{dayOfEra} - 719468;
}

/// The date of a day number; a year beyond 32 bits wraps round.
constexpr CivilDate CivilFromDays(std::int64_t days) noexcept {
    std::int64_t const shifted = days + 719468;
    std::int64_t const era = FloorDivide(shifted, 146097);
    auto const dayOfEra = static_cast<std::uint32_t>(shifted - era * 146097);
    std::uint32_t const yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    std::uint32_t const dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    std::uint32_t const shiftedMonth = (5 * dayOfYear + 2) / 153;
    std::uint32_t const month = shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9;
    std::int64_t const year = std::int64_t{yearOfEra} + era * 400 + (month <= 2 ? 1 : 0);
    return {static_cast<std::int32_t>(year), month, dayOfYear - (153 * shiftedMonth + 2) / 5 + 1};
}

/// Sunday is 0.
constexpr unsigned int WeekDayOfDays(std::int64_t days) noexcept {
    std::int64_t const fromSunday = (days + 4) % 7;
    return static_cast<unsigned int>(fromSunday < 0 ? fromSunday + 7 : fromSunday);
}

} // namespace KZDetail
