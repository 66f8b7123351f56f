// Calendar days are counted by the standard library; zones and the printing of names come from the platform. The reader
// is a loop over the template: each conversion removes its part from the front of the text.
#include "ZerlithCore/time/KZDateTime.h"

#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/platform/Calendar.h"
#include "ZerlithCore/text/detail/OwnErrors.h"
#include "ZerlithCore/time/KZTimeZone.h"

#include <chrono>
#include <limits>
#include <optional>
#include <string_view>

using KZDetail::OwnError;
using KZDetail::OwnMessage;

namespace {

constexpr std::int64_t secondsOfDay = 86400;
constexpr std::size_t longestText = 65536;

KZPlatform::CalendarTime CalendarOf(std::int64_t local) {
    using namespace std::chrono;
    sys_seconds const moment{seconds(local)};
    sys_days const day = floor<days>(moment);
    year_month_day const date(day);
    hh_mm_ss const time(moment - day);
    return {static_cast<int>(date.year()),
            static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day())),
            static_cast<int>(time.hours().count()),
            static_cast<int>(time.minutes().count()),
            static_cast<int>(time.seconds().count()),
            0,
            static_cast<int>(weekday(day).c_encoding()),
            static_cast<int>((day - sys_days(date.year() / January / 1)).count()) + 1};
}

// --- Reading

constexpr std::u16string_view months[] = {u"january",   u"february", u"march",    u"april",
                                          u"may",       u"june",     u"july",     u"august",
                                          u"september", u"october",  u"november", u"december"};
constexpr std::u16string_view weekDays[] = {u"sunday",   u"monday", u"tuesday", u"wednesday",
                                            u"thursday", u"friday", u"saturday"};

struct Fields {
    int year = 1970;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int yearDay = 0; // 0 when the template lacks it
    int half = 0;    // of the day: 1 morning, 2 afternoon, 0 when the template lacks it
    int ignored = 0;
};

constexpr char16_t Lower(char16_t unit) noexcept {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
}

// Reads a text by a template, into `fields`.
class Reader {
public:
    explicit Reader(std::u16string_view text) noexcept : rest_(text) {}

    bool Read(std::u16string_view format) {
        for (std::size_t i = 0; i < format.size(); ++i) {
            bool ok = true;
            if (KZEncoding::IsSpace(format[i]))
                SkipBlanks();
            else if (format[i] == u'%' && i + 1 < format.size())
                ok = ReadConversion(format[++i]);
            else
                ok = Take(format[i]);
            if (!ok) return false;
        }
        return true;
    }

    [[nodiscard]] bool IsAtEnd() const noexcept { return rest_.empty(); }

    Fields fields;

private:
    bool ReadConversion(char16_t letter) {
        switch (letter) {
        case u'Y': return Number(fields.year, 4, 0, 9999);
        case u'y': return ShortYear();
        case u'm': return Number(fields.month, 2, 1, 12);
        case u'd':
        case u'e': return Number(fields.day, 2, 1, 31);
        case u'j': return Number(fields.yearDay, 3, 1, 366);
        case u'H': return Number(fields.hour, 2, 0, 23);
        case u'I': return Number(fields.hour, 2, 1, 12);
        case u'M': return Number(fields.minute, 2, 0, 59);
        case u'S': return Number(fields.second, 2, 0, 59);
        case u'p': return HalfDay();
        case u'b':
        case u'B':
        case u'h': return Name(fields.month, months, std::size(months), 1);
        case u'a':
        case u'A': return Name(fields.ignored, weekDays, std::size(weekDays), 0);
        case u'x':
        case u'D': return Read(u"%m/%d/%y");
        case u'X':
        case u'T': return Read(u"%H:%M:%S");
        case u'R': return Read(u"%H:%M");
        case u'F': return Read(u"%Y-%m-%d");
        case u'n':
        case u't': SkipBlanks(); return true;
        case u'%': return Take(u'%');
        default: return false;
        }
    }

    void SkipBlanks() noexcept {
        while (!rest_.empty() && KZEncoding::IsSpace(rest_.front())) rest_.remove_prefix(1);
    }

    bool Take(char16_t unit) noexcept {
        if (rest_.empty() || rest_.front() != unit) return false;
        rest_.remove_prefix(1);
        return true;
    }

    bool Number(int & out, std::size_t digits, int least, int most) noexcept {
        SkipBlanks();
        int value = 0;
        std::size_t count = 0;
        for (; count < digits && count < rest_.size() && KZEncoding::IsDigit(rest_[count]); ++count)
            value = value * 10 + (rest_[count] - u'0');
        if (count == 0 || value < least || value > most) return false;
        rest_.remove_prefix(count);
        out = value;
        return true;
    }

