// The system's clocks, and the C library's conversion to a calendar.
#include "ZerlithCore/platform/Clock.h"

#include <ctime>

namespace KZPlatform {

namespace {

std::int64_t ReadClock(clockid_t clock, std::int64_t ticksASecond) noexcept {
    timespec now{};
    clock_gettime(clock, &now);
    return std::int64_t{now.tv_sec} * ticksASecond + now.tv_nsec / (1'000'000'000 / ticksASecond);
}

CalendarTime BreakDown(std::int64_t milliseconds, tm * (*convert)(time_t const *, tm *)) noexcept {
    auto const rest = static_cast<int>((milliseconds % 1000 + 1000) % 1000);
    time_t const seconds = milliseconds / 1000 - (milliseconds % 1000 < 0 ? 1 : 0);
    tm parts{};
    if (!convert(&seconds, &parts)) return {};
    return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour,
            parts.tm_min,         parts.tm_sec,     rest,          parts.tm_wday,
            parts.tm_yday + 1};
}

} // namespace

std::int64_t WallClockMilliseconds() noexcept { return ReadClock(CLOCK_REALTIME, 1000); }

std::int64_t MonotonicNanoseconds() noexcept { return ReadClock(CLOCK_MONOTONIC, 1'000'000'000); }

CalendarTime ToLocalTime(std::int64_t milliseconds) noexcept { return BreakDown(milliseconds, localtime_r); }

CalendarTime ToUtcTime(std::int64_t milliseconds) noexcept { return BreakDown(milliseconds, gmtime_r); }

} // namespace KZPlatform
