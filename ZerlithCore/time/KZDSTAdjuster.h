/// @file
/// Daylight periods of a range of dates, computed once, and dates moved by them.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/time/KZDateTime.h"
#include "ZerlithCore/time/KZTimeZone.h"

#include <ctime>
#include <utility>
#include <vector>

/// Moves local dates of a zone between the clock of standard time and the one people read.
///
/// Dates are local: the seconds that would be UTC if the zone's clock were UTC's. A period reaches from the local time
/// at which daylight time begins to the one at which it ends, the end excluded.
///
/// Thread safety: a const object may be used from any thread.
class KZ_EXPORT KZDSTAdjuster {
public:
    using Period = std::pair<KZDateTime, KZDateTime>;

    /// Adjusts nothing: UTC.
    KZDSTAdjuster() = default;
    /// Serves dates from the year of `from` to that of `to`.
    KZDSTAdjuster(KZDateTime const & from, KZDateTime const & to, KZTimeZone const & zone);
    KZDSTAdjuster(KZDSTAdjuster const & other);
    KZDSTAdjuster & operator=(KZDSTAdjuster const & other);
    virtual ~KZDSTAdjuster();

    /// Moves a `value` in standard time that lies in a period forward by an hour; others stay.
    void AdjustDate(KZDateTime & value) const;
    /// The way back, for the bounds of time slices: moves what `AdjustDate` has moved back by an hour.
    void AdjustBucketDate(KZDateTime & value) const;

    [[nodiscard]] KZTimeZone const & tz() const noexcept { return zone_; }

protected:
    /// Computes the day and time of `rule` in the year that `time` names, and sets all fields of `time`. False for
    /// a rule of no month, or of a weekday that the month doesn't have so often. A week below 1 is the month's first day.
    static bool ComputeDSTDate(KZSystemTime const & rule, std::tm & time);

private:
    void AddPeriod(int year);
    [[nodiscard]] bool IsInPeriod(KZDateTime const & value) const;

    KZTimeZone zone_;
    bool dstObserved_ = false;
    std::vector<Period> periods_; // by time
};
