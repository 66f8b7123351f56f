/// @file
/// Conversions between the calendar values of the library and those of the standard's `<chrono>`.
///
///     using namespace std::chrono_literals;
///     std::chrono::sys_time const now = KZToChrono(KZDateTimeEx::Now());
///     KZDateTimeEx const deadline = KZFromChrono(now + 36h);
///     KZDurationEx const pause = KZFromChrono(90min);           // 90 minutes
///     std::chrono::milliseconds const same = KZToChrono(pause);
///
/// Thread safety: callable from any thread.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/time/KZDateTimeEx.h"
#include "ZerlithCore/time/KZDurationEx.h"

#include <chrono>
#include <cstdint>

namespace KZDetail {
/// The duration of that many milliseconds in the largest unit, up to weeks, in which it is whole.
/// Errors: throws KZDurationExceptionEx if the number doesn't fit 32 bits in that unit.
KZ_EXPORT KZDurationEx DurationOfMilliseconds(std::int64_t milliseconds);
/// The reverse. Errors: throws KZDurationExceptionEx for an invalid duration.
KZ_EXPORT std::int64_t MillisecondsOf(KZDurationEx const & duration);

/// `convert()`, a number of milliseconds; the largest number if `duration` has more than 64 bits of them, or is no number.
/// That one is beyond what a calendar value or a duration can hold.
template <class Duration, class Convert>
std::int64_t LimitedMilliseconds(Duration duration, Convert convert) {
    double const about = std::chrono::duration<double, std::milli>(duration).count();
    return about > -9e18 && about < 9e18 ? convert().count() : INT64_MAX;
}
} // namespace KZDetail

/// The moment of `time`, rounded down to a millisecond.
/// Errors: throws KZDateExceptionEx when the year isn't from -4,194,303 to 4,194,302.
template <class Duration>
[[nodiscard]] KZDateTimeEx KZFromChrono(std::chrono::sys_time<Duration> time) {
    return KZDateTimeEx::FromUnixMilliseconds(KZDetail::LimitedMilliseconds(time.time_since_epoch(), [time] {
        return std::chrono::floor<std::chrono::milliseconds>(time).time_since_epoch();
    }));
}

/// Errors: throws KZDateExceptionEx when `moment` isn't a date and a time, or its day isn't in the calendar.
[[nodiscard]] inline std::chrono::sys_time<std::chrono::milliseconds>
KZToChrono(KZDateTimeEx const & moment) {
    return std::chrono::sys_time<std::chrono::milliseconds>(
        std::chrono::milliseconds(moment.AsUnixMilliseconds()));
}

/// The same duration in the largest unit, up to weeks, in which it is whole; parts of a millisecond are dropped.
/// Errors: throws KZDurationExceptionEx if the number doesn't fit 32 bits in that unit.
template <class Number, class Period>
[[nodiscard]] KZDurationEx KZFromChrono(std::chrono::duration<Number, Period> duration) {
    return KZDetail::DurationOfMilliseconds(KZDetail::LimitedMilliseconds(
        duration, [duration] { return std::chrono::duration_cast<std::chrono::milliseconds>(duration); }));
}

/// A year counts 365 days and a month 30.
/// Errors: throws KZDurationExceptionEx for an invalid duration.
[[nodiscard]] inline std::chrono::milliseconds KZToChrono(KZDurationEx const & duration) {
    return std::chrono::milliseconds(KZDetail::MillisecondsOf(duration));
}
