#include "ZerlithCore/time/KZTimeZone.h"

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/platform/ZoneStore.h"
#include "ZerlithCore/time/KZDSTAdjuster.h"
#include "ZerlithCore/time/KZDateException.h"
#include "ZerlithCore/time/KZDateTime.h"
#include "ZerlithCore/time/KZDateTimeEx.h"
#include "ZerlithCore/time/KZTimeZoneObsolete.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::int64_t day = 86400;
constexpr char16_t const * zonesKey = u"Software\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones";
constexpr char16_t const * settingKey = u"System\\CurrentControlSet\\Control\\TimeZoneInformation";

// Sets an environment variable for as long as this object exists.
class Setting {
public:
    Setting(char const * name, std::string const & value) : name_(name) {
        char const * const old = std::getenv(name);
        old_ = old ? old : "";
        setenv(name, value.c_str(), 1);
        tzset();
    }
    ~Setting() {
        old_.empty() ? unsetenv(name_) : setenv(name_, old_.c_str(), 1);
        tzset();
    }
    Setting(Setting const &) = delete;
    Setting & operator=(Setting const &) = delete;

private:
    char const * name_;
    std::string old_;
};

KZTimeZone Zone(KZString const & name) {
    KZTimeZone zone;
    EXPECT_TRUE(zone.FromWindowsTimeZoneName(name)) << name.AsUTF8();
    return zone;
}

std::int64_t OffsetOfSystem(std::int64_t utc) {
    std::time_t const moment = utc;
    std::tm fields{};
    localtime_r(&moment, &fields);
    return fields.tm_gmtoff;
}

KZDateTimeEx At(std::int64_t seconds, KZTimeZone const & zone = KZTimeZone::GetUTCTimeZone()) {
    KZDateTimeEx moment{KZDateTime(static_cast<std::uint32_t>(seconds))};
    moment.ConvertFromUTCTo(zone);
    return moment;
}

// The C library reads the same zone files, but uses their tables of changes. Each zone is compared from the first
// year in which its present rule is used.
TEST(KZTimeZone, AgreesWithTheSystemAtEachChange) {
    constexpr struct {
        char16_t const * name;
        char const * city;
        int since;
    } zones[] = {
        {u"W. Europe Standard Time", "Europe/Berlin", 2000},
        {u"Azores Standard Time", "Atlantic/Azores", 2000},
        {u"Eastern Standard Time", "America/New_York", 2007},
        {u"Newfoundland Standard Time", "America/St_Johns", 2012},
        {u"Cen. Australia Standard Time", "Australia/Adelaide", 2009},
        {u"Lord Howe Standard Time", "Australia/Lord_Howe", 2009},
        {u"New Zealand Standard Time", "Pacific/Auckland", 2009},
        {u"Chatham Islands Standard Time", "Pacific/Chatham", 2009},
        {u"Israel Standard Time", "Asia/Jerusalem", 2014},
        {u"Pacific SA Standard Time", "America/Santiago", 2024},
        {u"Tokyo Standard Time", "Asia/Tokyo", 2000},
        {u"Nepal Standard Time", "Asia/Katmandu", 2000},
        {u"Greenland Standard Time", "America/Godthab", 2024},
    };
    for (auto const & row : zones) {
        KZTimeZone const zone = Zone(row.name);
        Setting const city("TZ", row.city);
        int changes = 0;
        for (std::int64_t noon = (row.since - 1970) * 31556952LL + 43200; noon < 2145916800; noon += day) {
            std::int64_t before = noon - day;
            std::int64_t const old = OffsetOfSystem(before), now = OffsetOfSystem(noon);
            ASSERT_EQ(zone.GetLocalMinusUTC(noon), now) << row.city << noon;
            if (old == now) continue;
            std::int64_t behind = noon; // the first second of the new offset, found by bisection
            while (behind - before > 1)
                (OffsetOfSystem((before + behind) / 2) == old ? before : behind) = (before + behind) / 2;
            ASSERT_EQ(zone.GetLocalMinusUTC(behind - 1), old) << row.city << behind;
            ASSERT_EQ(zone.GetLocalMinusUTC(behind), now) << row.city << behind;
            ASSERT_EQ(At(behind - 1, zone), At(behind - 1 + old)) << row.city << behind;
            ASSERT_EQ(At(behind, zone), At(behind + now)) << row.city << behind;
            // Local times around the change, including those that don't exist and those that exist twice.
            std::int64_t const wall = behind + old, ahead = std::abs(now - old);
            ASSERT_EQ(zone.LocalToUTC(wall - 1), behind - 1) << row.city;
            ASSERT_EQ(zone.LocalToUTC(wall - (now < old ? ahead : 0)), behind - (now < old ? ahead : 0))
                << row.city;
            ASSERT_EQ(zone.LocalToUTC(wall + (now > old ? ahead - 1 : 0)),
                      now > old ? behind + ahead - 1 : behind + ahead)
                << row.city;
            ASSERT_EQ(zone.LocalToUTC(wall + ahead), wall + ahead - now) << row.city;
            ++changes;
        }
        EXPECT_EQ(changes > 0, zone.GetDstObserved()) << row.city;
    }
}

