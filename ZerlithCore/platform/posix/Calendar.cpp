// The C library's calendar, by its reentrant and its wide functions: month and day names come out right whatever the
// encoding of the locale is.
#include "ZerlithCore/platform/Calendar.h"

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/encoding/WideText.h"

#include <algorithm>
#include <ctime>
#include <cwchar>

namespace KZPlatform {

namespace {

// `zoneName` must live as long as the result.
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
    // One character in front tells an empty text from one that doesn't fit.
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
