#include "ZerlithCore/time/KZDateTimeEx.h"

#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/platform/Clock.h"
#include "ZerlithCore/text/KZWideText.h"
#include "ZerlithCore/text/detail/OwnErrors.h"
#include "ZerlithCore/time/KZDateAndTime.h"
#include "ZerlithCore/time/KZDateExceptionEx.h"
#include "ZerlithCore/time/KZDateTime.h"
#include "ZerlithCore/time/detail/CalendarExchange.h"
#include "ZerlithCore/time/detail/CalendarText.h"

#include <istream>
#include <limits>
#include <ostream>
#include <string>

using namespace KZExchange;

namespace {

using KZDetail::DateAndTime;

KZErrorID Refuse(KZString const & text) {
    return KZDetail::OwnError(KZDetail::OwnMessage::InvalidDate, {text});
}

std::int64_t Milliseconds(KZDateEx const & date, KZTimeEx const & time) {
    return KZDetail::ToMilliseconds({date, time});
}

KZDateTimeEx FromMilliseconds(std::int64_t milliseconds) {
    DateAndTime const value = KZDetail::FromMilliseconds(milliseconds);
    return {value.date, value.time};
}

// Makes a value of the fields that were read, still in their zone; null if they make none. With a field that was
// dropped the result is null, too: the other fields could make a value, but not the one in the text.
KZDateTimeEx ValueOf(KZDetail::CalendarFields const & read) {
    if (read.hasDropped) return {};
    KZDateEx date;
    KZTimeEx time;
    if (read.read & KZDateAndTime::Date) {
        if (read.month > 12 || read.day > 31) return {};
        date.SetDate(read.year, read.month, read.day);
        if (!date.IsValid() || date.GetYear() == 0 || date.GetYear() != read.year) return {};
    }
    if (read.read & KZDateAndTime::Time) {
        if (read.hour > 23 || read.minute > 59 || read.second > 59 || read.millisecond > 999) return {};
        time.SetTime(read.hour, read.minute, read.second, read.millisecond);
    }
    return {date, time};
}

// Reads `text` by `format`. If it names no such value, the result is null and false is returned.
bool Read(KZDateTimeEx & result, KZString const & text, KZString const & format, KZTimeZone const & zone) {
    result.SetNull();
    if (text == u"SYSDATE") {
        result = KZDateTimeEx::GetCurrentDateTime();
        return true;
    }
    char16_t const * const rest = KZDetail::SkipBlanks(text.c_str());
    if (!*rest) return true;
    KZDetail::CalendarFields const read = KZDetail::ReadCalendar(rest, format.c_str(), KZDetail::AllLetters);
    result = ValueOf(read);
    if (!result.IsDateAndTime()) return !result.IsNull();
    if (read.read & KZDateAndTime::TimeZone)
        result -= KZDurationEx(read.localMinusUtc, KZDurationEx::second);
    else
        result.ConvertToUTC(zone);
    return true;
}

// Sets the value to what `convert` makes of `from` and `zone`, or to null.
template <class From, class Convert>
bool Take(KZDateTimeEx & result, From const & from, KZTimeZone const & zone, Convert convert) {
    DateAndTime value;
    bool const ok = convert(from, value);
    result = KZDateTimeEx(value.date, value.time);
    result.ConvertToUTC(zone);
    return ok;
}

} // namespace

KZDateTimeEx::KZDateTimeEx(int year, unsigned int month, unsigned int day, unsigned int hour,
                           unsigned int minute, unsigned int second, unsigned int millisecond,
                           KZTimeZone const & zone)
    : time_(hour, minute, second, millisecond), date_(year, month, day) {
    bool const isCut = date_.GetYear() != year || date_.GetMonth() != month || date_.GetDay() != day;
    if (isCut || !date_.IsValid() || time_.IsNull()) throw KZDateExceptionEx(*this);
    ConvertToUTC(zone);
}

KZDateTimeEx::KZDateTimeEx(KZDateAndTime const & fields, KZTimeZone const & zone) {
    bool const isSet = SetDateAndTime(fields, zone);
    bool const hasTime = !(fields.mask & KZDateAndTime::Time) || HasTime();
    bool const hasDate = !(fields.mask & KZDateAndTime::Date) || HasDate();
    if (!isSet || !hasTime || !hasDate) throw KZDateExceptionEx(*this);
}

KZDateTimeEx::KZDateTimeEx(KZString const & text, KZTimeZone const & zone) {
    KZErrorID const error = FromString(text, zone);
    if (error.Bad()) throw KZDateExceptionEx(error.AsString());
}

KZDateTimeEx::KZDateTimeEx(KZString const & text, KZString const & format, KZTimeZone const & zone) {
    KZErrorID const error = FromString(text, format, zone);
    if (error.Bad()) throw KZDateExceptionEx(error.AsString());
}

