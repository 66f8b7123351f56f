// Makes the key of a zone from its zoneinfo file when it is asked for. A key holds the rule of the present year only.
// The names of zones and their cities are a generated table.
#include "ZerlithCore/platform/ZoneStore.h"

#include "ZerlithCore/platform/Clock.h"
#include "ZerlithCore/platform/FileHandle.h"
#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/posix/Path.h"
#include "ZerlithCore/platform/posix/PosixZone.h"
#include "ZerlithCore/platform/posix/ZoneFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <limits.h>
#include <mutex>
#include <system_error>
#include <unistd.h>

namespace KZPlatform {
namespace {

struct ZoneName {
    std::string_view name;
    std::string_view cities; // separated by blanks; the rule is that of the first one
};

constexpr ZoneName zoneNames[] = {
#include "ZerlithCore/platform/posix/generated/ZoneNames.inl"
};

constexpr std::u16string_view zonesPath = u"software\\microsoft\\windows nt\\currentversion\\time zones";
constexpr std::size_t longestFile = 1 << 20;

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
char16_t Lower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c; }

std::u16string Lowered(std::u16string_view text) {
    std::u16string result(text);
    std::ranges::transform(result, result.begin(), [](char16_t c) { return Lower(c); });
    return result;
}

// Names of zones and their abbreviations are ASCII. Anything else in a rule's angle brackets becomes "?".
std::u16string Widen(std::string_view text) {
    std::u16string result;
    for (char const c : text)
        result += static_cast<unsigned char>(c) < 0x80 ? static_cast<char16_t>(c) : u'?';
    return result;
}

// --- Zoneinfo files

// Throws for an error that comes from the state of the machine and not from the file: the same call may succeed
// later.
void ThrowIfPassing(int error, std::string const & path) {
    if (error != EMFILE && error != ENFILE && error != ENOMEM && error != EIO) return;
    SetLastErrorNumber(error);
    throw std::system_error(error, std::generic_category(), path);
}

// Nothing when the file doesn't exist or can't be read.
std::optional<std::string> ReadBytes(std::string const & path) {
    FileHandle file;
    std::string bytes;
    if (file.Open(PathUnits(path), FileAccess::Read, FileCreation::OpenExisting)) {
        std::array<char, 8192> block;
        std::size_t read = 0;
        while (file.Read(block.data(), block.size(), read)) {
            if (read == 0 || bytes.size() > longestFile) return bytes;
            bytes.append(block.data(), read);
        }
    }
    ThrowIfPassing(LastErrorNumber(), path);
    return std::nullopt;
}

std::optional<PosixZone> ReadZone(std::string const & path) {
    auto const bytes = ReadBytes(path);
    return bytes ? ReadZoneFile(*bytes, WallClockMilliseconds() / 1000) : std::nullopt;
}

std::string ZoneFolder() {
    char const * const folder = std::getenv("TZDIR");
    return folder && *folder ? folder : "/usr/share/zoneinfo";
}

std::optional<PosixZone> ReadCity(std::string_view city) {
    if (city.empty() || city.front() == '/' || city.find("..") != std::string_view::npos) return std::nullopt;
    return ReadZone(ZoneFolder() + '/' + std::string(city));
}

// --- The values of a key

struct Rule {
    std::int32_t bias;
    std::int32_t standardBias;
    std::int32_t daylightBias;
    std::array<std::uint16_t, 8> standardDate; // in the order of a SYSTEMTIME
    std::array<std::uint16_t, 8> daylightDate;
};
static_assert(sizeof(Rule) == 44);

std::chrono::year ThisYear() {
    using namespace std::chrono;
    return year_month_day(floor<days>(system_clock::now())).year();
}

// The date of a change in the form of the registry: month, weekday, week. A change given by the day of the year is
// converted as it falls in the present year. The hour is a signed number, because a time before 0:00 or after 24:00
// can't be moved to another day: the day before the last Sunday of a month isn't always its last Saturday.
std::array<std::uint16_t, 8> DateOf(PosixChange const & given) {
    bool const isByWeekDay = given.form == PosixChange::Form::MonthWeekDay;
    PosixChange const change = isByWeekDay ? given : ChangeOn(DayOf(given, ThisYear()), given.second);
    int const inHour = (change.second % 3600 + 3600) % 3600;
    auto const field = [](int value) { return static_cast<std::uint16_t>(value); };
    return {0,
            field(change.month),
            field(change.day),
            field(change.week),
            field((change.second - inHour) / 3600),
            field(inHour / 60),
            field(inHour % 60),
            0};
}

std::string RuleOf(PosixZone const & zone) {
    Rule rule{};
    rule.bias = -zone.standardOffset / 60;
    if (!zone.daylightName.empty()) {
        rule.daylightBias = (zone.standardOffset - zone.daylightOffset) / 60;
        rule.daylightDate = DateOf(zone.daylightStart);
        rule.standardDate = DateOf(zone.daylightEnd);
    }
    std::string bytes(sizeof rule, '\0');
    std::memcpy(bytes.data(), &rule, sizeof rule);
    return bytes;
}

std::string DisplayOf(PosixZone const & zone, std::string_view place) {
    int const minutes = zone.standardOffset / 60;
    char offset[16] = "(UTC) ";
    if (minutes != 0)
        std::snprintf(offset, sizeof offset, "(UTC%c%02d:%02d) ", minutes < 0 ? '-' : '+',
                      std::abs(minutes) / 60 % 100, std::abs(minutes) % 60);
    std::string city(place.substr(place.rfind('/') + 1));
    std::ranges::replace(city, '_', ' ');
    return offset + city;
}

// "Tokyo Standard Time" gives "Tokyo Daylight Time"; a name without "Standard Time" is used for both.
std::string DaylightNameOf(std::string_view name) {
    constexpr std::string_view standard = "Standard Time";
    std::string result(name);
    if (name.ends_with(standard)) result.replace(name.size() - standard.size(), 8, "Daylight");
    return result;
}

ZoneKey MakeKey(PosixZone const & zone, std::string_view standardName, std::string_view daylightName,
                std::string_view place) {
    ZoneKey key;
    key.Set(u"Std", Widen(standardName));
    key.Set(u"Dlt", Widen(daylightName));
    key.Set(u"Display", Widen(DisplayOf(zone, place)));
    key.Set(u"TZI", RuleOf(zone));
    return key;
}

std::optional<ZoneKey> MakeNamedKey(ZoneName const & row) {
    std::string_view const city = row.cities.substr(0, row.cities.find(' '));
    auto const zone = ReadCity(city);
    if (!zone) return std::nullopt;
    return MakeKey(*zone, row.name, DaylightNameOf(row.name), city);
}

ZoneName const * FindName(std::u16string_view lowered) {
    auto const * const found = std::ranges::find_if(zoneNames, [lowered](ZoneName const & row) {
        return std::ranges::equal(row.name, lowered, [](char a, char16_t b) {
            return Lower(a) == static_cast<char>(b) && b < 0x80;
        });
    });
    return found == std::end(zoneNames) ? nullptr : found;
}

ZoneName const * FindCity(std::string_view city) {
    if (city.empty()) return nullptr;
    std::string const wanted = ' ' + std::string(city) + ' ';
    auto const * const found = std::ranges::find_if(zoneNames, [&wanted](ZoneName const & row) {
        return (' ' + std::string(row.cities) + ' ').find(wanted) != std::string::npos;
    });
    return found == std::end(zoneNames) ? nullptr : found;
}

// --- Keys that were put in

struct Overlay {
    std::mutex mutex;
    std::map<std::u16string, std::pair<std::u16string, ZoneKey>> keys; // by path in lower case: path and key
};

Overlay & ThisOverlay() {
    static Overlay overlay;
    return overlay;
}

// --- The local zone

// The city in a path such as "/usr/share/zoneinfo/Europe/Berlin": "Europe/Berlin". Empty for other paths.
std::string CityOfPath(std::string_view path) {
    constexpr std::string_view folder = "/zoneinfo/";
    std::size_t const start = path.rfind(folder);
    return start == std::string_view::npos ? std::string() : std::string(path.substr(start + folder.size()));
}

struct Place {
    std::optional<PosixZone> zone;
    std::string city;
};

Place SystemPlace() {
    constexpr char const * setting = "/etc/localtime";
    std::array<char, PATH_MAX> target{};
    std::string city;
    if (realpath(setting, target.data()))
        city = CityOfPath(target.data());
    else
        ThrowIfPassing(errno, setting);
    return {ReadZone(setting), city};
}

// Reads a value of TZ: a city, a path or a rule; a colon at the start is ignored.
Place PlaceOf(std::string_view setting) {
    if (setting.starts_with(':')) setting.remove_prefix(1);
    if (setting.starts_with('/')) return {ReadZone(std::string(setting)), CityOfPath(setting)};
    if (auto zone = ReadCity(setting)) return {std::move(zone), std::string(setting)};
    return {ParsePosixZone(setting), {}};
}

} // namespace

