// Collects the periods of daylight saving time in a range of years, and moves dates inside them by an hour.
#include "ZerlithCore/time/KZDSTAdjuster.h"

#include "ZerlithCore/time/detail/CalendarDays.h"
#include "ZerlithCore/time/detail/ZoneRule.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::uint32_t hour = 3600;

int YearOf(KZDateTime const & value) {
    return KZDetail::CivilFromDays(value.AsSeconds() / KZDetail::secondsOfDay).year;
}

// The local time of `time`, or the nearest one that a KZDateTime can hold.
KZDateTime ToDateTime(std::tm const & time) {
    auto const month = static_cast<unsigned int>(time.tm_mon) + 1;
    std::int64_t const days =
        KZDetail::DaysFromCivil(time.tm_year + 1900, month, static_cast<unsigned int>(time.tm_mday));
    std::int64_t const seconds =
        days * KZDetail::secondsOfDay + time.tm_hour * 3600 + time.tm_min * 60 + time.tm_sec;
    return KZDateTime(static_cast<std::uint32_t>(
        std::clamp<std::int64_t>(seconds, 1, std::numeric_limits<std::uint32_t>::max())));
}

} // namespace

KZDSTAdjuster::KZDSTAdjuster(KZDateTime const & from, KZDateTime const & to, KZTimeZone const & zone)
    : zone_(zone), dstObserved_(zone.GetDstObserved()) {
    if (!dstObserved_) return;
    // South of the equator a period lasts into the next year, so the year before the range is included.
    for (int year = YearOf(from) - 1; year <= YearOf(to); ++year) AddPeriod(year);
}

KZDSTAdjuster::KZDSTAdjuster(KZDSTAdjuster const & other) = default;

KZDSTAdjuster & KZDSTAdjuster::operator=(KZDSTAdjuster const & other) = default;

KZDSTAdjuster::~KZDSTAdjuster() = default;

void KZDSTAdjuster::AdjustDate(KZDateTime & value) const {
    if (IsInPeriod(value)) value = KZDateTime(value.AsSeconds() + hour);
}

void KZDSTAdjuster::AdjustBucketDate(KZDateTime & value) const {
    if (value.AsSeconds() <= hour) return;
    KZDateTime const before(value.AsSeconds() - hour);
    if (IsInPeriod(before)) value = before;
}

bool KZDSTAdjuster::ComputeDSTDate(KZSystemTime const & rule, std::tm & time) {
    if (rule.month < 1 || rule.month > 12 || rule.dayOfWeek > 6) return false;
    int const year = time.tm_year + 1900;
    std::int64_t const first = KZDetail::DaysFromCivil(year, rule.month, 1);
    unsigned int const firstHit = 1 + (rule.dayOfWeek + 7U - KZDetail::WeekDayOfDays(first)) % 7;
    unsigned int const hits = (KZDetail::DaysInMonth(year, rule.month) - firstHit) / 7 + 1;
    unsigned int const week = rule.day == 5 ? hits : rule.day;
    if (week > hits) return false;
    unsigned int const day = week < 1 ? 1 : firstHit + 7 * (week - 1);

    // The hour may lead to a later or an earlier day.
    std::int64_t const seconds = (first + day - 1) * KZDetail::secondsOfDay + KZDetail::TimeOfRule(rule);
    std::int64_t const days = KZDetail::FloorDivide(seconds, KZDetail::secondsOfDay);
    auto const inDay = static_cast<int>(seconds - days * KZDetail::secondsOfDay);
    KZDetail::CivilDate const date = KZDetail::CivilFromDays(days);
    time = {};
    time.tm_year = date.year - 1900;
    time.tm_mon = static_cast<int>(date.month) - 1;
    time.tm_mday = static_cast<int>(date.day);
    time.tm_hour = inDay / 3600;
    time.tm_min = inDay / 60 % 60;
    time.tm_sec = inDay % 60;
    time.tm_wday = static_cast<int>(KZDetail::WeekDayOfDays(days));
    time.tm_yday = static_cast<int>(days - KZDetail::DaysFromCivil(date.year, 1, 1));
    return true;
}

// Adds the period of a year, if both rules give a date in it.
void KZDSTAdjuster::AddPeriod(int year) {
    KZTimeZoneInfo const & info = zone_.GetTimeZoneInfo();
    std::tm start{};
    std::tm end{};
    start.tm_year = end.tm_year = year - 1900;
    if (!ComputeDSTDate(info.daylightDate, start) || !ComputeDSTDate(info.standardDate, end)) return;
    if (end.tm_yday < start.tm_yday) {
        end = {};
        end.tm_year = year + 1 - 1900;
        if (!ComputeDSTDate(info.standardDate, end)) return;
    }
    periods_.emplace_back(ToDateTime(start), ToDateTime(end));
}

bool KZDSTAdjuster::IsInPeriod(KZDateTime const & value) const {
    auto const behind = std::ranges::upper_bound(periods_, value, {}, &Period::second);
    return behind != periods_.end() && behind->first <= value;
}