KZDateTimeEx::KZDateTimeEx(std::tm const & time, KZTimeZone const & zone) { FromStructTM(time, zone); }

KZDateTimeEx::KZDateTimeEx(SYSTEMTIME const & time, KZTimeZone const & zone) { FromSystemTime(time, zone); }

KZDateTimeEx::KZDateTimeEx(FILETIME const & time, KZTimeZone const & zone) { FromFileTime(time, zone); }

KZDateTimeEx::KZDateTimeEx(VARIANT const & value, KZTimeZone const & zone) { FromVariant(value, zone); }

KZDateTimeEx::KZDateTimeEx(double days, KZTimeZone const & zone) { FromDouble(days, zone); }

KZDateTimeEx KZDateTimeEx::GetCurrentDateTime() {
    return FromMilliseconds(KZPlatform::WallClockMilliseconds());
}

KZDateTimeEx KZDateTimeEx::FromUnixMilliseconds(std::int64_t milliseconds) {
    // One year less at both ends than a KZDateEx holds, so that a conversion to local time stays in the range.
    constexpr std::int64_t first = KZDetail::DaysFromCivil(-4194303, 1, 1) * KZDetail::millisecondsOfDay;
    constexpr std::int64_t end = KZDetail::DaysFromCivil(4194303, 1, 1) * KZDetail::millisecondsOfDay;
    if (milliseconds < first || milliseconds >= end)
        throw KZDateExceptionEx(KZString(u"A moment must be in the years -4194303 to 4194302"));
    return FromMilliseconds(milliseconds);
}

std::int64_t KZDateTimeEx::AsUnixMilliseconds() const {
    if (!IsDateAndTime() || !date_.IsValid()) throw KZDateExceptionEx(*this);
    return Milliseconds(date_, time_);
}

bool KZDateTimeEx::GetDateAndTime(KZDateAndTime & fields, KZTimeZone const & zone, unsigned int mask) const {
    if (IsNull()) return false;
    KZDateTimeEx const local = ToLocal(zone);
    unsigned int filled = 0;
    if (local.date_.GetDateAndTime(fields, mask)) filled |= fields.mask;
    if (local.time_.GetDateAndTime(fields, mask)) filled |= fields.mask;
    if (IsDateAndTime() && (mask & KZDateAndTime::TimeZone)) {
        fields.timeZone = zone;
        filled |= KZDateAndTime::TimeZone;
    }
    fields.mask = filled;
    return true;
}

bool KZDateTimeEx::SetDateAndTime(KZDateAndTime const & fields, KZTimeZone const & zone) {
    KZTimeZone const & in = fields.mask & KZDateAndTime::TimeZone ? fields.timeZone : zone;
    KZDateTimeEx local = ToLocal(in);
    if (fields.mask & KZDateAndTime::Date) local.date_.SetDateAndTime(fields);
    if (fields.mask & KZDateAndTime::Time) local.time_.SetDateAndTime(fields);
    local.ConvertToUTC(in);
    *this = local;
    return IsValid();
}

std::int32_t KZDateTimeEx::GetOffset(KZTimeZone const & zone) const noexcept {
    if (!zone.GetDstObserved() || !IsDateAndTime()) return zone.GetTimeZoneInfo().bias * 60;
    return zone.GetLocalMinusUTC(Seconds());
}

bool KZDateTimeEx::ConvertToUTC(KZTimeZone const & zone) noexcept {
    if (!IsDateAndTime()) return false;
    std::int64_t const local = Seconds();
    *this = Moved((zone.LocalToUTC(local) - local) * 1000);
    return true;
}

bool KZDateTimeEx::ConvertFromUTCTo(KZTimeZone const & zone) noexcept {
    *this = ToLocal(zone);
    return IsDateAndTime();
}

KZString const & KZDateTimeEx::GetDefaultFormat(bool all, bool withMilliseconds) const {
    static KZString const longFormat(u"%Y/%m/%d %H:%M:%S.%L");
    static KZString const shortFormat(u"%Y/%m/%d %H:%M:%S");
    static KZString const empty;
    if (all) return longFormat;
    if (IsDateAndTime()) return withMilliseconds ? longFormat : shortFormat;
    if (IsOnlyDate()) return KZDateEx::GetDefaultFormat();
    return IsOnlyTime() ? KZTimeEx::GetDefaultFormat(withMilliseconds) : empty;
}

bool KZDateTimeEx::AsString(KZString & out, KZTimeZone const & zone) const {
    return AsString(out, GetDefaultFormat(false, true), zone);
}

