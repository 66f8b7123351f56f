// The day and the second at which the rule for a change of clocks applies in a year.
#pragma once

#include "ZerlithCore/time/KZSystemTime.h"
#include "ZerlithCore/time/detail/CalendarDays.h"

namespace KZDetail {

// The time of day in seconds. The hour is a signed number, so the result may be below 0 or beyond the day.
constexpr std::int32_t TimeOfRule(KZSystemTime const & rule) noexcept {
    return static_cast<std::int16_t>(rule.hour) * 3600 + rule.minute * 60 + rule.second;
}

// Whether `rule` names a month, and its change is in that month even if it is `shift` seconds later.
constexpr bool StaysInMonth(KZSystemTime const & rule, std::int64_t shift) noexcept {
    std::int64_t const time = TimeOfRule(rule) + shift;
    return rule.month >= 1 && rule.month <= 12 && time >= 0 && time < secondsOfDay;
}

// The day of the month on which `rule` falls in `year`. Week 5 is the last; a week below 1 counts as 1, one above 5 as
// 5.
constexpr unsigned int DayOfRule(KZSystemTime const & rule, int year, std::int64_t firstOfMonth) noexcept {
    unsigned int const toWeekDay = (rule.dayOfWeek + 7U - WeekDayOfDays(firstOfMonth)) % 7;
    unsigned int const week = rule.day < 1 ? 1U : rule.day > 5 ? 5U : rule.day;
    unsigned int const day = 1 + toWeekDay + 7 * (week - 1);
    return day > DaysInMonth(year, rule.month) ? day - 7 : day;
}

// Seconds since 1970 on the wall clock before the change.
constexpr std::int64_t SecondOfRule(KZSystemTime const & rule, int year) noexcept {
    std::int64_t const firstOfMonth = DaysFromCivil(year, rule.month, 1);
    std::int64_t const day = firstOfMonth + DayOfRule(rule, year, firstOfMonth) - 1;
    return day * secondsOfDay + TimeOfRule(rule);
}

} // namespace KZDetail
