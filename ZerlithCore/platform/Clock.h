/// @file
/// The system's clocks.
#pragma once

#include <cstdint>

namespace KZPlatform {

/// Milliseconds since 1970-01-01 00:00 UTC, leap seconds not counted.
[[nodiscard]] std::int64_t WallClockMilliseconds() noexcept;

/// Nanoseconds since some fixed moment; never runs backward.
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

/// The moment `milliseconds` after 1970-01-01 00:00 UTC, in the local zone or in UTC.
///
/// Thread safety: callable from any thread.
[[nodiscard]] BrokenDownTime ToLocalTime(std::int64_t milliseconds) noexcept;
[[nodiscard]] BrokenDownTime ToUtcTime(std::int64_t milliseconds) noexcept;

} // namespace KZPlatform