bool KZDateTimeEx::AsString(KZString & out, KZString const & format, KZTimeZone const & zone) const {
    if (IsNull()) {
        out.Clear();
        return true;
    }
    std::int32_t const offset = IsDateAndTime() ? LocalMinusUTC(zone) : 0;
    KZDateTimeEx const local = offset == 0 ? *this : Moved(offset * std::int64_t{1000});
    KZDetail::PrintCalendar(out, format, {local.date_, local.time_, offset}, KZDetail::AllLetters);
    return true;
}

bool KZDateTimeEx::AsString(char16_t * buffer, std::size_t capacity, KZString const & format,
                            KZTimeZone const & zone) const {
    std::int32_t const offset = IsDateAndTime() ? LocalMinusUTC(zone) : 0;
    KZDateTimeEx const local = ToLocal(zone);
    return KZDetail::PrintCalendar(buffer, capacity, IsNull() ? u"" : format.c_str(),
                                   {local.date_, local.time_, offset}, KZDetail::AllLetters);
}

KZString KZDateTimeEx::AsString(KZTimeZone const & zone) const {
    return AsString(GetDefaultFormat(false, true), zone);
}

KZString KZDateTimeEx::AsString(KZString const & format, KZTimeZone const & zone) const {
    KZString text;
    AsString(text, format, zone);
    return text;
}

KZErrorID KZDateTimeEx::FromString(KZString const & text, KZTimeZone const & zone) {
    bool const isRead = Read(*this, text, GetDefaultFormat(true, true), zone) ||
                        Read(*this, text, KZTimeEx::GetDefaultFormat(), zone);
    return isRead ? KZErrorID() : Refuse(text);
}

KZErrorID KZDateTimeEx::FromString(KZString const & text, KZString const & format, KZTimeZone const & zone) {
    return Read(*this, text, format, zone) ? KZErrorID() : Refuse(text);
}

bool KZDateTimeEx::AsStructTM(std::tm & out, KZTimeZone const & zone) const {
    KZDateTimeEx const local = ToLocal(zone);
    return KZDetail::ToTm({local.date_, local.time_}, out);
}

bool KZDateTimeEx::AsSystemTime(SYSTEMTIME & out, KZTimeZone const & zone) const {
    KZDateTimeEx const local = ToLocal(zone);
    return KZDetail::ToSystemTime({local.date_, local.time_}, out);
}

bool KZDateTimeEx::AsFileTime(FILETIME & out, KZTimeZone const & zone) const {
    KZDateTimeEx const local = ToLocal(zone);
    return KZDetail::ToFileTime({local.date_, local.time_}, out);
}

bool KZDateTimeEx::AsVariant(VARIANT & out, KZTimeZone const & zone) const {
    KZDateTimeEx const local = ToLocal(zone);
    return KZDetail::ToVariant({local.date_, local.time_}, out);
}

bool KZDateTimeEx::AsDouble(double & out, KZTimeZone const & zone) const {
    KZDateTimeEx const local = ToLocal(zone);
    return KZDetail::ToDouble({local.date_, local.time_}, out);
}

bool KZDateTimeEx::AsKZDateTime(KZDateTime & out, KZTimeZone const & zone) const {
    if (IsOnlyDate()) return date_.AsKZDateTime(out, zone);
    if (!IsDateAndTime()) return time_.AsKZDateTime(out, zone);
    std::int64_t const seconds = Seconds();
    if (!date_.IsValid() || seconds <= 0 || seconds > std::numeric_limits<std::uint32_t>::max()) return false;
    out = KZDateTime(static_cast<std::uint32_t>(seconds));
    return true;
}

bool KZDateTimeEx::FromStructTM(std::tm const & time, KZTimeZone const & zone) {
    return Take(*this, time, zone, KZDetail::FromTm);
}

bool KZDateTimeEx::FromSystemTime(SYSTEMTIME const & time, KZTimeZone const & zone) {
    return Take(*this, time, zone, KZDetail::FromSystemTime);
}

bool KZDateTimeEx::FromFileTime(FILETIME const & time, KZTimeZone const & zone) {
    return Take(*this, time, zone, KZDetail::FromFileTime);
}

bool KZDateTimeEx::FromVariant(VARIANT const & value, KZTimeZone const & zone) {
    return Take(*this, value, zone, KZDetail::FromVariant);
}

bool KZDateTimeEx::FromDouble(double days, KZTimeZone const & zone) {
    return Take(*this, days, zone, KZDetail::FromDouble);
}

bool KZDateTimeEx::FromKZDateTime(KZDateTime const & moment) {
    SetNull();
    if (moment.IsNull()) return false;
    *this = FromMilliseconds(std::int64_t{moment.AsSeconds()} * 1000);
    return true;
}

KZDateTimeEx & KZDateTimeEx::operator++() { return *this += 1; }

KZDateTimeEx & KZDateTimeEx::operator--() { return *this -= 1; }

