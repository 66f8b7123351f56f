// A zoneinfo file has a table of changes and, in its last line, a rule (PosixZone.h) for the time after the last
// change. From version 2 on the table is there twice, first with times of 32 bits for old readers, then with 64 bits.
// Numbers are big-endian.
//
// The present year is read as a list of periods, each with one offset from UTC: from the table as far as it goes,
// then from the last line. For example, for Berlin: winter time until 29 March, summer time until 25 October, winter
// time. If the last line gives the same periods, it is the result; otherwise a rule is made from the periods.
//
// Nothing in the file is trusted: counts are compared with the number of bytes, offsets and names are checked, and a
// file with more changes in the year than any zone ever had is taken as damaged.
#include "ZerlithCore/platform/posix/ZoneFile.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>
#include <vector>

namespace KZPlatform {
namespace {

using std::chrono::sys_days;

constexpr std::size_t headerSize = 44;
constexpr std::size_t localTimeSize = 6;
constexpr std::size_t mostPeriods = 16;
constexpr std::size_t mostLeapSeconds = 256;
constexpr std::int32_t longestOffset = 26 * 3600;
constexpr std::int64_t always = std::numeric_limits<std::int64_t>::min();
// Times beyond this are limited to it, so that sums of times can't overflow.
constexpr std::int64_t farthestTime = std::int64_t{1} << 60;

std::uint64_t Load(std::string_view bytes, std::size_t at, std::size_t size) {
    std::uint64_t value = 0;
    for (char const byte : bytes.substr(at, size)) value = value << 8 | static_cast<unsigned char>(byte);
    return value;
}

std::int32_t LoadInt32(std::string_view bytes, std::size_t at) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(Load(bytes, at, 4)));
}

// --- The table

struct LocalTime {
    std::int32_t offset = 0; // seconds, local time minus UTC
    bool isDaylight = false;
    std::string_view name; // points into the file, or into the rule of its last line
};

// The arrays of one table, as views of the file.
class Table {
public:
    // Reads a header and the arrays that follow it from the start of `rest`, and removes them there. The table's
    // times have `timeSize` bytes.
    static std::optional<Table> Take(std::string_view & rest, std::size_t timeSize) {
        if (rest.size() < headerSize || !rest.starts_with("TZif")) return std::nullopt;
        constexpr std::size_t firstCount = 20;
        std::array<std::uint64_t, 6> counts{};
        for (std::size_t i = 0; i < counts.size(); ++i) counts[i] = Load(rest, firstCount + 4 * i, 4);
        auto const [utMarks, standardMarks, leaps, changes, localTimes, characters] = counts;
        if (leaps > mostLeapSeconds) return std::nullopt;
        rest.remove_prefix(headerSize);

        Table table(timeSize);
        std::string_view unused;
        std::pair<std::string_view *, std::uint64_t> const arrays[] = {
            {&table.times_, changes * timeSize},
            {&table.indexes_, changes},
            {&table.localTimes_, localTimes * localTimeSize},
            {&table.names_, characters},
            {&table.leaps_, leaps * (timeSize + 4)},
            {&unused, standardMarks},
            {&unused, utMarks},
        };
        for (auto const & [array, size] : arrays) {
            if (size > rest.size()) return std::nullopt;
            *array = rest.substr(0, size);
            rest.remove_prefix(size);
        }
        return table;
    }

    [[nodiscard]] std::size_t CountChanges() const { return indexes_.size(); }
    // Seconds since 1970, leap seconds not counted.
    [[nodiscard]] std::int64_t TimeOfChange(std::size_t change) const {
        std::int64_t const time = LoadTime(times_, change * timeSize_);
        std::int64_t leapSeconds = 0;
        std::size_t const recordSize = timeSize_ + 4;
        for (std::size_t at = 0; at < leaps_.size() && LoadTime(leaps_, at) <= time; at += recordSize)
            leapSeconds = LoadInt32(leaps_, at + timeSize_);
        return time - leapSeconds;
    }
    [[nodiscard]] std::optional<LocalTime> LocalTimeBehind(std::size_t change) const {
        return ReadLocalTime(static_cast<unsigned char>(indexes_[change]));
    }
    [[nodiscard]] std::optional<LocalTime> FirstLocalTime() const { return ReadLocalTime(0); }

private:
    explicit Table(std::size_t timeSize) : timeSize_(timeSize) {}

    [[nodiscard]] std::int64_t LoadTime(std::string_view bytes, std::size_t at) const {
        std::int64_t const time =
            timeSize_ == 4 ? LoadInt32(bytes, at) : static_cast<std::int64_t>(Load(bytes, at, timeSize_));
        return std::clamp(time, -farthestTime, farthestTime);
    }

