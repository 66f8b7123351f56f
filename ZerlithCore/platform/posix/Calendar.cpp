// Uses the wide functions of the C library, so that month and day names are right whatever the encoding of the locale
// is.
#include "ZerlithCore/platform/Calendar.h"

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/encoding/WideText.h"

#include <algorithm>
#include <ctime>
#include <cwchar>

namespace KZPlatform {

namespace {

// The result points into `zoneName`, which must live as long.
std::tm AsTm(CalendarTime const & time, ZoneMoment const & zone, std::string const & zoneName) noexcept {
    std::tm fields{};
    fields.tm_year = time.year - 1900;
    fields.tm_mon = time.month - 1;
    fields.tm_mday = time.day;
    fields.tm_hour = time.hour;
    fields.tm_min = time.minute;
    fields.tm_sec = time.second;
    fields.tm_wday = time.weekDay;
    fields.tm_yday = time.yearDay - 1;
    fields.tm_gmtoff = zone.localMinusUtc;
    fields.tm_zone = zoneName.c_str();
    return fields;
}

} // namespace

std::optional<std::u16string> FormatCalendar(CalendarTime const & time, ZoneMoment const & zone,
                                             std::u16string_view format, std::size_t limit) {
    std::string const zoneName = KZEncoding::UnitsToUtf8(zone.name, KZEncoding::Utf8Mode::Replace);
    std::tm const fields = AsTm(time, zone, zoneName);
    // wcsftime returns 0 for an empty text and for one that doesn't fit. With one more character at the start, only
    // the second can happen; the character is dropped again below.
    std::wstring const wideFormat = L'.' + KZEncoding::ToWide(format);
    std::size_t const most = limit + 2;
    for (std::wstring buffer(std::min<std::size_t>(128, most), L'\0');;
         buffer.resize(std::min(buffer.size() * 4, most))) {
        std::size_t const length = std::wcsftime(buffer.data(), buffer.size(), wideFormat.c_str(), &fields);
        if (length != 0) return KZEncoding::FromWide(std::wstring_view(buffer).substr(1, length - 1));
        if (buffer.size() == most) return std::nullopt;
    }
}

} // namespace KZPlatform
