/// @file
/// Time zones: how local time and UTC are told from each other.
#pragma once

#include "ZerlithCore/platform/Export.h"
#include "ZerlithCore/text/KZString.h"

#include <cstdint>

/// A time zone, as a value: UTC, or the zone of this computer.
///
/// Thread safety: zones may be read from any thread; the two built-in ones never change.
class KZ_EXPORT KZTimeZone {
public:
    /// UTC.
    KZTimeZone() noexcept = default;

    /// The zone of this computer, and UTC; made at the first question.
    [[nodiscard]] static KZTimeZone const & GetLocalTimeZone();
    [[nodiscard]] static KZTimeZone const & GetUTCTimeZone();

    /// The name at that moment (seconds since 1970 UTC), as the system abbreviates it: "CEST", "UTC".
    [[nodiscard]] KZString GetName(std::int64_t utc) const;
    /// Local time minus UTC at that moment (seconds since 1970 UTC), in seconds; 7200 in Paris in summer.
    [[nodiscard]] std::int32_t GetLocalMinusUTC(std::int64_t utc) const;
    /// The moment of a local time, both as seconds since 1970. A time that a change of clocks leaves out, or has
    /// twice, is taken with the offset from before the change.
    [[nodiscard]] std::int64_t LocalToUTC(std::int64_t local) const;

    bool operator==(KZTimeZone const &) const noexcept = default;

private:
    explicit KZTimeZone(bool local) noexcept : local_(local) {}

    bool local_ = false;
};