    [[nodiscard]] std::optional<LocalTime> ReadLocalTime(std::size_t index) const {
        std::string_view const record =
            localTimes_.substr(std::min(index * localTimeSize, localTimes_.size()), localTimeSize);
        if (record.empty()) return std::nullopt;
        std::int32_t const offset = LoadInt32(record, 0);
        auto const nameAt = static_cast<unsigned char>(record[5]);
        if (offset < -longestOffset || offset > longestOffset || nameAt >= names_.size()) return std::nullopt;
        std::string_view const name = names_.substr(nameAt);
        LocalTime const time{offset, record[4] != 0, name.substr(0, name.find('\0'))};
        return time.name.empty() ? std::nullopt : std::optional(time);
    }

    std::size_t timeSize_;
    std::string_view times_;
    std::string_view indexes_; // for each change the local time after it
    std::string_view localTimes_;
    std::string_view names_;
    std::string_view leaps_;
};

// --- The periods of a year

struct Period {
    std::int64_t start; // seconds since 1970 UTC; `always` for the first one
    LocalTime time;
};
using Periods = std::vector<Period>;

// The year on a wall clock, in seconds since 1970.
struct Year {
    explicit Year(std::chrono::year which)
        : number(which)
        , begin(std::chrono::sys_seconds(sys_days(which / 1 / 1)).time_since_epoch().count())
        , end(std::chrono::sys_seconds(sys_days((which + std::chrono::years(1)) / 1 / 1))
                  .time_since_epoch()
                  .count()) {}

    std::chrono::year number;
    std::int64_t begin;
    std::int64_t end;
};

Periods PeriodsOf(PosixZone const & zone, Year const & year) {
    LocalTime const standard{zone.standardOffset, false, zone.standardName};
    if (zone.daylightName.empty()) return {{always, standard}};
    LocalTime const daylight{zone.daylightOffset, true, zone.daylightName};
    auto const wallTime = [&year](PosixChange const & change) {
        return std::chrono::sys_seconds(DayOf(change, year.number)).time_since_epoch().count() +
               change.second;
    };
    std::int64_t const start = wallTime(zone.daylightStart) - standard.offset;
    std::int64_t const end = wallTime(zone.daylightEnd) - daylight.offset;
    if (start < end) return {{always, standard}, {start, daylight}, {end, standard}};
    return {{always, daylight}, {end, standard}, {start, daylight}};
}

// Nothing for a damaged table.
std::optional<Periods> PeriodsOf(Table const & table, std::optional<PosixZone> const & lastLine,
                                 Year const & year) {
    auto time = table.FirstLocalTime();
    if (!time) return std::nullopt;
    Periods periods{{always, *time}};
    std::int64_t last = always;
    for (std::size_t i = 0; i < table.CountChanges(); ++i) {
        std::int64_t const at = table.TimeOfChange(i);
        std::int64_t const onWallClock = at + periods.back().time.offset;
        if (onWallClock >= year.end) return periods;
        time = table.LocalTimeBehind(i);
        if (!time || at < last || periods.size() == mostPeriods) return std::nullopt;
        if (onWallClock <= year.begin) periods.clear();
        periods.push_back({periods.empty() ? always : at, *time});
        last = at;
    }
    if (!lastLine) return periods;
    Periods rest = PeriodsOf(*lastLine, year);
    if (periods.size() == 1) return rest;
    std::ranges::copy_if(rest, std::back_inserter(periods),
                         [last](Period const & period) { return period.start > last; });
    return periods;
}

// Joins periods that differ only in the name; the later name is kept.
Periods Merge(Periods const & periods) {
    Periods merged;
    for (Period const & period : periods)
        if (!merged.empty() && merged.back().time.offset == period.time.offset)
            merged.back().time = period.time;
        else
            merged.push_back(period);
    return merged;
}

bool AreSame(Periods const & a, Periods const & b) {
    return std::ranges::equal(a, b, [](Period const & left, Period const & right) {
        return left.start == right.start && left.time.offset == right.time.offset;
    });
}

// --- The rule of a year

PosixChange ChangeAt(std::int64_t wallTime) {
    std::chrono::sys_seconds const moment{std::chrono::seconds(wallTime)};
    auto const day = std::chrono::floor<std::chrono::days>(moment);
    return ChangeOn(day, static_cast<int>((moment - day).count()));
}

