// The text form of a time zone's rule that POSIX gives to TZ and that zoneinfo files end in:
// "CET-1CEST,M3.5.0,M10.5.0/3".
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace KZPlatform {

/// When the clocks change, year by year.
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
    int second = 2 * 3600; // of the day, on the wall clock before the change; -167 to 167 hours
};

struct PosixZone {
    std::string standardName;
    std::string daylightName; // empty: the clocks never change
    int standardOffset = 0;   // seconds, local time minus UTC
    int daylightOffset = 0;
    PosixChange daylightStart;
    PosixChange daylightEnd;
};

/// Nothing when `text` isn't such a rule, to its end.
[[nodiscard]] std::optional<PosixZone> ParsePosixZone(std::string_view text);

/// The day of `change` in `year`, on which its seconds count.
[[nodiscard]] std::chrono::sys_days DayOf(PosixChange const & change, std::chrono::year year);
/// A change on `day`, told by the weekday: it is the month's last one when no other follows, else the first to fourth.
[[nodiscard]] PosixChange ChangeOn(std::chrono::sys_days day, int second);

} // namespace KZPlatform
