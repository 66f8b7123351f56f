/// @file
/// Time zones: how local time and UTC are told from each other.
///
///     KZTimeZone tokyo;
///     if (tokyo.FromWindowsTimeZoneName(u"Tokyo Standard Time"))
///         KZDateTime const there = tokyo.ConvertFromGMT(moment);
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/time/KZTimeZoneInfo.h"

#include <cstdint>
#include <optional>
#include <vector>

class KZDateTime;

/// A time zone, as a value: its bias, its two yearly changes of clocks, and whether it observes them.
///
/// One rule holds for all years, past and future: that of the year in which the zone was read. Zones come from the
/// system's zoneinfo data, under the well-known names such as "W. Europe Standard Time"; the local zone is that of
/// TZ (a city, a path or a POSIX rule) or of the system's setting, read once.
///
/// A rule has two changes of clocks at most. A year that has more gets the rule that is right at the present moment and
/// for the greatest part of that year. Where a zone gives up its changes, or takes them up, the rule tells that year as
/// it is, with the other change at New Year; the zone that is read in the next year has its last rule.
///
/// A KZDateTime that is told in local time holds the seconds that would be UTC if its clock were UTC's. A local time
/// that a change of clocks leaves out, or has twice, is taken with the offset from before the change. Conversions of
/// null, and results that a KZDateTime can't hold, are null.
///
/// Thread safety: as a plain record; the two built-in zones never change and may be read from any thread.
class KZ_EXPORT KZTimeZone {
public:
    /// The zone of this computer, and UTC. Both live to the end of the process.
    struct PredefinedTimeZones {
        KZTimeZone const * local;
        KZTimeZone const * utc;
    };

    /// UTC.
    KZTimeZone() noexcept;
    /// `observesDst` false means standard time all year round.
    KZTimeZone(KZTimeZoneInfo const & info, bool observesDst) noexcept
        : info_(info), dstObserved_(observesDst) {}

    /// Reads the built-in zones; the second call does nothing. Whoever asks for them first calls it as well.
    ///
    /// Errors: a local zone that can't be read at present, for lack of file handles, say, throws a
    /// KZWindowsLastErrorException, as do the next two; the next call tries again.
    static void Init();
    [[nodiscard]] static PredefinedTimeZones const & GetPredefined();
    [[nodiscard]] static KZTimeZone const & GetLocalTimeZone();
    [[nodiscard]] static KZTimeZone const & GetUTCTimeZone() noexcept;

    /// Becomes the zone of that well-known name. False, without a change, for an unknown name, for damaged zone data,
    /// and for data that can't be read at present.
    bool FromWindowsTimeZoneName(KZString const & name);
    /// Appends all zones of the system that have a well-known name. The first that can't be read ends it with false.
    static bool GetWindowsTimeZones(std::vector<KZTimeZone> & zones);

    // --- What the zone is

    [[nodiscard]] KZString GetStandardName() const { return info_.standardName; }
    [[nodiscard]] KZString GetDayLightName() const { return info_.daylightName; }
    [[nodiscard]] KZString GetDisplayName() const { return info_.displayName; }
    [[nodiscard]] bool GetDstObserved() const noexcept { return dstObserved_; }
    [[nodiscard]] KZTimeZoneInfo const & GetTimeZoneInfo() const noexcept { return info_; }
    [[nodiscard]] static KZString GetStandardName(KZTimeZone const & zone) { return zone.GetStandardName(); }
    [[nodiscard]] static KZString GetDayLightName(KZTimeZone const & zone) { return zone.GetDayLightName(); }
    [[nodiscard]] static KZString GetDisplayName(KZTimeZone const & zone) { return zone.GetDisplayName(); }
    [[nodiscard]] static bool GetDstObserved(KZTimeZone const & zone) noexcept { return zone.dstObserved_; }
    [[nodiscard]] static KZTimeZoneInfo const & GetTimeZoneInfo(KZTimeZone const & zone) noexcept {
        return zone.info_;
    }