KZDateTimeEx KZDateTimeEx::operator++(int) {
    KZDateTimeEx const before = *this;
    ++*this;
    return before;
}

KZDateTimeEx KZDateTimeEx::operator--(int) {
    KZDateTimeEx const before = *this;
    --*this;
    return before;
}

KZDateTimeEx & KZDateTimeEx::operator+=(long seconds) {
    return *this += KZDurationEx(seconds, KZDurationEx::second);
}

KZDateTimeEx & KZDateTimeEx::operator-=(long seconds) {
    return *this -= KZDurationEx(seconds, KZDurationEx::second);
}

KZDateTimeEx & KZDateTimeEx::AddOrSubstract(KZDurationEx const & duration, bool add) {
    if (IsNull() || !duration.IsValid() || duration.GetDuration() == 0) return *this;
    if (duration.GetUnit() > KZDurationEx::day) {
        if (!HasTime()) time_ = KZTimeEx(0);
        date_.AddDays(time_.AddOrSubstractAux(duration, add));
    } else if (IsDateAndTime()) {
        // In local time, so that a day later is the same hour even if the clocks were changed.
        KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone();
        KZDateTimeEx local = ToLocal(zone);
        local.date_.AddOrSubstract(duration, add);
        local.ConvertToUTC(zone);
        *this = local;
    } else {
        date_.AddOrSubstract(duration, add);
    }
    return *this;
}

KZDurationEx operator-(KZDateTimeEx const & a, KZDateTimeEx const & b) {
    if (a.IsOnlyTime() && b.IsOnlyTime()) return a.time_ - b.time_;
    if (a.IsOnlyDate() && b.IsOnlyDate()) return a.date_ - b.date_;
    SYSTEMTIME left;
    SYSTEMTIME right;
    KZTimeZone const & utc = KZTimeZone::GetUTCTimeZone();
    if (!a.HasDate() || !b.HasDate() || !a.AsSystemTime(left, utc) || !b.AsSystemTime(right, utc))
        return KZDurationEx(0, KZDurationEx::invalid);
    std::int64_t const milliseconds = Milliseconds(a.date_, a.time_) - Milliseconds(b.date_, b.time_);
    return KZDurationEx(static_cast<long>(milliseconds / 1000), KZDurationEx::second);
}

KZDateTimeEx KZDateTimeEx::MovedToLocal(KZTimeZone const & zone) const noexcept {
    std::int32_t const offset = LocalMinusUTC(zone);
    return offset == 0 ? *this : Moved(offset * std::int64_t{1000});
}

// On most days the month tells, so that nothing is to be computed.
std::int32_t KZDateTimeEx::LocalMinusUTC(KZTimeZone const & zone) const noexcept {
    std::int32_t const ofMonth = zone.offsetOfMonth_[date_.GetMonth()];
    bool const isInside = date_.GetDay() > 1 && date_.GetDay() < 28;
    return isInside && ofMonth != KZTimeZone::unknownOffset ? ofMonth : zone.GetLocalMinusUTC(Seconds());
}

// Most moves stay in the day.
KZDateTimeEx KZDateTimeEx::Moved(std::int64_t milliseconds) const noexcept {
    if (!date_.IsValid()) return FromMilliseconds(Milliseconds(date_, time_) + milliseconds);
    std::int64_t const ofDay = time_.AsMilliseconds() + milliseconds;
    bool const isSameDay = ofDay >= 0 && ofDay < KZDetail::millisecondsOfDay;
    std::int64_t const days = isSameDay ? 0 : KZDetail::FloorDivide(ofDay, KZDetail::millisecondsOfDay);
    KZDateTimeEx result(date_, KZTimeEx(static_cast<int>(ofDay - days * KZDetail::millisecondsOfDay)));
    if (!isSameDay) result.date_.AddDays(days);
    return result;
}

std::int64_t KZDateTimeEx::Seconds() const noexcept {
    return date_.DayNumber() * KZDetail::secondsOfDay + time_.AsSeconds();
}

std::wostream & operator<<(std::wostream & stream, KZDateTimeEx const & value) {
    return stream << value.AsString();
}

std::wistream & operator>>(std::wistream & stream, KZDateTimeEx & value) {
    std::wstring text;
    if (!(stream >> text)) return stream;
    KZErrorID error = value.FromString(KZString(KZFromWide(text)));
    std::wstring time;
    bool const hasMore = error.Good() && value.IsOnlyDate() && stream.peek() == L' ';
    if (hasMore && KZEncoding::IsDigit(stream.ignore().peek()) && stream >> time)
        error = value.FromString(KZString(KZFromWide(text + L' ' + time)));
    if (error.Bad()) stream.setstate(std::ios_base::failbit);
    return stream;
}
