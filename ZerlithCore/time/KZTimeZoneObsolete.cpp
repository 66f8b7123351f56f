// The numbers that older programs use for zones, each with the name of its zone.
#include "ZerlithCore/time/KZTimeZoneObsolete.h"

#include "ZerlithCore/time/detail/AskZoneStore.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace {

constexpr std::ptrdiff_t noRow = 22;

constexpr char16_t const * rowNames[] = {
    u"New Zealand Standard Time",
    u"Fiji Standard Time",
    u"Central Pacific Standard Time",
    u"West Pacific Standard Time",
    u"Vladivostok Standard Time",
    u"Tasmania Standard Time",
    u"E. Australia Standard Time",
    u"AUS Eastern Standard Time",
    u"AUS Central Standard Time",
    u"Cen. Australia Standard Time",
    u"Yakutsk Standard Time",
    u"Tokyo Standard Time",
    u"Korea Standard Time",
    u"W. Australia Standard Time",
    u"Taipei Standard Time",
    u"Singapore Standard Time",
    u"China Standard Time",
    u"SE Asia Standard Time",
    u"Sri Lanka Standard Time",
    u"Central Asia Standard Time",
    u"India Standard Time",
    u"West Asia Standard Time",
    u"Ekaterinburg Standard Time",
    u"Afghanistan Standard Time",
    u"Caucasus Standard Time",
    u"Arabian Standard Time",
    u"Iran Standard Time",
    u"Russian Standard Time",
    u"E. Africa Standard Time",
    u"Arab Standard Time",
    u"South Africa Standard Time",
    u"Israel Standard Time",
    u"GTB Standard Time",
    u"FLE Standard Time",
    u"Egypt Standard Time",
    u"E. Europe Standard Time",
    u"W. Europe Standard Time",
    u"Romance Standard Time",
    u"Central European Standard Time",
    u"Central Europe Standard Time",
    u"Greenwich Standard Time",
    u"GMT Standard Time",
    u"Azores Standard Time",
    u"Mid-Atlantic Standard Time",
    u"SA Eastern Standard Time",
    u"E. South America Standard Time",
    u"Newfoundland Standard Time",
    u"SA Western Standard Time",
    u"Atlantic Standard Time",
    u"US Eastern Standard Time",
    u"SA Pacific Standard Time",
    u"Eastern Standard Time",
    u"Mexico Standard Time",
    u"Central Standard Time",
    u"Canada Central Standard Time",
    u"US Mountain Standard Time",
    u"Mountain Standard Time",
    u"Pacific Standard Time",
    u"Alaskan Standard Time",
    u"Hawaiian Standard Time",
    u"Samoa Standard Time",
    u"Dateline Standard Time",
};
static_assert(std::size(rowNames) == KZTimeZoneObsolete::Dateline + 1);

bool IsSameChange(KZSystemTime const & a, KZSystemTime const & b) {
    return a.month == b.month && a.dayOfWeek == b.dayOfWeek && a.day == b.day && a.hour == b.hour;
}

bool IsSameRule(KZTimeZone const & a, KZTimeZone const & b) {
    KZTimeZoneInfo const & ofA = a.GetTimeZoneInfo();
    KZTimeZoneInfo const & ofB = b.GetTimeZoneInfo();
    if (ofA.bias != ofB.bias || a.GetDstObserved() != b.GetDstObserved()) return false;
    return !a.GetDstObserved() || (IsSameChange(ofA.standardDate, ofB.standardDate) &&
                                   IsSameChange(ofA.daylightDate, ofB.daylightDate));
}

} // namespace

KZTimeZoneObsolete::TimeZoneType KZTimeZoneObsolete::GetType(KZTimeZone const & zone) {
    std::u16string_view const name(zone.GetTimeZoneInfo().standardName);
    auto const * const named = std::ranges::find(rowNames, name);
    if (named != std::end(rowNames)) return static_cast<TimeZoneType>(named - rowNames);

    using Rows = std::array<std::optional<KZTimeZone>, std::size(rowNames)>;
    static Rows const rows = KZDetail::AskZoneStore([] {
        Rows read; // a zone that the system doesn't have stays empty
        std::ranges::transform(rowNames, read.begin(), KZTimeZone::Read);
        return read;
    });
    auto const * const same =
        std::ranges::find_if(rows, [&zone](auto const & row) { return row && IsSameRule(zone, *row); });
    return static_cast<TimeZoneType>(same == rows.end() ? noRow : same - rows.begin());
}