    /// Seconds at present, or at `moment` (UTC): local time minus UTC in a zone that observes daylight saving, but the
    /// bias, UTC minus local time, in one that doesn't. Callers rely on the two signs; `GetLocalMinusUTC` has one.
    /// Errors: a null `moment` throws a KZDateException where daylight saving is observed.
    [[nodiscard]] std::int32_t GetOffset() const;
    [[nodiscard]] std::int32_t GetOffset(KZDateTime const & moment) const;
    [[nodiscard]] static std::int32_t GetOffset(KZTimeZone const & zone) { return zone.GetOffset(); }
    [[nodiscard]] static std::int32_t GetOffset(KZTimeZone const & zone, KZDateTime const & moment);

    /// The name at that moment (seconds since 1970 UTC).
    [[nodiscard]] KZString GetName(std::int64_t utc) const;
    /// Local time minus UTC at that moment (seconds since 1970 UTC), in seconds; 7200 in Paris in summer.
    [[nodiscard]] std::int32_t GetLocalMinusUTC(std::int64_t utc) const noexcept;
    /// The moment of a local time, both as seconds since 1970.
    [[nodiscard]] std::int64_t LocalToUTC(std::int64_t local) const noexcept;

    // --- Conversions

    /// From a local time of `from` to the local time of `to` at the same moment.
    [[nodiscard]] static KZDateTime Convert(KZTimeZone const & from, KZTimeZone const & to,
                                            KZDateTime const & value);
    /// Between a local time of `zone` and UTC, or this computer's local time.
    [[nodiscard]] static KZDateTime ConvertToGMT(KZTimeZone const & zone, KZDateTime const & value);
    [[nodiscard]] static KZDateTime ConvertFromGMT(KZTimeZone const & zone, KZDateTime const & value);
    [[nodiscard]] static KZDateTime ConvertToLocal(KZTimeZone const & zone, KZDateTime const & value);
    [[nodiscard]] static KZDateTime ConvertFromLocal(KZTimeZone const & zone, KZDateTime const & value);
    [[nodiscard]] static KZDateTime ConvertFromLocalToGMT(KZDateTime const & value);
    [[nodiscard]] static KZDateTime ConvertFromGMTToLocal(KZDateTime const & value);
    /// From a local time of this zone to another's, and back.
    [[nodiscard]] KZDateTime ConvertTo(KZTimeZone const & zone, KZDateTime const & value) const;
    [[nodiscard]] KZDateTime ConvertFrom(KZTimeZone const & zone, KZDateTime const & value) const;
    [[nodiscard]] KZDateTime ConvertToGMT(KZDateTime const & value) const;
    [[nodiscard]] KZDateTime ConvertFromGMT(KZDateTime const & value) const;
    [[nodiscard]] KZDateTime ConvertToLocal(KZDateTime const & value) const;
    [[nodiscard]] KZDateTime ConvertFromLocal(KZDateTime const & value) const;

    /// The same rule and the same names; the display name doesn't count.
    bool operator==(KZTimeZone const & other) const noexcept = default;
    /// By bias, then by standard name.
    bool operator<(KZTimeZone const & other) const noexcept;

private:
    friend class KZTimeZoneObsolete;

    /// The zone of that name; nothing where the system has none. Errors: throws std::system_error when it can't be read
    /// at present.
    [[nodiscard]] static std::optional<KZTimeZone> Read(KZString const & name);
    [[nodiscard]] std::int32_t StandardOffset() const noexcept;
    [[nodiscard]] std::int32_t DaylightOffset() const noexcept {
        return -60 * (info_.bias + info_.daylightBias);
    }
    /// Whether daylight time holds at `local` (seconds), when it begins `startShift` and ends `endShift` seconds
    /// behind what the rules say.
    [[nodiscard]] bool IsDaylight(std::int64_t local, std::int64_t startShift,
                                  std::int64_t endShift) const noexcept;

    KZTimeZoneInfo info_;
    bool dstObserved_ = false;
};

/// Reads the built-in zones when it is made: a static one has them ready before `main`.
class KZ_EXPORT KZTimeZoneInitialiser {
public:
    KZTimeZoneInitialiser() { KZTimeZone::Init(); }
};
