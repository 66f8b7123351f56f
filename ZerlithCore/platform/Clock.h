/// @file
/// The system's clocks, and a moment as a calendar and a clock show it.
#pragma once

#include <cstdint>

namespace KZPlatform {

/// The date and time of day: milliseconds since 1970-01-01 00:00 UTC, leap seconds not counted. Jumps when somebody
/// sets the system's clock.
[[nodiscard]] std::int64_t WallClockMilliseconds() noexcept;

/// For measuring how long something takes: nanoseconds since some fixed moment. Setting the date doesn't change it,
/// and it never runs backward.
[[nodiscard]] std::int64_t MonotonicNanoseconds() noexcept;

/// A moment as a clock and the Gregorian calendar show it.
struct CalendarTime {
    int year = 1970;
    int month = 1; // from 1
    int day = 1;   // from 1
    int hour = 0;
    int minute = 0;
    int second = 0; // to 60 at a leap second
    int millisecond = 0;
    int weekDay = 4; // Sunday is 0
    int yearDay = 1; // from 1
};

/// Converts a moment, in milliseconds since 1970-01-01 00:00 UTC, to the calendar of the computer's zone or of UTC. A
/// moment whose year doesn't fit an `int` gives all zeros.
///
/// Thread safety: callable from any thread.
[[nodiscard]] CalendarTime ToLocalTime(std::int64_t milliseconds) noexcept;
[[nodiscard]] CalendarTime ToUtcTime(std::int64_t milliseconds) noexcept;

} // namespace KZPlatform
