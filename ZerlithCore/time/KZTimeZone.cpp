// The offset at a moment, and that at a local time, both depend on one question: do the clocks show daylight time?
// `IsDaylight` computes the answer from the two rules, without a table. In a month without a change the months alone
// answer it.
#include "ZerlithCore/time/KZTimeZone.h"

#include "ZerlithCore/platform/Clock.h"
#include "ZerlithCore/platform/ZoneStore.h"
#include "ZerlithCore/time/KZDateException.h"
#include "ZerlithCore/time/detail/AskZoneStore.h"
#include "ZerlithCore/time/detail/CalendarDays.h"
#include "ZerlithCore/time/detail/ZoneRule.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>
#include <system_error>
#include <type_traits>

// The built-in zones are never destroyed: destructors of static objects may still print the time.
static_assert(std::is_trivially_destructible_v<KZTimeZone>);

namespace {

constexpr std::u16string_view zonesPath = u"Software\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones";
constexpr std::u16string_view settingPath = u"System\\CurrentControlSet\\Control\\TimeZoneInformation";

// Later than every calendar value, and small enough for arithmetic that can't overflow.
constexpr std::int64_t farthestSecond = std::int64_t{1} << 50;

// South of the equator daylight time begins late in a year and ends early in the next.
constexpr bool LiesInPeriod(std::int64_t at, std::int64_t start, std::int64_t end) {
    return start < end ? start <= at && at < end : at < end || start <= at;
}

template <std::size_t Size>
void Store(char16_t (&target)[Size], std::u16string_view text) {
    std::size_t const length = std::min(text.size(), Size - 1);
    std::fill(std::copy_n(text.begin(), length, target), std::end(target), u'\0');
}

template <class T>
T TakeBytes(std::string_view & bytes) {
    T value;
    std::memcpy(&value, bytes.data(), sizeof value);
    bytes.remove_prefix(sizeof value);
    return value;
}

// Reads a rule as the zone store keeps it: three biases and two dates, 44 bytes.
bool ReadRule(std::string_view bytes, KZTimeZoneInfo & info) {
    if (bytes.size() != 44) return false;
    info.bias = TakeBytes<std::int32_t>(bytes);
    info.standardBias = TakeBytes<std::int32_t>(bytes);
    info.daylightBias = TakeBytes<std::int32_t>(bytes);
    info.standardDate = TakeBytes<KZSystemTime>(bytes);
    info.daylightDate = TakeBytes<KZSystemTime>(bytes);
    constexpr std::int32_t longestBias = 7 * 24 * 60;
    for (std::int32_t const bias : {info.bias, info.standardBias, info.daylightBias})
        if (bias < -longestBias || bias > longestBias) return false;
    if (info.daylightDate.month == 0) info.standardBias = info.daylightBias = 0;
    return true;
}

bool ReadKey(KZPlatform::ZoneKey const & key, KZTimeZoneInfo & info) {
    auto const standard = key.Text(u"Std");
    auto const daylightName = key.Text(u"Dlt");
    auto const display = key.Text(u"Display");
    auto const rule = key.Bytes(u"TZI");
    if (!standard || !daylightName || !display || !rule || !ReadRule(*rule, info)) return false;
    Store(info.standardName, *standard);
    Store(info.daylightName, *daylightName);
    Store(info.displayName, *display);
    return true;
}

// Whether this machine observes daylight saving: false only if the setting exists and is 1.
bool DSTObservanceEnabled() {
    auto const key = KZPlatform::OpenZoneKey(settingPath);
    return !key || key->Number(u"DisableAutoDaylightTimeSet").value_or(0) != 1;
}

KZTimeZone ReadLocalZone() {
    KZTimeZoneInfo info;
    if (!ReadKey(KZPlatform::LocalZoneKey(), info)) return {};
    return {info, info.standardDate.month != 0 && DSTObservanceEnabled()};
}

// Reads the zone once; if that throws, the next call tries again.
KZTimeZone const & LocalZone() {
    static KZTimeZone const zone = ReadLocalZone();
    return zone;
}

KZDateTime ToDateTime(std::int64_t seconds) {
    bool const fits = seconds > 0 && seconds <= std::numeric_limits<std::uint32_t>::max();
    return fits ? KZDateTime(static_cast<std::uint32_t>(seconds)) : KZDateTime();
}

} // namespace

bool KZTimeZoneInfo::operator==(KZTimeZoneInfo const & other) const noexcept {
    return bias == other.bias && standardBias == other.standardBias && daylightBias == other.daylightBias &&
           standardDate == other.standardDate && daylightDate == other.daylightDate &&
           std::u16string_view(standardName) == other.standardName &&
           std::u16string_view(daylightName) == other.daylightName;
}

