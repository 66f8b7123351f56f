#include "ZerlithCore/time/KZTimeZone.h"

#include "ZerlithCore/platform/Calendar.h"

KZTimeZone const & KZTimeZone::GetLocalTimeZone() {
    static KZTimeZone const zone(true);
    return zone;
}

KZTimeZone const & KZTimeZone::GetUTCTimeZone() {
    static KZTimeZone const zone;
    return zone;
}

KZString KZTimeZone::GetName(std::int64_t utc) const {
    return local_ ? KZString(KZPlatform::LocalZoneAt(utc).name) : KZString(u"UTC");
}

std::int32_t KZTimeZone::GetLocalMinusUTC(std::int64_t utc) const {
    return local_ ? KZPlatform::LocalZoneAt(utc).localMinusUtc : 0;
}

// Looks a day to either side: with one offset there it is the answer. Otherwise a change lies between, and only a
// time that is surely behind it takes the new offset.
std::int64_t KZTimeZone::LocalToUTC(std::int64_t local) const {
    constexpr std::int64_t day = 86400;
    std::int64_t const before = local - GetLocalMinusUTC(local - day);
    std::int64_t const after = local - GetLocalMinusUTC(local + day);
    if (before == after) return before;
    bool const isBefore = before + GetLocalMinusUTC(before) == local;
    bool const isAfter = after + GetLocalMinusUTC(after) == local;
    return isAfter && !isBefore ? after : before;
}