std::optional<ZoneKey> OpenZoneKey(std::u16string_view path) {
    std::u16string const lowered = Lowered(path);
    {
        Overlay & overlay = ThisOverlay();
        std::scoped_lock const lock(overlay.mutex);
        auto const found = overlay.keys.find(lowered);
        if (found != overlay.keys.end()) return found->second.second;
    }
    std::u16string_view const name(lowered);
    if (!name.starts_with(zonesPath) || name.size() <= zonesPath.size() || name[zonesPath.size()] != u'\\')
        return std::nullopt;
    ZoneName const * const row = FindName(name.substr(zonesPath.size() + 1));
    return row ? MakeNamedKey(*row) : std::nullopt;
}

// Leaves out a zone for whose city the system has no file. A zone whose file is damaged is listed, and can't be
// opened.
std::vector<std::u16string> ListZoneKeys(std::u16string_view path) {
    std::u16string const folder = Lowered(path);
    std::map<std::u16string, std::u16string> names; // by lower case
    if (folder == zonesPath)
        for (ZoneName const & row : zoneNames) {
            std::string const file =
                ZoneFolder() + '/' + std::string(row.cities.substr(0, row.cities.find(' ')));
            if (access(file.c_str(), F_OK) == 0) names.emplace(Lowered(Widen(row.name)), Widen(row.name));
        }
    Overlay & overlay = ThisOverlay();
    std::scoped_lock const lock(overlay.mutex);
    for (auto const & [lowered, key] : overlay.keys) {
        std::u16string_view const whole(lowered);
        bool const below =
            whole.starts_with(folder + u'\\') && whole.find(u'\\', folder.size() + 1) == whole.npos;
        if (below)
            names.insert_or_assign(lowered.substr(folder.size() + 1), key.first.substr(folder.size() + 1));
    }
    std::vector<std::u16string> result;
    result.reserve(names.size());
    for (auto & [lowered, name] : names) result.push_back(std::move(name));
    return result;
}

void PutZoneKey(std::u16string_view path, std::optional<ZoneKey> key) {
    Overlay & overlay = ThisOverlay();
    std::scoped_lock const lock(overlay.mutex);
    if (key)
        overlay.keys.insert_or_assign(Lowered(path), std::pair(std::u16string(path), std::move(*key)));
    else
        overlay.keys.erase(Lowered(path));
}

ZoneKey LocalZoneKey() {
    char const * const setting = std::getenv("TZ");
    Place const place = setting ? PlaceOf(setting) : SystemPlace();
    if (!place.zone) return MakeKey(PosixZone{"UTC", "", 0, 0, {}, {}}, "UTC", "UTC", "UTC");
    if (ZoneName const * const row = FindCity(place.city))
        return MakeKey(*place.zone, row->name, DaylightNameOf(row->name), place.city);
    std::string const & daylight = place.zone->daylightName;
    return MakeKey(*place.zone, place.zone->standardName,
                   daylight.empty() ? place.zone->standardName : daylight,
                   place.city.empty() ? place.zone->standardName : place.city);
}

} // namespace KZPlatform