std::size_t std::hash<KZTimeZone>::operator()(KZTimeZone const & zone) const noexcept {
    // Zones that share a name rarely differ otherwise.
    KZTimeZoneInfo const & info = zone.GetTimeZoneInfo();
    return std::hash<std::u16string_view>()(info.standardName) ^ std::hash<std::int32_t>()(info.bias) << 1;
}

constinit KZTimeZone const KZTimeZone::utcZone;

void KZTimeZone::Init() { static_cast<void>(GetPredefined()); }

KZTimeZone::KZTimeZone(KZTimeZoneInfo const & info, bool observesDst) noexcept
    : info_(info), dstObserved_(observesDst) {
    for (unsigned int month = 0; month < offsetOfMonth_.size(); ++month)
        offsetOfMonth_[month] = ComputeOffsetOfMonth(month);
}

KZTimeZone::PredefinedTimeZones const & KZTimeZone::GetPredefined() {
    static PredefinedTimeZones const zones{&GetLocalTimeZone(), &GetUTCTimeZone()};
    return zones;
}

KZTimeZone const & KZTimeZone::GetLocalTimeZone() { return KZDetail::AskZoneStore(LocalZone); }

std::optional<KZTimeZone> KZTimeZone::Read(KZString const & name) {
    if (name.IsNull()) return std::nullopt;
    std::u16string path(zonesPath);
    path.append(1, u'\\').append(name.c_str());
    auto const key = KZPlatform::OpenZoneKey(path);
    KZTimeZoneInfo info;
    if (!key || !ReadKey(*key, info)) return std::nullopt;
    bool observed = info.daylightDate.month != 0;
    if (observed && std::u16string_view(LocalZone().info_.standardName) == info.standardName)
        observed = DSTObservanceEnabled();
    return KZTimeZone(info, observed);
}

bool KZTimeZone::FromWindowsTimeZoneName(KZString const & name) {
    try {
        auto const zone = Read(name);
        if (zone) *this = *zone;
        return zone.has_value();
    } catch (std::system_error const &) {
        return false;
    }
}

bool KZTimeZone::GetWindowsTimeZones(std::vector<KZTimeZone> & zones) {
    for (std::u16string const & name : KZPlatform::ListZoneKeys(zonesPath)) {
        KZTimeZone zone;
        if (!zone.FromWindowsTimeZoneName(KZString(name))) return false;
        zones.push_back(zone);
    }
    return true;
}

std::int32_t KZTimeZone::GetOffset() const {
    return dstObserved_ ? GetLocalMinusUTC(KZPlatform::WallClockMilliseconds() / 1000) : info_.bias * 60;
}

std::int32_t KZTimeZone::GetOffset(KZDateTime const & moment) const {
    if (!dstObserved_) return info_.bias * 60;
    if (moment.IsNull()) throw KZDateException(moment);
    return GetLocalMinusUTC(moment.AsSeconds());
}

std::int32_t KZTimeZone::GetOffset(KZTimeZone const & zone, KZDateTime const & moment) {
    return zone.GetOffset(moment);
}

KZString KZTimeZone::GetName(std::int64_t utc) const {
    bool const isDaylight = dstObserved_ && GetLocalMinusUTC(utc) == DaylightOffset();
    return isDaylight ? info_.daylightName : info_.standardName;
}

// A rule gives the wall-clock time just before the change. Here both changes are compared in standard time, in which
// the end of daylight time is earlier: where it is an hour ahead, and ends at 03:00 of its clock, that is 02:00 in
// standard time.
std::int32_t KZTimeZone::GetLocalMinusUTC(std::int64_t utc) const noexcept {
    std::int32_t const standard = StandardOffset();
    if (!dstObserved_ || utc < -farthestSecond || utc > farthestSecond) return standard;
    std::int32_t const inSummer = DaylightOffset();
    return IsDaylight(utc + standard, 0, standard - inSummer) ? inSummer : standard;
}

// A local time that is skipped or repeated belongs to the clock before the change. When clocks go from 02:00 to 03:00,
// the times in between are standard time; when they go back from 03:00 to 02:00, the times in between are daylight
// time.
std::int64_t KZTimeZone::LocalToUTC(std::int64_t local) const noexcept {
    std::int32_t const standard = StandardOffset();
    if (!dstObserved_ || local < -farthestSecond || local > farthestSecond) return local - standard;
    std::int32_t const inSummer = DaylightOffset();
    std::int32_t const ahead = inSummer - standard;
    return local - (IsDaylight(local, std::max(ahead, 0), std::max(-ahead, 0)) ? inSummer : standard);
}

