/// @file
/// Prints dates with the month names, day names and formats of the program's locale.
///
///     std::optional<std::u16string> const text = KZPlatform::FormatCalendar({}, {}, u"%A, %d %B %Y", 100);
///     // "Thursday, 01 January 1970" in the C locale
#pragma once

#include "ZerlithCore/platform/Clock.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace KZPlatform {

/// The offset and the name of a time zone at one moment.
struct ZoneMoment {
    std::int32_t localMinusUtc = 0; // seconds
    std::u16string name = u"UTC";   // the system's abbreviation, such as "CEST"
};

/// Returns `format`, a template of strftime, with the fields of `time` and `zone` put in, in the program's locale.
/// Returns nothing when the text would have more than `limit` characters; the text is never cut. Every year of an
/// `int` can be printed.
///
/// Requires: `time` is a valid date.
///
/// Thread safety: callable from any thread.
[[nodiscard]] std::optional<std::u16string> FormatCalendar(CalendarTime const & time, ZoneMoment const & zone,
                                                           std::u16string_view format, std::size_t limit);

} // namespace KZPlatform
