/// @file
/// The system's clocks.
#pragma once

#include <cstdint>

namespace KZPlatform {

/// Milliseconds since 1970-01-01 00:00 UTC, leap seconds not counted.
[[nodiscard]] std::int64_t WallClockMilliseconds() noexcept;

/// Nanoseconds since some fixed moment; never runs backward.
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

/// The moment `milliseconds` after 1970-01-01 00:00 UTC, in the local zone or in UTC.
///
/// Thread safety: callable from any thread.
[[nodiscard]] CalendarTime ToLocalTime(std::int64_t milliseconds) noexcept;
[[nodiscard]] CalendarTime ToUtcTime(std::int64_t milliseconds) noexcept;

} // namespace KZPlatform
