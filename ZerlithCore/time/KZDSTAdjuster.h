/// @file
/// Moves many local dates between standard and daylight time; the daylight periods are computed once.
///
///     KZTimeZone berlin;
///     if (!berlin.FromWindowsTimeZoneName(u"W. Europe Standard Time")) return;
///     KZDateTime first(1704067200), last(1719792000);        // the first half of 2024
///     KZDSTAdjuster const adjuster(first, last, berlin);
///     adjuster.AdjustDate(first);                            // unchanged: winter
///     adjuster.AdjustDate(last);                             // an hour later: summer
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/time/KZDateTime.h"
#include "ZerlithCore/time/KZTimeZone.h"

#include <ctime>
#include <utility>
#include <vector>

/// Moves local dates of a zone from standard time to daylight time, where that holds, and back.
///
/// A local date holds the seconds since 1970 that its fields would have in UTC. A period of daylight time lasts from
/// the local time at which it begins to the local time at which it ends, without the end itself.
///
/// Thread safety: a const object may be used from any thread.
class KZ_EXPORT KZDSTAdjuster {
public:
    using Period = std::pair<KZDateTime, KZDateTime>;

    /// An adjuster for UTC, which changes no date.
    KZDSTAdjuster() = default;
    /// An adjuster for dates from the year of `from` to the year of `to`. Errors: std::bad_alloc.
    KZDSTAdjuster(KZDateTime const & from, KZDateTime const & to, KZTimeZone const & zone);
    KZDSTAdjuster(KZDSTAdjuster const & other);
    KZDSTAdjuster & operator=(KZDSTAdjuster const & other);
    virtual ~KZDSTAdjuster();

    /// Takes `value` as standard time and adds an hour if it lies in a period of daylight time; otherwise changes
    /// nothing.
    void AdjustDate(KZDateTime & value) const;
    /// Undoes `AdjustDate`, for the bounds of time slices: subtracts an hour if the result lies in a period of daylight
    /// time.
    void AdjustBucketDate(KZDateTime & value) const;

    [[nodiscard]] KZTimeZone const & tz() const noexcept { return zone_; }

protected:
    /// Computes the day and time of `rule` in the year of `time`, and sets all fields of `time`. Returns false if the
    /// rule has no month, or asks for a fifth weekday, say, of a month that has four. A week below 1 is the month's
    /// first day.
    static bool ComputeDSTDate(KZSystemTime const & rule, std::tm & time);

private:
    void AddPeriod(int year);
    [[nodiscard]] bool IsInPeriod(KZDateTime const & value) const;

    KZTimeZone zone_;
    bool dstObserved_ = false;
    std::vector<Period> periods_; // in order of time
};
