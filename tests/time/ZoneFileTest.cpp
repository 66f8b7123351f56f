#include "ZerlithCore/platform/posix/ZoneFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using KZPlatform::ReadZoneFile;

std::int64_t At(unsigned int month, unsigned int day, int hour, int year = 2026) {
    using namespace std::chrono;
    return sys_seconds(sys_days(std::chrono::year(year) / std::chrono::month(month) / std::chrono::day(day)) +
                       hours(hour))
        .time_since_epoch()
        .count();
}

struct Change {
    std::int64_t at;
    char to; // the first letter of the name of the local time after the change
};

void Put(std::string & out, std::int64_t value, int size) {
    for (int shift = size * 8 - 8; shift >= 0; shift -= 8) out += static_cast<char>(value >> shift);
}

// AAA is UTC minus five hours. BBB, a daylight saving time, and CCC, a standard time, are UTC minus four hours.
std::string Table(int timeSize, char version, std::vector<Change> const & changes, int leapSeconds) {
    std::string out = std::string("TZif") + version + std::string(15, '\0');
    for (std::size_t const count : {0UL, 0UL, leapSeconds != 0 ? 1UL : 0UL, changes.size(), 3UL, 12UL})
        Put(out, static_cast<std::int64_t>(count), 4);
    for (Change const & change : changes) Put(out, change.at + leapSeconds, timeSize);
    for (Change const & change : changes) out += static_cast<char>(change.to - 'A');
    for (int const type : {0, 1, 2}) {
        Put(out, type == 0 ? -18000 : -14400, 4);
        Put(out, type == 1, 1);
        Put(out, type * 4, 1); // the position of the name
    }
    out.append("AAA\0BBB\0CCC", 12);
    if (leapSeconds != 0) Put(out, 0, timeSize);
    if (leapSeconds != 0) Put(out, leapSeconds, 4);
    return out;
}

// A zone in the form "AAA-18000 BBB-14400 3.2.0/7200 11.1.0/7200": names and offsets, then month, week, weekday and
// second of the day of each change.
std::string Print(std::optional<KZPlatform::PosixZone> const & zone) {
    std::ostringstream out;
    if (!zone) return "damaged";
    out << zone->standardName << zone->standardOffset;
    if (zone->daylightName.empty()) return out.str();
    out << ' ' << zone->daylightName << zone->daylightOffset;
    for (auto const & change : {zone->daylightStart, zone->daylightEnd})
        out << ' ' << change.month << '.' << change.week << '.' << change.day << '/' << change.second;
    return out.str();
}

