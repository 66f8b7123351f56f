/// @file
/// The calendar of the system: the printing of dates.
#pragma once

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

/// A date and time of day of the Gregorian calendar.
struct CalendarTime {
    int year = 1970;
    int month = 1; // from 1
    int day = 1;   // from 1
    int hour = 0;
    int minute = 0;
    int second = 0;
    int weekDay = 4; // Sunday is 0
    int yearDay = 1; // from 1
};

/// Expands `format`, a template of strftime, in the program's locale. Nothing when the text would have more than
/// `limit` characters.
[[nodiscard]] std::optional<std::u16string> FormatCalendar(CalendarTime const & time, ZoneMoment const & zone,
                                                           std::u16string_view format, std::size_t limit);

} // namespace KZPlatform
