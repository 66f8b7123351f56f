#include "ZerlithCore/time/KZDateEx.h"

#include "ZerlithCore/platform/Clock.h"
#include "ZerlithCore/time/KZDateAndTime.h"
#include "ZerlithCore/time/KZDateTime.h"
#include "ZerlithCore/time/detail/CalendarExchange.h"
#include "ZerlithCore/time/detail/CalendarText.h"

#include <ostream>

using namespace KZExchange;

namespace {

using KZDetail::DateAndTime;

// Sets the date to what `convert` makes of `from`, or to null.
template <class From, class Convert>
bool Take(KZDateEx & date, From const & from, Convert convert) {
    DateAndTime value;
    bool const ok = convert(from, value);
    date = value.date;
    return ok && !date.IsNull();
}

} // namespace

KZString const & KZDateEx::GetDefaultFormat() {
    static KZString const format(u"%Y/%m/%d");
    return format;
}

KZDateEx KZDateEx::GetCurrentDate(bool local) {
    return KZDetail::ValueAt(KZPlatform::WallClockMilliseconds(), local).date;
}

bool KZDateEx::GetDateAndTime(KZDateAndTime & fields, unsigned int mask) const {
    if (IsNull()) return false;
    fields.mask = mask & KZDateAndTime::Date;
    if (mask & KZDateAndTime::Year) fields.year = GetYear();
    if (mask & KZDateAndTime::Month) fields.month = GetMonth();
    if (mask & KZDateAndTime::Day) fields.day = GetDay();
    return true;
}

bool KZDateEx::SetDateAndTime(KZDateAndTime const & fields) {
    constexpr int yearEnd = 0x800000;
    bool const year = (fields.mask & KZDateAndTime::Year) && fields.year < yearEnd;
    bool const month = (fields.mask & KZDateAndTime::Month) && fields.month <= 12;
    bool const day = (fields.mask & KZDateAndTime::Day) && fields.day <= 31;
    SetDate(year ? fields.year : GetYear(), month ? fields.month : GetMonth(), day ? fields.day : GetDay());
    return IsValid();
}

bool KZDateEx::AsString(KZString & out) const { return AsString(out, GetDefaultFormat()); }

bool KZDateEx::AsString(KZString & out, KZString const & format) const {
    if (IsNull())
        out.Clear();
    else
        KZDetail::PrintCalendar(out, format, {*this, {}}, KZDetail::DateLetters);
    return true;
}

bool KZDateEx::AsString(char16_t * buffer, std::size_t capacity, KZString const & format) const {
    return KZDetail::PrintCalendar(buffer, capacity, IsNull() ? u"" : format.c_str(), {*this, {}},
                                   KZDetail::DateLetters);
}

KZString KZDateEx::AsString() const { return AsString(GetDefaultFormat()); }

KZString KZDateEx::AsString(KZString const & format) const {
    KZString text;
    AsString(text, format);
    return text;
}

bool KZDateEx::FromString(KZString const & text) { return FromString(text, GetDefaultFormat()); }

bool KZDateEx::FromString(KZString const & text, KZString const & format) {
    SetNull();
    if (text == u"SYSDATE") {
        *this = GetCurrentDate(true);
        return true;
    }
    char16_t const * const rest = KZDetail::SkipBlanks(text.c_str());
    if (!*rest) return true;
    KZDetail::CalendarFields const read = KZDetail::ReadCalendar(rest, format.c_str(), KZDetail::DateLetters);
    KZDateAndTime fields;
    fields.year = read.year;
    fields.month = read.month;
    fields.day = read.day;
    fields.mask = KZDateAndTime::Date;
    return SetDateAndTime(fields) && GetYear() != 0;
}

bool KZDateEx::AsStructTM(std::tm & out) const { return KZDetail::ToTm({*this, {}}, out); }

bool KZDateEx::AsSystemTime(SYSTEMTIME & out) const { return KZDetail::ToSystemTime({*this, {}}, out); }

bool KZDateEx::AsFileTime(FILETIME & out) const { return KZDetail::ToFileTime({*this, {}}, out); }

bool KZDateEx::AsVariant(VARIANT & out) const { return KZDetail::ToVariant({*this, {}}, out); }

bool KZDateEx::AsDouble(double & out) const { return KZDetail::ToDouble({*this, {}}, out); }

bool KZDateEx::AsKZDateTime(KZDateTime & out, KZTimeZone const & zone) const {
    if (!IsValid()) return false;
    return KZDetail::ToKZDateTime(zone.LocalToUTC(DayNumber() * KZDetail::secondsOfDay), out);
}

bool KZDateEx::FromStructTM(std::tm const & time) { return Take(*this, time, KZDetail::FromTm); }

bool KZDateEx::FromSystemTime(SYSTEMTIME const & time) { return Take(*this, time, KZDetail::FromSystemTime); }

bool KZDateEx::FromFileTime(FILETIME const & time) { return Take(*this, time, KZDetail::FromFileTime); }

bool KZDateEx::FromVariant(VARIANT const & value) { return Take(*this, value, KZDetail::FromVariant); }

bool KZDateEx::FromDouble(double days) { return Take(*this, days, KZDetail::FromDouble); }

bool KZDateEx::FromKZDateTime(KZDateTime const & moment, bool local) {
    SetNull();
    if (moment.IsNull()) return false;
    *this = KZDetail::ValueAt(std::int64_t{moment.AsSeconds()} * 1000, local).date;
    return true;
}

std::wostream & operator<<(std::wostream & stream, KZDateEx const & date) {
    return stream << date.AsString();
}

std::wistream & operator>>(std::wistream & stream, KZDateEx & date) {
    return KZDetail::ReadWord(stream, date);
}
