/// @file
/// The calendar of the system: the printing of dates.
#pragma once

#include "ZerlithCore/platform/Clock.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace KZPlatform {

/// What a zone is at one moment.
struct ZoneMoment {
    std::int32_t localMinusUtc = 0; // seconds
    std::u16string name = u"UTC";   // as the system abbreviates it: "CEST"
};

/// Expands `format`, a template of strftime, in the program's locale. Nothing when the text would have more than
/// `limit` characters.
[[nodiscard]] std::optional<std::u16string> FormatCalendar(CalendarTime const & time, ZoneMoment const & zone,
                                                           std::u16string_view format, std::size_t limit);

} // namespace KZPlatform