// Reading /proc/self/mem from its start fails with EIO. A zone that couldn't be read is read again when it is asked
// for again.
TEST(KZTimeZone, KeepsNoFailureToRead) {
    Setting const place("TZ", "Pacific/Auckland");
    KZTimeZoneInfo info = Zone(u"New Zealand Standard Time").GetTimeZoneInfo();
    info.standardName[0] = u'?';
    KZTimeZone const unnamed(info, true);
    auto const folder = std::filesystem::temp_directory_path() / ("zones-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder / "Pacific");
    std::filesystem::create_symlink("/proc/self/mem", folder / "Pacific/Auckland");
    {
        Setting const zones("TZDIR", folder.string());
        EXPECT_THROW(static_cast<void>(KZPlatform::LocalZoneKey()), std::system_error);
        EXPECT_FALSE(KZTimeZone().FromWindowsTimeZoneName(u"New Zealand Standard Time"));
        EXPECT_THROW(static_cast<void>(KZTimeZoneObsolete::GetType(unnamed)), KZWindowsLastErrorException);
    }
    std::filesystem::remove_all(folder);
    EXPECT_EQ(KZString(*KZPlatform::LocalZoneKey().Text(u"Std")), u"New Zealand Standard Time");
    EXPECT_EQ(KZTimeZoneObsolete::GetType(unnamed), KZTimeZoneObsolete::NewZealand);
}

struct ZoneName {
    std::string_view name, cities;
};
constexpr ZoneName zoneNames[] = {
#include "ZerlithCore/platform/posix/generated/ZoneNames.inl"
};

// A rule has two changes a year; if the year ends with another offset than it began with, New Year is one of them.
// For a year with more changes the rule is right at the present moment.
TEST(KZTimeZone, TellsTheYearAsTheSystemDoes) {
    std::time_t const now = std::time(nullptr);
    std::int64_t const newYear = (now - now % day) / day * day - std::gmtime(&now)->tm_yday * day;
    for (ZoneName const & row : zoneNames) {
        KZTimeZone zone;
        if (!zone.FromWindowsTimeZoneName(KZString(std::u16string(row.name.begin(), row.name.end()))))
            continue;
        Setting const city("TZ", std::string(row.cities.substr(0, row.cities.find(' '))));
        EXPECT_EQ(zone.GetLocalMinusUTC(now), OffsetOfSystem(now)) << row.name;
        int changes = 0, wrong = 0;
        std::int64_t const first = OffsetOfSystem(newYear + day);
        std::int64_t before = first;
        for (std::int64_t moment = newYear + day; moment < newYear + 364 * day; moment += day / 4) {
            std::int64_t const offset = OffsetOfSystem(moment);
            wrong +=
                zone.GetLocalMinusUTC(moment) != offset || At(moment, zone) != At(moment + offset) ? 1 : 0;
            changes += offset != std::exchange(before, offset) ? 1 : 0;
        }
        bool const fits = changes + (before != first ? 1 : 0) <= 2;
        EXPECT_TRUE(wrong == 0 || !fits) << row.name << wrong;
    }
}

TEST(KZTimeZone, HasUTCAndTheLocalZone) {
    EXPECT_EQ(KZTimeZone(), KZTimeZone::GetUTCTimeZone());
    EXPECT_EQ(KZTimeZone().GetOffset(), 0);
    EXPECT_EQ(KZTimeZone().GetStandardName(), u"UTC");
    KZTimeZone const & local = KZTimeZone::GetLocalTimeZone();
    EXPECT_EQ(local.GetStandardName(), u"CET");
    EXPECT_EQ(local.GetDayLightName(), u"CEST");
    EXPECT_EQ(local.GetDisplayName(), u"(UTC+01:00) CET");
    KZDateTime const summer(1714979289);
    EXPECT_EQ(local.GetOffset(summer), 7200);
    EXPECT_THROW(static_cast<void>(local.GetOffset(KZDateTime())), KZDateException);
    EXPECT_EQ(KZString(KZDateException(summer).What()), u"2024/05/06 09:08:09");
    KZTimeZone const standard(local.GetTimeZoneInfo(), false);
    EXPECT_EQ(standard.GetOffset(summer), -3600); // the bias alone
    EXPECT_EQ(standard.GetLocalMinusUTC(summer.AsSeconds()), 3600);

    KZTimeZone const tokyo = Zone(u"Tokyo Standard Time");
    EXPECT_EQ(KZTimeZone::Convert(tokyo, local, tokyo.ConvertFromGMT(summer)),
              KZTimeZone::ConvertFromGMTToLocal(summer));
    EXPECT_EQ(tokyo.ConvertToLocal(tokyo.ConvertFromLocal(summer)), summer);
    EXPECT_EQ(local.ConvertTo(tokyo, summer).AsSeconds(), summer.AsSeconds() + 7 * 3600);
    EXPECT_EQ(tokyo.ConvertFrom(local, summer), local.ConvertTo(tokyo, summer));
    EXPECT_TRUE(tokyo.ConvertToGMT(KZDateTime(1)).IsNull());
    EXPECT_TRUE(tokyo < local && !(local < tokyo)); // by bias, UTC minus local
    for (std::int64_t far : {INT64_MIN, INT64_MAX}) EXPECT_EQ(local.GetLocalMinusUTC(far), 3600);
}

TEST(KZTimeZone, KnowsTheNamedZones) {
    std::vector<KZTimeZone> zones;
    EXPECT_TRUE(KZTimeZone::GetWindowsTimeZones(zones));
    EXPECT_GT(zones.size(), 130U);
    std::set<int> types; // all 62 types have a zone here
    for (KZTimeZone const & zone : zones) {
        EXPECT_EQ(zone.GetDisplayName().Find(u"(UTC"), 0U) << zone.GetStandardName().AsUTF8();
        types.insert(KZTimeZoneObsolete::GetType(zone));
    }
    EXPECT_EQ(types.size(), 62U);
    EXPECT_EQ(Zone(u"Newfoundland Standard Time").GetDisplayName(), u"(UTC-03:30) St Johns");
    EXPECT_EQ(Zone(u"W. Europe Standard Time").GetDayLightName(), u"W. Europe Daylight Time");
    KZTimeZone zone = Zone(u"Korea Standard Time");
    EXPECT_FALSE(zone.FromWindowsTimeZoneName(u"Middle-earth Standard Time") ||
                 zone.FromWindowsTimeZoneName(u"") || zone.FromWindowsTimeZoneName(u"..\\Time Zones\\UTC"));
    EXPECT_EQ(zone, Zone(u"Korea Standard Time"));

    EXPECT_EQ(KZTimeZoneObsolete::GetType(zone), KZTimeZoneObsolete::Korea);
    KZTimeZoneInfo info = Zone(u"New Zealand Standard Time").GetTimeZoneInfo();
    info.standardName[0] = u'?';
    info.daylightDate.hour += 1;
    EXPECT_EQ(KZTimeZoneObsolete::GetType(KZTimeZone(info, true)), 22);
}

TEST(KZTimeZone, ReadsKeysOfTheStore) {
    KZPlatform::ZoneKey key =
        *KZPlatform::OpenZoneKey(std::u16string(zonesKey) + u"\\w. europe STANDARD time");
    std::u16string const path = std::u16string(zonesKey) + u"\\Test";
    std::string rule = *key.Bytes(u"TZI");
    rule[28 + 2] = rule[12 + 2] = 0; // a month of 0 means no change
    key.Set(u"TZI", rule);
    key.Set(u"Std", u"CET");
    KZPlatform::PutZoneKey(path, key);
    KZTimeZone zone = Zone(u"Test");
    EXPECT_FALSE(zone.GetDstObserved());
    EXPECT_EQ(zone.GetTimeZoneInfo().daylightBias, 0);

    // The machine's switch for daylight saving time only affects the zone with the name of the local zone.
    key.Set(u"TZI",
            *KZPlatform::OpenZoneKey(std::u16string(zonesKey) + u"\\W. Europe Standard Time")->Bytes(u"TZI"));
    KZPlatform::PutZoneKey(path, key);
    EXPECT_TRUE(Zone(u"Test").GetDstObserved());
    KZPlatform::ZoneKey setting;
    setting.Set(u"DisableAutoDaylightTimeSet", 1U);
    KZPlatform::PutZoneKey(settingKey, setting);
    EXPECT_FALSE(Zone(u"Test").GetDstObserved());
    EXPECT_TRUE(Zone(u"W. Europe Standard Time").GetDstObserved());
    KZPlatform::PutZoneKey(settingKey, std::nullopt);

    std::vector<KZTimeZone> zones;
    for (std::string const & bad :
         {rule.substr(0, 43), rule + '\0', std::string(44, '\x7F'),
          std::string("\x61\x27").append(42, '\0')}) { // a bias of a week and a minute
        key.Set(u"TZI", bad);
        KZPlatform::PutZoneKey(path, key);
        EXPECT_FALSE(zone.FromWindowsTimeZoneName(u"Test") || KZTimeZone::GetWindowsTimeZones(zones));
    }
    KZPlatform::PutZoneKey(path, std::nullopt);
}

TEST(ZoneStore, UnderstandsEveryFormOfTZ) {
    struct Case {
        char const * setting;
        char16_t const *name, *display;
        std::int32_t bias;
        std::array<int, 4> daylight; // month, weekday, week, hour
    };
    constexpr Case cases[] = {
        {"Europe/Paris", u"Romance Standard Time", u"(UTC+01:00) Paris", -60, {3, 0, 5, 2}},
        {":America/New_York", u"Eastern Standard Time", u"(UTC-05:00) New York", 300, {3, 0, 2, 2}},
        {"/usr/share/zoneinfo/Asia/Kolkata", u"India Standard Time", u"(UTC+05:30) Kolkata", -330, {}},
        {"EST5EDT", u"Eastern Standard Time", u"(UTC-05:00) EST5EDT", 300, {3, 0, 2, 2}},
        {"<+0330>-3:30", u"+0330", u"(UTC+03:30) +0330", -210, {}},
        {"AAA3BBB", u"AAA", u"(UTC-03:00) AAA", 180, {3, 0, 2, 2}},
        {"AAA0BBB-2,M4.1.3/25:30,M9.3.3/-1", u"AAA", u"(UTC) AAA", 0, {4, 3, 1, 25}},
        {"AAA0BBB,J32,J305", u"AAA", u"(UTC) AAA", 0, {2, -1, 1, 2}},
        {"Atlantis/Capital", u"UTC", u"(UTC) UTC", 0, {}},
        {"", u"UTC", u"(UTC) UTC", 0, {}},
    };
    for (Case const & c : cases) {
        Setting const setting("TZ", c.setting);
        KZPlatform::ZoneKey const key = KZPlatform::LocalZoneKey();
        EXPECT_EQ(KZString(*key.Text(u"Std")), c.name) << c.setting;
        EXPECT_EQ(KZString(*key.Text(u"Display")), c.display) << c.setting;
        std::string const rule = *key.Bytes(u"TZI");
        std::int32_t bias = 0;
        KZSystemTime daylightRule;
        std::memcpy(&bias, rule.data(), sizeof bias);
        std::memcpy(&daylightRule, rule.data() + 28, sizeof daylightRule);
        EXPECT_EQ(bias, c.bias) << c.setting;
        EXPECT_EQ(daylightRule.month, c.daylight[0]) << c.setting;
        EXPECT_TRUE(c.daylight[1] < 0 || daylightRule.dayOfWeek == c.daylight[1]) << c.setting;
        EXPECT_EQ(daylightRule.day, c.daylight[2]) << c.setting;
        EXPECT_EQ(daylightRule.hour, c.daylight[3]) << c.setting;
    }
}

class Adjuster : public KZDSTAdjuster {
public:
    using KZDSTAdjuster::ComputeDSTDate;
};

TEST(KZDSTAdjuster, ComputesTheDaysOfRules) {
    constexpr struct {
        KZSystemTime rule;
        int year;
        int day; // 0: no change in that year
    } cases[] = {
        {{0, 2, 0, 5, 2, 0, 0, 0}, 2023, 26}, // a month with four Sundays
        {{0, 3, 0, 5, 2, 0, 0, 0}, 2024, 31}, // a month with five
        {{0, 3, 0, 4, 2, 0, 0, 0}, 2024, 24},
        {{0, 11, 4, 1, 2, 0, 0, 0}, 2024, 7},
        {{0, 11, 4, 0, 2, 0, 0, 0}, 2024, 1},
        {{0, 3, 4, 4, 26, 0, 0, 0}, 2019, 29},    // the day after the fourth Thursday
        {{0, 3, 0, 5, 65514, 0, 0, 0}, 2029, 24}, // 22 hours before the last Sunday
        {{0, 2, 0, 6, 2, 0, 0, 0}, 2023, 0},
        {{0, 0, 0, 1, 2, 0, 0, 0}, 2024, 0},
        {{0, 13, 0, 1, 2, 0, 0, 0}, 2024, 0},
    };
    for (auto const & c : cases) {
        std::tm time{};
        time.tm_year = c.year - 1900;
        EXPECT_EQ(Adjuster::ComputeDSTDate(c.rule, time), c.day != 0);
        EXPECT_EQ(time.tm_mday, c.day);
        EXPECT_EQ(time.tm_hour, c.day != 0 ? 2 : 0);
    }
}

TEST(KZDSTAdjuster, MovesDatesOfSummer) {
    auto const at = [](char16_t const * text) {
        KZDateTime value;
        EXPECT_TRUE(value.FromString(text, KZDateTime::DefaultFormat, KZTimeZone::GetUTCTimeZone()).Good());
        return value;
    };
    KZDSTAdjuster const north(at(u"2023/06/01 00:00:00"), at(u"2024/12/31 00:00:00"),
                              Zone(u"W. Europe Standard Time"));
    KZDSTAdjuster const south(at(u"2024/01/01 00:00:00"), at(u"2024/12/31 00:00:00"),
                              Zone(u"AUS Eastern Standard Time"));
    constexpr std::tuple<char16_t const *, bool, bool> cases[] = {
        {u"2024/03/31 01:59:59", false, true}, {u"2024/03/31 02:00:00", true, true},
        {u"2024/04/07 03:00:00", true, false}, {u"2024/10/27 02:59:59", true, true},
        {u"2024/10/27 03:00:00", false, true}, {u"2024/01/01 00:00:00", false, true},
        {u"2024/12/31 23:59:59", false, true}};
    for (auto const & [date, inNorth, inSouth] : cases) {
        for (auto const & [adjuster, moves] : {std::pair(&north, inNorth), std::pair(&south, inSouth)}) {
            KZDateTime value = at(date);
            adjuster->AdjustDate(value);
            EXPECT_EQ(value.AsSeconds() - at(date).AsSeconds(), moves ? 3600U : 0U)
                << KZString(date).AsUTF8();
            if (moves) adjuster->AdjustBucketDate(value);
            EXPECT_EQ(value, at(date));
        }
    }
    KZDateTime still = at(u"2024/07/01 00:00:00");
    KZDSTAdjuster().AdjustDate(still);
    EXPECT_EQ(still, at(u"2024/07/01 00:00:00"));
}

} // namespace
