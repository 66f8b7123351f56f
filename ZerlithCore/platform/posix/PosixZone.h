// The rule of a time zone in the text form of POSIX, which TZ may have and which ends a zoneinfo file. For example
// "CET-1CEST,M3.5.0,M10.5.0/3": CET is one hour before UTC; from the fifth (that is, last) Sunday of March to the
// last Sunday of October, 3:00, it is CEST.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace KZPlatform {

/// The day and time at which the clocks change each year.
struct PosixChange {
    enum class Form : std::uint8_t {
        MonthWeekDay,
        YearDay,       // 0 to 365, leap days counted
        YearDayNoLeap, // 1 to 365, 29 February not counted
    };
    Form form = Form::MonthWeekDay;
    int month = 0;         // from 1
    int week = 0;          // 1 to 5
    int day = 0;           // of the week (Sunday is 0), or of the year
    int second = 2 * 3600; // of the day, on the clock as it is before the change; -167 to 167 hours
};

struct PosixZone {
    std::string standardName;
    std::string daylightName; // empty: the clocks never change
    int standardOffset = 0;   // seconds, local time minus UTC
    int daylightOffset = 0;
    PosixChange daylightStart;
    PosixChange daylightEnd;
};

/// Parses all of `text`; nothing when it isn't such a rule.
[[nodiscard]] std::optional<PosixZone> ParsePosixZone(std::string_view text);

/// The date of `change` in `year`; the change is `change.second` seconds after the start of that day.
[[nodiscard]] std::chrono::sys_days DayOf(PosixChange const & change, std::chrono::year year);
/// The change that falls on `day`, as a weekday of a month: the last one if no other follows in that month, otherwise
/// the first to fourth.
[[nodiscard]] PosixChange ChangeOn(std::chrono::sys_days day, int second);

} // namespace KZPlatform
