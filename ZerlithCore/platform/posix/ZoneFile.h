// The rule that a zoneinfo file holds for the present year.
#pragma once

#include "ZerlithCore/platform/posix/PosixZone.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace KZPlatform {

/// Reads `bytes`, the content of a zoneinfo file of any version. Nothing when they are damaged.
///
/// The rule is that of the year of `now`, which is in seconds since 1970. Nearly always it is the last line of the
/// file, because that agrees with the file's table in this year. Otherwise it is made from the changes in the table.
/// A rule has two changes a year and two offsets. A year that has more of either gets the rule that is right at `now`
/// and for the longest part of the year.
[[nodiscard]] std::optional<PosixZone> ReadZoneFile(std::string_view bytes, std::int64_t now);

} // namespace KZPlatform