    bool ShortYear() noexcept {
        constexpr int firstOfLastCentury = 69;
        int value = 0;
        if (!Number(value, 2, 0, 99)) return false;
        fields.year = value + (value < firstOfLastCentury ? 2000 : 1900);
        return true;
    }

    bool StartsWith(std::u16string_view name) const noexcept {
        if (rest_.size() < name.size()) return false;
        for (std::size_t i = 0; i < name.size(); ++i)
            if (Lower(rest_[i]) != name[i]) return false;
        return true;
    }

    // Reads a full name or its first three letters.
    bool Name(int & out, std::u16string_view const * names, std::size_t count, int first) noexcept {
        constexpr std::size_t abbreviated = 3;
        for (std::size_t i = 0; i < count; ++i) {
            std::u16string_view const name = names[i];
            if (!StartsWith(name.substr(0, abbreviated))) continue;
            rest_.remove_prefix(StartsWith(name) ? name.size() : abbreviated);
            out = static_cast<int>(i) + first;
            return true;
        }
        return false;
    }

    bool HalfDay() noexcept {
        bool const isAfternoon = StartsWith(u"pm");
        if (!isAfternoon && !StartsWith(u"am")) return false;
        rest_.remove_prefix(2);
        fields.half = isAfternoon ? 2 : 1;
        return true;
    }

    std::u16string_view rest_;
};

// Seconds since 1970 in local time; std::nullopt for a day that its month doesn't have.
std::optional<std::int64_t> SecondsOf(Fields const & fields) {
    using namespace std::chrono;
    year const inYear(fields.year);
    year_month_day const date(inYear, month(static_cast<unsigned>(fields.month)),
                              day(static_cast<unsigned>(fields.day)));
    if (!date.ok() || (fields.yearDay == 366 && !inYear.is_leap())) return std::nullopt;
    sys_days const day =
        fields.yearDay ? sys_days(inYear / January / 1) + days(fields.yearDay - 1) : sys_days(date);
    int const hour = fields.half ? fields.hour % 12 + (fields.half - 1) * 12 : fields.hour;
    return day.time_since_epoch().count() * secondsOfDay + hour * 3600 + fields.minute * 60 + fields.second;
}

} // namespace

KZDateTime::LocalTimeZone::operator KZTimeZone const &() const { return KZTimeZone::GetLocalTimeZone(); }

KZErrorID KZDateTime::FromString(KZString const & text, KZString const & format, KZTimeZone const & zone) {
    Reader reader{std::u16string_view(text.c_str())};
    if (!reader.Read(format.c_str()) || !reader.IsAtEnd())
        return OwnError(OwnMessage::DateOfAnotherFormat, {text, format});
    std::optional<std::int64_t> const local = SecondsOf(reader.fields);
    if (!local) return OwnError(OwnMessage::InvalidDate, {text});
    std::int64_t const utc = zone.LocalToUTC(*local);
    if (utc < 0 || utc > std::numeric_limits<std::uint32_t>::max())
        return OwnError(OwnMessage::InvalidDate, {text});
    seconds_ = static_cast<std::uint32_t>(utc);
    return KZErrorID(0);
}

KZErrorID KZDateTime::AsString(KZString & out, KZString const & format, KZTimeZone const & zone) const {
    if (IsNull()) {
        out.Clear();
        return KZErrorID(0);
    }
    KZPlatform::ZoneMoment const moment{zone.GetLocalMinusUTC(seconds_), zone.GetName(seconds_)};
    auto const text = KZPlatform::FormatCalendar(CalendarOf(std::int64_t{seconds_} + moment.localMinusUtc),
                                                 moment, std::u16string_view(format), longestText);
    if (!text) return OwnError(OwnMessage::CantConvertDate);
    out = KZString(std::u16string_view(*text));
    return KZErrorID(0);
}

KZString KZDateTime::AsString(KZString const & format, KZTimeZone const & zone) const {
    KZString text;
    static_cast<void>(AsString(text, format, zone));
    return text;
}

KZString KZPrintDuration(KZDuration duration) {
    std::int64_t const seconds = duration < 0 ? -std::int64_t{duration} : duration;
    int const inDay = static_cast<int>(seconds % secondsOfDay);
    int const days = static_cast<int>(seconds / secondsOfDay);
    KZString text;
    text.Format(u"%02d:%02d:%02d", inDay / 3600, inDay / 60 % 60, inDay % 60);
    if (days == 0) return duration < 0 ? KZString(u"-") + text : text;
    KZString out;
    out.Format(u"%s%d %s", duration < 0 ? u"-" : u"", days, text.c_str());
    return out;
}
