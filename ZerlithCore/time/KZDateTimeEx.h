/// @file
/// A moment as a date and a time of day, or one of the two alone.
///
///     KZDateTimeEx meeting(u"2024/03/29 17:00:00.000");          // local time
///     meeting += KZDurationEx(1, KZDurationEx::week);            // 17:00 again, even if the clocks were changed
///     KZTimeZone tokyo;
///     tokyo.FromWindowsTimeZoneName(u"Tokyo Standard Time");
///     KZString const there = meeting.AsString(u"%Y-%m-%d %H:%M %Z", tokyo);
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/time/KZDateEx.h"
#include "ZerlithCore/time/KZTimeEx.h"
#include "ZerlithCore/time/KZTimeZone.h"

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <iosfwd>

class KZDateTime;
class KZErrorID;
struct KZDateAndTime;

/// A date and a time of day, in 32 bits each. A value with both is a moment, stored in UTC; a date or a time alone
/// has no zone. Null has neither.
///
/// Functions that convert between a moment and its fields take a `zone`; the default is local time. That includes the
/// functions for FILETIME: pass `KZTimeZone::GetUTCTimeZone()` for a FILETIME in UTC, as most systems use it.
///
/// Templates have the letters of KZDateEx and KZTimeEx, and %Z or %z for the offset from UTC, such as "+02:00", or "Z"
/// in UTC.
///
/// Errors: functions with a text throw std::bad_alloc; those that take the local zone by default then throw what
/// `KZTimeZone::GetLocalTimeZone` throws.
///
/// Thread safety: as an integer.
class KZ_EXPORT KZDateTimeEx {
public:
    /// Null.
    constexpr KZDateTimeEx() noexcept = default;
    /// Stores both unchanged: a moment in UTC.
    constexpr KZDateTimeEx(KZDateEx const & date, KZTimeEx const & time) noexcept
        : time_(time), date_(date) {}
    /// From the number that `AsInt64` returns.
    constexpr explicit KZDateTimeEx(std::integral auto packed) noexcept
        : time_(static_cast<int>(packed)), date_(static_cast<int>(static_cast<long long>(packed) >> 32)) {}
    /// From fields. Errors: throws KZDateExceptionEx when they make no valid value.
    KZDateTimeEx(int year, unsigned int month, unsigned int day, unsigned int hour, unsigned int minute,
                 unsigned int second, unsigned int millisecond = 0,
                 KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    explicit KZDateTimeEx(KZDateAndTime const & fields,
                          KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    /// Reads `text` with `FromString`. Errors: throws KZDateExceptionEx when that fails.
    explicit KZDateTimeEx(KZString const & text, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    KZDateTimeEx(KZString const & text, KZString const & format,
                 KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    /// From other forms; null if these hold no date and no time.
    explicit KZDateTimeEx(std::tm const & time, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    explicit KZDateTimeEx(KZExchange::SYSTEMTIME const & time,
                          KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    explicit KZDateTimeEx(KZExchange::FILETIME const & time,
                          KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    explicit KZDateTimeEx(KZExchange::VARIANT const & value,
                          KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    explicit KZDateTimeEx(double days, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    explicit KZDateTimeEx(KZDateTime const & moment) { FromKZDateTime(moment); }
    KZDateTimeEx(KZDateTime const & moment, KZTimeZone const & zone) { FromKZDateTime(moment, zone); }

    /// The present moment, to the millisecond.
    [[nodiscard]] static KZDateTimeEx GetCurrentDateTime();
    [[nodiscard]] static KZDateTimeEx Now() { return GetCurrentDateTime(); }
    /// The moment that many milliseconds after 1970-01-01 00:00 UTC, leap seconds not counted. KZChrono.h has the same for
    /// the standard's time points. Errors: throws KZDateExceptionEx when the year isn't from -4,194,303 to 4,194,302.
    [[nodiscard]] static KZDateTimeEx FromUnixMilliseconds(std::int64_t milliseconds);
    /// The reverse. Errors: throws KZDateExceptionEx when the value isn't a moment, or its day isn't in the calendar.
    [[nodiscard]] std::int64_t AsUnixMilliseconds() const;

    // --- What the value has

    [[nodiscard]] constexpr bool HasDate() const noexcept { return !date_.IsNull(); }
    [[nodiscard]] constexpr bool HasTime() const noexcept { return !time_.IsNull(); }
    [[nodiscard]] constexpr bool IsDateAndTime() const noexcept { return HasDate() && HasTime(); }
    [[nodiscard]] constexpr bool IsOnlyDate() const noexcept { return HasDate() && !HasTime(); }
    [[nodiscard]] constexpr bool IsOnlyTime() const noexcept { return !HasDate() && HasTime(); }
    [[nodiscard]] constexpr bool IsNull() const noexcept { return !HasDate() && !HasTime(); }
    /// With a date, returns whether the calendar has that day; without one, whether there is a time.
    [[nodiscard]] constexpr bool IsValid() const noexcept { return HasDate() ? date_.IsValid() : HasTime(); }
    constexpr void SetNull() noexcept { *this = KZDateTimeEx(); }
    constexpr void SetDateNull() noexcept { date_.SetNull(); }
    constexpr void SetTimeNull() noexcept { time_.SetNull(); }
    /// The time in the lower and the date in the upper 32 bits.
    [[nodiscard]] constexpr long long AsInt64() const noexcept {
        return static_cast<long long>(std::uint64_t{static_cast<std::uint32_t>(date_.AsInt())} << 32 |
                                      time_.AsUInt());
    }

    // --- Fields

    [[nodiscard]] KZDateEx GetDate(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const noexcept {
        return ToLocal(zone).date_;
    }
    [[nodiscard]] KZTimeEx GetTime(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const noexcept {
        return ToLocal(zone).time_;
    }
    /// These three are those of KZDateEx for the date in `zone`; 0 is Sunday, and any day before 1970.
    [[nodiscard]] unsigned int
    GetWeekDay(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const noexcept {
        return GetDate(zone).GetWeekDay();
    }
    [[nodiscard]] unsigned int
    GetYearDay(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const noexcept {
        return GetDate(zone).GetYearDay();
    }
    [[nodiscard]] unsigned int
    GetYearWeek(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const noexcept {
        return GetDate(zone).GetYearWeek();
    }
    /// Fills the fields that `mask` names and this value has, and the zone; sets `fields.mask` to them. Returns false
    /// for null.
    bool GetDateAndTime(KZDateAndTime & fields, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone(),
                        unsigned int mask = 255) const;
    /// Stores the fields that `fields.mask` names, by the rules of KZDateEx and KZTimeEx, and keeps the others. Their
    /// zone is `fields.timeZone` when the mask has `KZDateAndTime::TimeZone`, else `zone`. Returns whether the value is
    /// valid afterwards.
    bool SetDateAndTime(KZDateAndTime const & fields,
                        KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());

    /// The seconds that `KZTimeZone::GetOffset` returns for this moment, with its two signs; the bias for a value that
    /// isn't a moment.
    [[nodiscard]] std::int32_t
    GetOffset(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const noexcept;
    /// Take the value as a local time of `zone` and make it UTC, or the reverse. They return false, and change nothing,
    /// if it has no date or no time.
    bool ConvertToUTC(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) noexcept;
    bool ConvertFromUTCTo(KZTimeZone const & zone) noexcept;

    // --- Text

    /// The default template. With `all` it has date, time and milliseconds; otherwise it has what the value has, a time
    /// with milliseconds if `withMilliseconds`. Empty for null.
    [[nodiscard]] KZString const & GetDefaultFormat(bool all, bool withMilliseconds) const;
    /// Prints by the default template, with milliseconds, or by `format`. Fields that the value lacks are 0; null gives
    /// an empty text. Always returns true.
    bool AsString(KZString & out, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    bool AsString(KZString & out, KZString const & format,
                  KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    /// Prints into `buffer`, with a terminator, until fewer than 5 of its `capacity` units are left. Returns false when
    /// the text was cut.
    bool AsString(char16_t * buffer, std::size_t capacity, KZString const & format,
                  KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    [[nodiscard]] KZString AsString(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    [[nodiscard]] KZString AsString(KZString const & format,
                                    KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    /// Reads `text` by `format`: "SYSDATE" is the present moment, blanks are null. The text may end early; the fields
    /// that are in it make a date, a time, or both. A field that is in the text but doesn't fit is an error, while
    /// KZDateEx and KZTimeEx drop it. An offset in the text is used in place of `zone`; if the text has no offset in
    /// the place of %Z, nothing is read there, and `zone` is used.
    /// Without `format` the template is "%Y/%m/%d %H:%M:%S.%L" or "%H:%M:%S.%L".
    /// Errors: 9, with the text, when it names no such value; the value is then null.
    KZErrorID FromString(KZString const & text, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    KZErrorID FromString(KZString const & text, KZString const & format,
                         KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());

    /// Reads a value in the form of ISO 8601 and RFC 3339, such as "2024-03-29T17:00:00.000+01:00". Between date and time
    /// stands "T", "t" or a blank; seconds and their fraction may be missing, and a fraction may have any number of
    /// digits, of which three count. The offset is "Z", "+01:00", "+0100", "+01", or missing: then the time is one of
    /// `zone`. A date alone and a time alone are read, too. Years before 0 and after 9999 have a sign and six digits.
    /// Errors: 17, with the position from 1 and what is expected there; the value is then null.
    KZErrorID FromISOString(KZString const & text, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    /// Prints a moment in this form as a time of `zone`, with milliseconds and offset: "2024-03-29T16:00:00.000Z"; a date
    /// alone, and a time alone, without an offset; null as an empty text. `FromISOString` reads the same value of it if
    /// the year has at most six digits.
    [[nodiscard]] KZString AsISOString(KZTimeZone const & zone = KZTimeZone::GetUTCTimeZone()) const;

    // --- Exchange. Each function returns false if the value can't be converted; a record is then unchanged, a value
    // null. A date alone gets the time 00:00:00, a time alone the date fields that KZTimeEx gives it.

    bool AsStructTM(std::tm & out, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    bool AsSystemTime(KZExchange::SYSTEMTIME & out,
                      KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    bool AsFileTime(KZExchange::FILETIME & out,
                    KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    bool AsVariant(KZExchange::VARIANT & out, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    bool AsDouble(double & out, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    /// `zone` is only needed for a date or a time alone, which is taken as local time of it. Milliseconds are dropped.
    bool AsKZDateTime(KZDateTime & out, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    bool FromStructTM(std::tm const & time, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    bool FromSystemTime(KZExchange::SYSTEMTIME const & time,
                        KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    bool FromFileTime(KZExchange::FILETIME const & time,
                      KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    bool FromVariant(KZExchange::VARIANT const & value,
                     KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    bool FromDouble(double days, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    /// The zone isn't needed: both forms are in UTC.
    bool FromKZDateTime(KZDateTime const & moment);
    bool FromKZDateTime(KZDateTime const & moment, KZTimeZone const &) { return FromKZDateTime(moment); }

    // --- Arithmetic. Null stays null.

    /// Add, or subtract, one second.
    KZDateTimeEx & operator++();
    KZDateTimeEx & operator--();
    KZDateTimeEx operator++(int);
    KZDateTimeEx operator--(int);
    /// Adds, or subtracts, seconds; the lower 32 bits of the number count.
    KZDateTimeEx & operator+=(long seconds);
    KZDateTimeEx & operator-=(long seconds);
    KZDateTimeEx & operator+=(KZDurationEx const & duration) { return AddOrSubstract(duration, true); }
    KZDateTimeEx & operator-=(KZDurationEx const & duration) { return AddOrSubstract(duration, false); }
    /// Years, months, weeks and days change the date as KZDateEx does, and keep the local time of day. Smaller units
    /// move the moment; a date alone then becomes the moment 00:00:00 UTC of that day first, and a time alone starts
    /// again at midnight.
    KZDateTimeEx & AddOrSubstract(KZDurationEx const & duration, bool add);

    friend KZDateTimeEx operator+(KZDateTimeEx value, long seconds) { return value += seconds; }
    friend KZDateTimeEx operator-(KZDateTimeEx value, long seconds) { return value -= seconds; }
    friend KZDateTimeEx operator+(KZDateTimeEx value, KZDurationEx const & duration) {
        return value += duration;
    }
    friend KZDateTimeEx operator+(KZDurationEx const & duration, KZDateTimeEx value) {
        return value += duration;
    }
    friend KZDateTimeEx operator-(KZDateTimeEx value, KZDurationEx const & duration) {
        return value -= duration;
    }
    /// The duration from `b` to `a`: in milliseconds for two times, in days for two dates, otherwise in whole seconds,
    /// which wrap round beyond 68 years. Invalid if one of the values isn't valid or lies outside the years 1601 to
    /// 30827.
    friend KZ_EXPORT KZDurationEx operator-(KZDateTimeEx const & a, KZDateTimeEx const & b);

    /// Compares by date, then by time; a date alone comes after all moments of its day.
    friend constexpr bool operator==(KZDateTimeEx const &, KZDateTimeEx const &) noexcept = default;
    friend constexpr std::strong_ordering operator<=>(KZDateTimeEx const & a,
                                                      KZDateTimeEx const & b) noexcept {
        return a.AsInt64() <=> b.AsInt64();
    }

private:
    [[nodiscard]] KZDateTimeEx ToLocal(KZTimeZone const & zone) const noexcept {
        return zone.IsAlwaysUTC() || !IsDateAndTime() ? *this : MovedToLocal(zone);
    }
    [[nodiscard]] KZDateTimeEx MovedToLocal(KZTimeZone const & zone) const noexcept;
    /// Local time minus UTC in seconds. Requires: a date and a time.
    [[nodiscard]] std::int32_t LocalMinusUTC(KZTimeZone const & zone) const noexcept;
    /// The moment `milliseconds` later; a date that isn't valid becomes the one that its fields add up to.
    [[nodiscard]] KZDateTimeEx Moved(std::int64_t milliseconds) const noexcept;
    /// Seconds since 1970. Requires: a date and a time.
    [[nodiscard]] std::int64_t Seconds() const noexcept;

    KZTimeEx time_;
    KZDateEx date_;
};

static_assert(sizeof(KZDateTimeEx) == 8);

/// Writes the default text in local time.
KZ_EXPORT std::wostream & operator<<(std::wostream & stream, KZDateTimeEx const & value);
/// Reads a value as `FromString` does: one word, and after a date the next word, too, if it begins with a digit. Sets
/// failbit if that fails.
KZ_EXPORT std::wistream & operator>>(std::wistream & stream, KZDateTimeEx & value);

template <>
struct std::hash<KZDateTimeEx> {
    std::size_t operator()(KZDateTimeEx const & value) const noexcept {
        return std::hash<std::int64_t>()(value.AsInt64());
    }
};
