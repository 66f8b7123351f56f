/// @file
/// Time zones: conversions between UTC and the local times of the world.
///
///     KZTimeZone tokyo;
///     if (!tokyo.FromWindowsTimeZoneName(u"Tokyo Standard Time")) return;
///     KZDateTime const there = tokyo.ConvertFromGMT(KZDateTime(1700000000));        // nine hours later
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/time/KZTimeZoneInfo.h"

#include <array>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <vector>

class KZDateTime;

/// A time zone: its bias, its two yearly changes of clocks, and whether it observes them.
///
/// One rule holds for all years, past and future: that of the year in which the zone was read. Zones are read from the
/// system's zoneinfo data, by well-known names such as "W. Europe Standard Time"; the local zone is read once, from
/// TZ (a city, a path or a POSIX rule) or from the system's setting.
///
/// A rule has two changes of clocks at most. For a year that has more, the rule is chosen that is right at the present
/// moment and for the greatest part of that year. In a year in which a zone stops changing its clocks, or starts to,
/// the rule has the one real change and another one at New Year; a zone that is read in the next year has the rule of
/// that year.
///
/// A KZDateTime with a local time holds the seconds since 1970 that its fields would have in UTC. A local time that a
/// change of clocks skips or repeats is converted with the offset from before the change. Conversions of null, and
/// results that a KZDateTime can't hold, are null.
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
    constexpr KZTimeZone() noexcept {
        for (char16_t * const name : {info_.standardName, info_.daylightName})
            std::u16string_view(u"UTC").copy(name, 3);
    }
    /// `observesDst` false means standard time all year round.
    KZTimeZone(KZTimeZoneInfo const & info, bool observesDst) noexcept;

    /// Reads the local zone; a second call does nothing. Programs needn't call it: the next two functions read the
    /// zone, too, if it hasn't been read.
    ///
    /// Errors: these three functions throw KZWindowsLastErrorException when the local zone can't be read at present,
    /// for instance for lack of file handles; the next call tries again.
    static void Init();
    [[nodiscard]] static PredefinedTimeZones const & GetPredefined();
    [[nodiscard]] static KZTimeZone const & GetLocalTimeZone();
    [[nodiscard]] static KZTimeZone const & GetUTCTimeZone() noexcept { return utcZone; }

    /// Becomes the zone with that well-known name. Returns false, and changes nothing, for an unknown name, for damaged
    /// zone data, and for data that can't be read at present.
    bool FromWindowsTimeZoneName(KZString const & name);
    /// Appends all zones of the system that have a well-known name. Stops at the first that can't be read, and returns
    /// false.
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

    /// The offset in seconds, at present or at `moment` (UTC). In a zone that observes daylight saving it is local time
    /// minus UTC, in any other UTC minus local time. Callers rely on the two signs; `GetLocalMinusUTC` always has the
    /// first one. Errors: throws KZDateException for a null `moment` in a zone that observes daylight saving.
    [[nodiscard]] std::int32_t GetOffset() const;
    [[nodiscard]] std::int32_t GetOffset(KZDateTime const & moment) const;
    [[nodiscard]] static std::int32_t GetOffset(KZTimeZone const & zone) { return zone.GetOffset(); }
    [[nodiscard]] static std::int32_t GetOffset(KZTimeZone const & zone, KZDateTime const & moment);

    /// The name of standard or of daylight time, whichever holds at `utc` (seconds since 1970 UTC).
    [[nodiscard]] KZString GetName(std::int64_t utc) const;
    /// Local time minus UTC in seconds at `utc` (seconds since 1970 UTC); 7200 in Paris in summer.
    [[nodiscard]] std::int32_t GetLocalMinusUTC(std::int64_t utc) const noexcept;
    /// The moment of a local time; both are seconds since 1970.
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

    /// True for the same rule and the same names; the display name isn't compared.
    bool operator==(KZTimeZone const & other) const noexcept = default;
    /// Compares by bias, then by standard name.
    bool operator<(KZTimeZone const & other) const noexcept;

private:
    friend class KZTimeZoneObsolete;
    friend class KZDateTimeEx;

    static KZTimeZone const utcZone;

    /// The zone with that name; std::nullopt if the system has none. Errors: throws std::system_error when it can't be
    /// read at present.
    [[nodiscard]] static std::optional<KZTimeZone> Read(KZString const & name);
    /// Whether local time is UTC in all years.
    [[nodiscard]] bool IsAlwaysUTC() const noexcept { return !dstObserved_ && info_.bias == 0; }
    [[nodiscard]] std::int32_t StandardOffset() const noexcept;
    [[nodiscard]] std::int32_t DaylightOffset() const noexcept {
        return -60 * (info_.bias + info_.daylightBias);
    }
    static constexpr std::int32_t unknownOffset = INT32_MIN;
    [[nodiscard]] std::int32_t ComputeOffsetOfMonth(unsigned int month) const noexcept;
    /// The same answer as `IsDaylight` for all moments of a month; std::nullopt if a change may fall into it.
    [[nodiscard]] std::optional<bool> IsDaylightMonth(unsigned int month, std::int64_t startShift,
                                                      std::int64_t endShift) const noexcept;
    /// Whether daylight time holds at `local` (seconds), if it begins `startShift` and ends `endShift` seconds later
    /// than the rules say.
    [[nodiscard]] bool IsDaylight(std::int64_t local, std::int64_t startShift,
                                  std::int64_t endShift) const noexcept;

    KZTimeZoneInfo info_;
    bool dstObserved_ = false;
    /// What `GetLocalMinusUTC` returns on the days of a month that aren't next to another month; `unknownOffset` if the
    /// month doesn't tell. Any number of four bits counts as a month.
    std::array<std::int32_t, 16> offsetOfMonth_{};
};

/// Its constructor reads the local zone: a static object does so before `main`.
///
/// Thread safety: objects may be made in any thread.
class KZ_EXPORT KZTimeZoneInitialiser {
public:
    KZTimeZoneInitialiser() { KZTimeZone::Init(); }
};

/// Of what `==` compares.
template <>
struct KZ_EXPORT std::hash<KZTimeZone> {
    std::size_t operator()(KZTimeZone const & zone) const noexcept;
};
