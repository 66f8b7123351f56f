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

/// A moment as a calendar and a clock show it.
struct BrokenDownTime {
    int year;    // 2026
    int month;   // 1 to 12
    int day;     // 1 to 31
    int weekday; // 0 is Sunday
    int hour;    // 0 to 23
    int minute;
    int second; // to 60 at a leap second
    int millisecond;
};

/// Converts a moment, in milliseconds since 1970-01-01 00:00 UTC, to the calendar of the computer's zone or of UTC. A
/// moment whose year doesn't fit an `int` gives all zeros.
///
/// Thread safety: callable from any thread.
[[nodiscard]] BrokenDownTime ToLocalTime(std::int64_t milliseconds) noexcept;
[[nodiscard]] BrokenDownTime ToUtcTime(std::int64_t milliseconds) noexcept;

} // namespace KZPlatform