// A possible rule for the year: the offset of period `first` from there to period `behind`, and the offset of
// `behind` in the rest of the year.
class Candidate {
public:
    Candidate(Periods const & periods, std::size_t first, std::size_t behind)
        : periods_(&periods), first_(first), behind_(behind) {}

    [[nodiscard]] bool IsRightIn(std::size_t period) const {
        bool const isInside = period >= first_ && period < behind_;
        return OffsetOf(period) == OffsetOf(isInside ? first_ : behind_);
    }

    // How long the rule is right in that year, in seconds.
    [[nodiscard]] std::int64_t RightTime(Year const & year) const {
        std::int64_t sum = 0;
        for (std::size_t i = 0; i < periods_->size(); ++i) {
            std::int64_t const from = i == 0 ? year.begin - OffsetOf(0) : (*periods_)[i].start;
            std::int64_t const to =
                i + 1 == periods_->size() ? year.end - OffsetOf(i) : (*periods_)[i + 1].start;
            if (IsRightIn(i)) sum += to - from;
        }
        return sum;
    }

    // Makes the rule. A change at period 0 is placed at the start of the year. If the file marks both local times as
    // standard, or both as daylight saving time, the later one is taken as standard time, since it is the one that
    // will last.
    [[nodiscard]] PosixZone Rule(Year const & year) const {
        LocalTime const & inside = (*periods_)[first_].time;
        LocalTime const & outside = (*periods_)[behind_].time;
        PosixChange const begin =
            ChangeAt(first_ == 0 ? year.begin : (*periods_)[first_].start + outside.offset);
        PosixChange const end = ChangeAt((*periods_)[behind_].start + inside.offset);
        auto const rule = [](LocalTime const & standard, LocalTime const & daylight,
                             PosixChange const & daylightStart, PosixChange const & daylightEnd) {
            return PosixZone{std::string(standard.name),
                             std::string(daylight.name),
                             standard.offset,
                             daylight.offset,
                             daylightStart,
                             daylightEnd};
        };
        bool const isInverse = outside.isDaylight && !inside.isDaylight;
        return isInverse ? rule(inside, outside, end, begin) : rule(outside, inside, begin, end);
    }

private:
    [[nodiscard]] std::int32_t OffsetOf(std::size_t period) const { return (*periods_)[period].time.offset; }

    Periods const * periods_;
    std::size_t first_;
    std::size_t behind_;
};

PosixZone RuleOf(Periods const & periods, Year const & year, std::int64_t now) {
    LocalTime const & first = periods.front().time;
    if (periods.size() == 1) return {std::string(first.name), {}, first.offset, 0, {}, {}};
    auto const after = std::ranges::upper_bound(periods, now, {}, &Period::start);
    auto const present = static_cast<std::size_t>(after - periods.begin()) - 1;
    Candidate best(periods, 0, 1);
    auto const merit = [&](Candidate const & candidate) {
        return std::pair(candidate.IsRightIn(present), candidate.RightTime(year));
    };
    for (std::size_t i = 0; i < periods.size(); ++i)
        for (std::size_t j = i + 1; j < periods.size(); ++j)
            if (Candidate const candidate(periods, i, j); merit(best) < merit(candidate)) best = candidate;
    return best.Rule(year);
}

Year YearOf(std::int64_t now) {
    std::chrono::sys_seconds const moment{std::chrono::seconds(now)};
    return Year(std::chrono::year_month_day(std::chrono::floor<std::chrono::days>(moment)).year());
}

} // namespace

std::optional<PosixZone> ReadZoneFile(std::string_view bytes, std::int64_t now) {
    constexpr std::size_t versionAt = 4;
    bool const isOld = bytes.size() > versionAt && bytes[versionAt] < '2';
    auto table = Table::Take(bytes, 4);
    std::optional<PosixZone> lastLine;
    if (table && !isOld) {
        table = Table::Take(bytes, 8);
        if (!table || bytes.size() < 2 || bytes.front() != '\n' || bytes.back() != '\n') return std::nullopt;
        std::string_view const line = bytes.substr(1, bytes.size() - 2);
        if (!line.empty() && !(lastLine = ParsePosixZone(line))) return std::nullopt;
    }
    if (!table) return std::nullopt;
    Year const year = YearOf(now);
    auto periods = PeriodsOf(*table, lastLine, year);
    if (!periods) return std::nullopt;
    periods = Merge(*periods);
    if (lastLine && AreSame(*periods, Merge(PeriodsOf(*lastLine, year)))) return lastLine;
    return RuleOf(*periods, year, now);
}

} // namespace KZPlatform
