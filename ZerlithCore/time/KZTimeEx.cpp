#include "ZerlithCore/time/KZTimeEx.h"

#include "ZerlithCore/platform/Clock.h"
#include "ZerlithCore/time/KZDateAndTime.h"
#include "ZerlithCore/time/KZDateTime.h"
#include "ZerlithCore/time/detail/CalendarExchange.h"
#include "ZerlithCore/time/detail/CalendarText.h"

#include <ostream>

using namespace KZExchange;

namespace {

using KZDetail::DateAndTime;

// Sets the time of day to what `convert` makes of `from`, or to null.
template <class From, class Convert>
bool Take(KZTimeEx & time, From const & from, Convert convert) {
    DateAndTime value;
    bool const ok = convert(from, value);
    time = value.time;
    return ok;
}

} // namespace

KZString const & KZTimeEx::GetDefaultFormat(bool withMilliseconds) {
    static KZString const longFormat(u"%H:%M:%S.%L");
    static KZString const shortFormat(u"%H:%M:%S");
    return withMilliseconds ? longFormat : shortFormat;
}

KZTimeEx KZTimeEx::GetTheCurrentTime(bool local) {
    return KZDetail::ValueAt(KZPlatform::WallClockMilliseconds(), local).time;
}

bool KZTimeEx::GetDateAndTime(KZDateAndTime & fields, unsigned int mask) const {
    if (IsNull()) return false;
    fields.mask = mask & KZDateAndTime::Time;
    if (mask & KZDateAndTime::Hour) fields.hour = GetHour();
    if (mask & KZDateAndTime::Minute) fields.minute = GetMinute();
    if (mask & KZDateAndTime::Second) fields.second = GetSecond();
    if (mask & KZDateAndTime::Millisecond) fields.millisecond = GetMillisecond();
    return true;
}

bool KZTimeEx::SetDateAndTime(KZDateAndTime const & fields) {
    unsigned int const mask = fields.mask & KZDateAndTime::Time;
    if (mask == KZDateAndTime::Time) {
        SetTime(fields.hour, fields.minute, fields.second, fields.millisecond);
        return IsValid();
    }
    if (mask == 0) return IsValid();
    std::int64_t total = Count();
    if (mask & KZDateAndTime::Hour) total = fields.hour * std::int64_t{3600000} + total % 3600000;
    if (mask & KZDateAndTime::Minute) total += fields.minute * std::int64_t{60000} - GetMinute();
    if (mask & KZDateAndTime::Second) total += fields.second * std::int64_t{1000} - GetSecond();
    if (mask & KZDateAndTime::Millisecond) total += std::int64_t{fields.millisecond} - GetMillisecond();
    Store(total);
    return IsValid();
}

bool KZTimeEx::AsString(KZString & out) const { return AsString(out, GetDefaultFormat()); }

bool KZTimeEx::AsString(KZString & out, KZString const & format) const {
    if (IsNull())
        out.Clear();
    else
        KZDetail::PrintCalendar(out, format, {{}, *this}, KZDetail::TimeLetters);
    return true;
}

bool KZTimeEx::AsString(char16_t * buffer, std::size_t capacity, KZString const & format) const {
    return KZDetail::PrintCalendar(buffer, capacity, IsNull() ? u"" : format.c_str(), {{}, *this},
                                   KZDetail::TimeLetters);
}

KZString KZTimeEx::AsString() const { return AsString(GetDefaultFormat()); }

KZString KZTimeEx::AsString(KZString const & format) const {
    KZString text;
    AsString(text, format);
    return text;
}

bool KZTimeEx::FromString(KZString const & text) { return FromString(text, GetDefaultFormat()); }

bool KZTimeEx::FromString(KZString const & text, KZString const & format) {
    SetNull();
    if (text == u"SYSTIME") {
        *this = GetTheCurrentTime(true);
        return true;
    }
    char16_t const * const rest = KZDetail::SkipBlanks(text.c_str());
    if (!*rest) return true;
    KZDetail::CalendarFields const read = KZDetail::ReadCalendar(rest, format.c_str(), KZDetail::TimeLetters);
    if (read.read == 0 || read.hour > 23 || read.minute > 59 || read.second > 59 || read.millisecond > 999)
        return false;
    SetTime(read.hour, read.minute, read.second, read.millisecond);
    return true;
}

bool KZTimeEx::AsStructTM(std::tm & out) const { return KZDetail::ToTm({{}, *this}, out); }

bool KZTimeEx::AsSystemTime(SYSTEMTIME & out) const { return KZDetail::ToSystemTime({{}, *this}, out); }

bool KZTimeEx::AsFileTime(FILETIME & out) const { return KZDetail::ToFileTime({{}, *this}, out); }

bool KZTimeEx::AsVariant(VARIANT & out) const { return KZDetail::ToVariant({{}, *this}, out); }

bool KZTimeEx::AsDouble(double & out) const { return KZDetail::ToDouble({{}, *this}, out); }

bool KZTimeEx::AsKZDateTime(KZDateTime & out, KZTimeZone const & zone) const {
    if (IsNull()) return false;
    return KZDetail::ToKZDateTime(zone.LocalToUTC(AsSeconds()), out);
}

bool KZTimeEx::FromStructTM(std::tm const & time) { return Take(*this, time, KZDetail::FromTm); }

bool KZTimeEx::FromSystemTime(SYSTEMTIME const & time) { return Take(*this, time, KZDetail::FromSystemTime); }

bool KZTimeEx::FromFileTime(FILETIME const & time) { return Take(*this, time, KZDetail::FromFileTime); }

bool KZTimeEx::FromVariant(VARIANT const & value) { return Take(*this, value, KZDetail::FromVariant); }

bool KZTimeEx::FromDouble(double days) { return Take(*this, days, KZDetail::FromDouble); }

bool KZTimeEx::FromKZDateTime(KZDateTime const & moment, bool local) {
    SetNull();
    if (moment.IsNull()) return false;
    *this = KZDetail::ValueAt(std::int64_t{moment.AsSeconds()} * 1000, local).time;
    return true;
}

std::wostream & operator<<(std::wostream & stream, KZTimeEx const & time) {
    return stream << time.AsString();
}

std::wistream & operator>>(std::wistream & stream, KZTimeEx & time) {
    return KZDetail::ReadWord(stream, time);
}