TEST(ZoneFile, TellsTheYearsChanges) {
    constexpr char const * last = "AAA5BBB,M3.2.0,M11.1.0";
    constexpr char const * asLast = "AAA-18000 BBB-14400 3.2.0/7200 11.1.0/7200";
    using Changes = std::vector<Change>;
    Changes const usual{{At(3, 8, 7), 'B'}, {At(11, 1, 6), 'A'}};
    Changes const none{{At(3, 9, 7, 2025), 'B'}, {At(11, 7, 6, 2027), 'A'}};
    Changes const stays{{At(3, 8, 5), 'B'}, {At(11, 7, 5, 2027), 'A'}};
    Changes const forGood{{At(3, 8, 7), 'B'}, {At(11, 1, 6), 'C'}};
    Changes const south{{At(10, 5, 7, 2025), 'B'}, {At(4, 25, 6), 'A'}, {At(10, 4, 7), 'B'}};
    Changes const thrice{{At(2, 15, 7), 'B'}, {At(3, 22, 6), 'A'}, {At(9, 20, 7), 'C'}};
    struct Case {
        char const * what;
        Changes changes;
        char const *lastLine, *expected;
        std::int64_t now = At(11, 23, 12);
    };
    Case const cases[] = {
        {"the last line holds", usual, last, asLast},
        {"no table", {}, last, asLast},
        {"the first day", {}, "AAA5BBB,0,300", "AAA-18000 BBB-14400 0.0.0/7200 0.0.300/7200"},
        {"two changes at once", {{At(3, 8, 7), 'C'}, usual[0], usual[1]}, last, asLast},
        {"a late start in the south",
         {{At(1, 18, 7), 'B'}},
         "AAA5BBB,M10.1.0,M4.3.0",
         "AAA-18000 BBB-14400 10.1.0/7200 4.3.0/7200"},
        {"a table of former years", {{At(1, 1, 0, 2020), 'C'}}, last, asLast},
        {"no last line", usual, "", asLast},
        {"none this year, the last line later", none, last, "BBB-14400"},
        {"daylight time stays", stays, last, "AAA-18000 BBB-14400 3.2.0/0 1.1.4/0"},
        {"a change for good", forGood, "CCC4", "CCC-14400 AAA-18000 1.1.4/0 3.2.0/7200"},
        {"south of the equator", south, "BBB4", "AAA-18000 BBB-14400 10.1.0/7200 4.5.6/7200"},
        {"a table to March", {{At(3, 22, 7), 'B'}}, last, "AAA-18000 BBB-14400 3.4.0/7200 11.1.0/7200"},
        {"three changes", thrice, "CCC4", "CCC-14400 AAA-18000 1.1.4/0 9.3.0/7200"},
        {"in the second", thrice, "CCC4", "CCC-14400 AAA-18000 3.4.0/7200 9.3.0/7200", At(3, 1, 0)},
    };
    for (Case const & c : cases) {
        std::string const file =
            Table(4, '2', {}, 0) + Table(8, '2', c.changes, 0) + '\n' + c.lastLine + '\n';
        EXPECT_EQ(Print(ReadZoneFile(file, c.now)), c.expected) << c.what;
    }
    EXPECT_EQ(Print(ReadZoneFile(Table(4, '\0', usual, 0), At(7, 1, 0))), asLast);
    std::string const withLeapSeconds = Table(4, '2', {}, 0) + Table(8, '2', usual, 27) + "\nAAA5\n";
    EXPECT_EQ(Print(ReadZoneFile(withLeapSeconds, At(7, 1, 0))), asLast);
}

TEST(ZoneFile, SurvivesDamage) {
    std::ifstream file("/usr/share/zoneinfo/Europe/Berlin", std::ios::binary);
    std::string const whole((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::int64_t const now = At(7, 1, 0);
    EXPECT_EQ(Print(ReadZoneFile(whole, now)), "CET3600 CEST7200 3.5.0/7200 10.5.0/10800");
    for (std::size_t length = 0; length < whole.size(); ++length)
        ASSERT_FALSE(ReadZoneFile(whole.substr(0, length), now)) << length;
    for (std::size_t i = 0; i < whole.size(); ++i)
        for (char const wrong : {'\0', '\x7F', '\xFF'}) {
            std::string damaged = whole;
            damaged[i] = wrong;
            auto const zone = ReadZoneFile(damaged, now);
            ASSERT_TRUE(!zone || std::abs(zone->standardOffset) <= 26 * 3600) << i;
        }
    std::string const head = whole.substr(0, whole.rfind('\n', whole.size() - 2) + 1);
    for (char const * lastLine :
         {"CET", "CE-1", "<CET-1", "CET-25", "CET-1CEST,M3.5.0", "CET-1CEST,M13.5.0,M10.5.0",
          "CET-1CEST,M3.6.0,M10.5.0", "CET-1CEST,M3.5.7,M10.5.0", "CET-1CEST,M3.5.0,M10.5.0x",
          "CET-1CEST,J0,J300", "CET-1CEST,3,366", "CET-1CEST,M3.5.0/168,M10.5.0", "C\xFFT-1"})
        EXPECT_FALSE(ReadZoneFile(head + lastLine + '\n', now)) << lastLine;
}

} // namespace
