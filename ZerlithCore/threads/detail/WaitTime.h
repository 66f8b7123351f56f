/// @file
/// The durations of `<chrono>` as time-outs in milliseconds.
///
/// The type is recognised by its form, so that the headers of the locks needn't include `<chrono>`, which is large.
#pragma once

#include <concepts>
#include <cstdint>

namespace KZDetail {

template <class T>
concept IsChronoDuration = requires(T const & duration) {
    typename T::rep;
    { duration.count() } -> std::same_as<typename T::rep>;
    { T::period::num + T::period::den } -> std::convertible_to<std::int64_t>;
};

inline constexpr unsigned int waitWithoutLimit = 0xFFFFFFFF;

/// Milliseconds, rounded up, so that a wait isn't shorter than asked for; 0 for a duration below 0. What doesn't fit, such as
/// the largest duration of a type, is a wait without limit.
template <IsChronoDuration Duration>
[[nodiscard]] constexpr unsigned int WaitMilliseconds(Duration const & duration) noexcept {
    auto const count = static_cast<long double>(duration.count());
    long double const milliseconds = count * Duration::period::num * 1000 / Duration::period::den;
    if (!(milliseconds > 0)) return 0;
    if (milliseconds > waitWithoutLimit - 1) return waitWithoutLimit;
    auto const whole = static_cast<unsigned int>(milliseconds);
    return whole < milliseconds ? whole + 1 : whole;
}

} // namespace KZDetail
