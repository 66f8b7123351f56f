/// @file
/// The rule of a time zone as a plain record.
///
///     KZTimeZoneInfo info;                                   // a zone without daylight time
///     info.bias = -330;                                      // UTC+05:30
///     std::u16string_view(u"Kolkata").copy(info.standardName, 31);
///     KZTimeZone const kolkata(info, false);
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/time/KZSystemTime.h"

#include <cstdint>

/// A bias from UTC, the two yearly changes of clocks, and the names. Names end in a 0 unit; names that are too long are
/// cut.
///
/// Thread safety: as a plain record.
struct KZ_EXPORT KZTimeZoneInfo {
    std::int32_t bias = 0; ///< minutes, UTC minus local time: -60 in Berlin
    char16_t standardName[32] = {};
    KZSystemTime standardDate;
    std::int32_t standardBias = 0; ///< minutes that standard time adds to `bias`, usually 0
    char16_t daylightName[32] = {};
    KZSystemTime daylightDate;
    std::int32_t daylightBias = 0; ///< minutes that daylight time adds to `bias`, usually -60
    char16_t displayName[64] = {}; ///< "(UTC+01:00) Berlin"

    /// The rules for the beginning of standard and daylight time; their month is 0 where the clocks never change.
    [[nodiscard]] KZSystemTime const & GetStandardDate() const noexcept { return standardDate; }
    [[nodiscard]] KZSystemTime const & GetDaylightDate() const noexcept { return daylightDate; }

    /// Compares everything but the display name.
    bool operator==(KZTimeZoneInfo const & other) const noexcept;
};

static_assert(sizeof(KZTimeZoneInfo) == 300);
