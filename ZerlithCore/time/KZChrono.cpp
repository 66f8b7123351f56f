#include "ZerlithCore/time/KZChrono.h"

#include "ZerlithCore/time/KZDurationExceptionEx.h"

KZDurationEx KZDetail::DurationOfMilliseconds(std::int64_t milliseconds) {
    struct Step {
        KZDurationEx::Unit larger;
        std::int64_t divisor;
    };
    constexpr Step steps[] = {{KZDurationEx::second, 1000},
                              {KZDurationEx::minute, 60},
                              {KZDurationEx::hour, 60},
                              {KZDurationEx::day, 24},
                              {KZDurationEx::week, 7}};
    if (milliseconds == 0) return {};
    KZDurationEx::Unit unit = KZDurationEx::millisecond;
    for (Step const & step : steps) {
        if (milliseconds % step.divisor != 0) break;
        milliseconds /= step.divisor;
        unit = step.larger;
    }
    if (milliseconds > INT32_MAX || milliseconds <= INT32_MIN)
        throw KZDurationExceptionEx(
            KZString(u"The duration has too many milliseconds for 32 bits of one unit"));
    return KZDurationEx(static_cast<long>(milliseconds), unit);
}

std::int64_t KZDetail::MillisecondsOf(KZDurationEx const & duration) {
    if (!duration.IsValid()) throw KZDurationExceptionEx(duration);
    return duration.AsMilliSeconds();
}