KZDateTime KZTimeZone::Convert(KZTimeZone const & from, KZTimeZone const & to, KZDateTime const & value) {
    return to.ConvertFromGMT(from.ConvertToGMT(value));
}

KZDateTime KZTimeZone::ConvertToGMT(KZTimeZone const & zone, KZDateTime const & value) {
    return zone.ConvertToGMT(value);
}

KZDateTime KZTimeZone::ConvertFromGMT(KZTimeZone const & zone, KZDateTime const & value) {
    return zone.ConvertFromGMT(value);
}

KZDateTime KZTimeZone::ConvertToLocal(KZTimeZone const & zone, KZDateTime const & value) {
    return Convert(zone, GetLocalTimeZone(), value);
}

KZDateTime KZTimeZone::ConvertFromLocal(KZTimeZone const & zone, KZDateTime const & value) {
    return Convert(GetLocalTimeZone(), zone, value);
}

KZDateTime KZTimeZone::ConvertFromLocalToGMT(KZDateTime const & value) {
    return GetLocalTimeZone().ConvertToGMT(value);
}

KZDateTime KZTimeZone::ConvertFromGMTToLocal(KZDateTime const & value) {
    return GetLocalTimeZone().ConvertFromGMT(value);
}

KZDateTime KZTimeZone::ConvertTo(KZTimeZone const & zone, KZDateTime const & value) const {
    return Convert(*this, zone, value);
}

KZDateTime KZTimeZone::ConvertFrom(KZTimeZone const & zone, KZDateTime const & value) const {
    return Convert(zone, *this, value);
}

KZDateTime KZTimeZone::ConvertToGMT(KZDateTime const & value) const {
    return value.IsNull() ? value : ToDateTime(LocalToUTC(value.AsSeconds()));
}

KZDateTime KZTimeZone::ConvertFromGMT(KZDateTime const & value) const {
    std::int64_t const utc = value.AsSeconds();
    return value.IsNull() ? value : ToDateTime(utc + GetLocalMinusUTC(utc));
}

KZDateTime KZTimeZone::ConvertToLocal(KZDateTime const & value) const { return ConvertToLocal(*this, value); }

KZDateTime KZTimeZone::ConvertFromLocal(KZDateTime const & value) const {
    return ConvertFromLocal(*this, value);
}

bool KZTimeZone::operator<(KZTimeZone const & other) const noexcept {
    if (info_.bias != other.info_.bias) return info_.bias < other.info_.bias;
    return std::u16string_view(info_.standardName) < other.info_.standardName;
}

// In a zone that doesn't observe daylight saving the bias alone counts, not the one of standard time.
std::int32_t KZTimeZone::StandardOffset() const noexcept {
    return -60 * (dstObserved_ ? info_.bias + info_.standardBias : info_.bias);
}

std::int32_t KZTimeZone::ComputeOffsetOfMonth(unsigned int month) const noexcept {
    std::int32_t const standard = StandardOffset();
    if (!dstObserved_) return standard;
    bool const isBelowDay = standard > -KZDetail::secondsOfDay && standard < KZDetail::secondsOfDay;
    if (!isBelowDay || month < 1 || month > 12) return unknownOffset;
    std::int32_t const inSummer = DaylightOffset();
    std::optional<bool> const isDaylight = IsDaylightMonth(month, 0, standard - inSummer);
    return !isDaylight ? unknownOffset : *isDaylight ? inSummer : standard;
}

std::optional<bool> KZTimeZone::IsDaylightMonth(unsigned int month, std::int64_t startShift,
                                                std::int64_t endShift) const noexcept {
    unsigned int const start = info_.daylightDate.month;
    unsigned int const end = info_.standardDate.month;
    bool const isChangeNear = start == month || end == month || start == end ||
                              !KZDetail::StaysInMonth(info_.daylightDate, startShift) ||
                              !KZDetail::StaysInMonth(info_.standardDate, endShift);
    if (isChangeNear) return std::nullopt;
    return LiesInPeriod(month, start, end);
}

bool KZTimeZone::IsDaylight(std::int64_t local, std::int64_t startShift,
                            std::int64_t endShift) const noexcept {
    using namespace KZDetail;
    CivilDate const date = CivilFromDays(FloorDivide(local, secondsOfDay));
    if (auto const isDaylight = IsDaylightMonth(date.month, startShift, endShift)) return *isDaylight;
    return LiesInPeriod(local, SecondOfRule(info_.daylightDate, date.year) + startShift,
                        SecondOfRule(info_.standardDate, date.year) + endShift);
}
