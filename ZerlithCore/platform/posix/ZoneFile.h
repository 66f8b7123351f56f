// The rule that a zoneinfo file holds for the present year.
#pragma once

#include "ZerlithCore/platform/posix/PosixZone.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace KZPlatform {

/// Reads `bytes`, the content of a zoneinfo file of any version. Nothing when they are damaged.
///
/// The rule tells the year of `now`, which is in seconds since 1970. It is the last line of the file, where that tells
/// the same changes in that year as the table of the file does, which is so for nearly all zones. Elsewhere the rule is
/// made from the changes in the table. It has two changes a year and two offsets; a year that has more of either gets
/// the rule that is right at `now` and for the greatest part of the year.
[[nodiscard]] std::optional<PosixZone> ReadZoneFile(std::string_view bytes, std::int64_t now);

} // namespace KZPlatform
