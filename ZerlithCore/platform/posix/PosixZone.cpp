// Parses a rule from left to right, and computes the dates of its changes.
#include "ZerlithCore/platform/posix/PosixZone.h"

#include <algorithm>

namespace KZPlatform {
namespace {

constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// Reads the parts of a rule from the start of a text. Each function returns false when the part isn't there.
class Reader {
public:
    explicit Reader(std::string_view text) : rest_(text) {}

    [[nodiscard]] bool IsAtEnd() const { return rest_.empty(); }
    [[nodiscard]] char Next() const { return rest_.empty() ? '\0' : rest_.front(); }

    bool Take(char c) {
        if (Next() != c || rest_.empty()) return false;
        rest_.remove_prefix(1);
        return true;
    }

    // A name: letters, or any characters but ">" between angle brackets; at least three.
    bool Name(std::string & name) {
        bool const quoted = Take('<');
        auto const * const end =
            quoted ? std::ranges::find(rest_, '>') : std::ranges::find_if_not(rest_, IsLetter);
        name.assign(rest_.begin(), end);
        rest_.remove_prefix(name.size());
        return name.size() >= 3 && (!quoted || Take('>'));
    }

    bool Number(int & value, int low, int high) {
        if (!IsDigit(Next())) return false;
        value = 0;
        for (; IsDigit(Next()); rest_.remove_prefix(1)) {
            value = value * 10 + (rest_.front() - '0');
            if (value > high) return false;
        }
        return value >= low;
    }

    // [+|-]hh[:mm[:ss]] in seconds.
    bool Time(int & seconds, int longestHours) {
        bool const negative = Next() == '-';
        if (negative || Next() == '+') rest_.remove_prefix(1);
        int hours = 0;
        int minutes = 0;
        int rest = 0;
        if (!Number(hours, 0, longestHours)) return false;
        if (Take(':') && !Number(minutes, 0, 59)) return false;
        if (Take(':') && !Number(rest, 0, 59)) return false;
        seconds = (hours * 60 + minutes) * 60 + rest;
        if (negative) seconds = -seconds;
        return true;
    }

    // ",M3.5.0/2", ",J60" or ",59".
    bool Change(PosixChange & change) {
        if (!Take(',')) return false;
        bool ok = false;
        if (Take('M')) {
            change.form = PosixChange::Form::MonthWeekDay;
            ok = Number(change.month, 1, 12) && Take('.') && Number(change.week, 1, 5) && Take('.') &&
                 Number(change.day, 0, 6);
        } else if (Take('J')) {
            change.form = PosixChange::Form::YearDayNoLeap;
            ok = Number(change.day, 1, 365);
        } else {
            change.form = PosixChange::Form::YearDay;
            ok = Number(change.day, 0, 365);
        }
        return ok && (!Take('/') || Time(change.second, 167));
    }

private:
    std::string_view rest_;
};

} // namespace

std::optional<PosixZone> ParsePosixZone(std::string_view text) {
    Reader reader(text);
    PosixZone zone;
    int behind = 0; // seconds behind UTC, the sign that POSIX uses
    if (!reader.Name(zone.standardName) || !reader.Time(behind, 24)) return std::nullopt;
    zone.standardOffset = -behind;
    if (reader.IsAtEnd()) return zone;

    if (!reader.Name(zone.daylightName)) return std::nullopt;
    behind -= 3600;
    if (!reader.IsAtEnd() && reader.Next() != ',' && !reader.Time(behind, 24)) return std::nullopt;
    zone.daylightOffset = -behind;
    if (reader.IsAtEnd()) {
        // POSIX leaves the default rule to the system; this is the C library's.
        reader = Reader(",M3.2.0,M11.1.0");
    }
    if (!reader.Change(zone.daylightStart) || !reader.Change(zone.daylightEnd) || !reader.IsAtEnd())
        return std::nullopt;
    return zone;
}

std::chrono::sys_days DayOf(PosixChange const & change, std::chrono::year year) {
    using namespace std::chrono;
    if (change.form == PosixChange::Form::MonthWeekDay) {
        year_month const inMonth(year, month(static_cast<unsigned>(change.month)));
        weekday const day(static_cast<unsigned>(change.day));
        constexpr int lastWeek = 5;
        if (change.week == lastWeek) return sys_days(inMonth / day[last]);
        return sys_days(inMonth / day[static_cast<unsigned>(change.week)]);
    }
    // In this form 29 February isn't counted: day 60 is 1 March in every year.
    bool const isDirect = change.form == PosixChange::Form::YearDay || (year.is_leap() && change.day >= 60);
    return sys_days(year / January / 1) + days(isDirect ? change.day : change.day - 1);
}

PosixChange ChangeOn(std::chrono::sys_days day, int second) {
    using namespace std::chrono;
    year_month_day const date(day);
    bool const isLast = year_month_day(day + weeks(1)).month() != date.month();
    PosixChange change;
    change.month = static_cast<int>(static_cast<unsigned>(date.month()));
    change.week = isLast ? 5 : (static_cast<int>(static_cast<unsigned>(date.day())) - 1) / 7 + 1;
    change.day = static_cast<int>(weekday(day).c_encoding());
    change.second = second;
    return change;
}

} // namespace KZPlatform
