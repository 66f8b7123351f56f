/// @file
/// A moment as a date and a time of day, or one of the two alone.
///
///     KZDateTimeEx meeting(u"2024/03/29 17:00:00.000");                  // local time
///     meeting += KZDurationEx(1, KZDurationEx::week);                     // 17:00 again, whatever the clocks did
///     KZString const text = meeting.AsString(u"%Y-%m-%d %H:%M %Z", newYork);
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

/// A time word and a date word in 64 bits. With both set the value is a moment, told in UTC; a date or a time alone is
/// held as it is, without a zone. Null has neither.
///
/// Whatever makes fields of a moment, or a moment of fields, does so in a `zone`: local time unless another one is
/// asked for. That holds for FILETIME too, which most systems tell in UTC: pass `KZTimeZone::GetUTCTimeZone()` for those.
///
/// Templates have the letters of KZDateEx and KZTimeEx together, and %Z or %z, the offset from UTC as "+02:00", or "Z"
/// in UTC.
///
/// Thread safety: as an integer.
class KZ_EXPORT KZDateTimeEx {
public:
    /// Null.
    constexpr KZDateTimeEx() noexcept = default;
    /// The words as they are, so a moment in UTC.
    constexpr KZDateTimeEx(KZDateEx const & date, KZTimeEx const & time) noexcept
        : time_(time), date_(date) {}
    /// The words as `AsInt64` gives them.
    constexpr explicit KZDateTimeEx(std::integral auto packed) noexcept
        : time_(static_cast<int>(packed)), date_(static_cast<int>(static_cast<long long>(packed) >> 32)) {}
    /// From fields. Errors: throws a KZDateExceptionEx when they make no valid value.
    KZDateTimeEx(int year, unsigned int month, unsigned int day, unsigned int hour, unsigned int minute,
                 unsigned int second, unsigned int millisecond = 0,
                 KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    explicit KZDateTimeEx(KZDateAndTime const & fields,
                          KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    /// From text, as `FromString` reads. Errors: throws a KZDateExceptionEx when it can't.
    explicit KZDateTimeEx(KZString const & text, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    KZDateTimeEx(KZString const & text, KZString const & format,
                 KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    /// From other forms; null where those hold nothing.
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

    // --- Shape

    [[nodiscard]] constexpr bool HasDate() const noexcept { return !date_.IsNull(); }
    [[nodiscard]] constexpr bool HasTime() const noexcept { return !time_.IsNull(); }
    [[nodiscard]] constexpr bool IsDateAndTime() const noexcept { return HasDate() && HasTime(); }
    [[nodiscard]] constexpr bool IsOnlyDate() const noexcept { return HasDate() && !HasTime(); }
    [[nodiscard]] constexpr bool IsOnlyTime() const noexcept { return !HasDate() && HasTime(); }
    [[nodiscard]] constexpr bool IsNull() const noexcept { return !HasDate() && !HasTime(); }
    /// With a date: whether the calendar has it, the time isn't looked at. Without one: whether there is a time.
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

    [[nodiscard]] KZDateEx GetDate(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const noexcept;
    [[nodiscard]] KZTimeEx GetTime(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const noexcept;
    /// As KZDateEx tells them of that date: 0 is Sunday, and any day before 1970.
    [[nodiscard]] unsigned int
    GetWeekDay(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const noexcept;
    [[nodiscard]] unsigned int
    GetYearDay(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const noexcept;
    [[nodiscard]] unsigned int
    GetYearWeek(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const noexcept;
    /// Fills the fields that `mask` names and this value has, and the zone; `fields.mask` tells which. False for null.
    bool GetDateAndTime(KZDateAndTime & fields, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone(),
                        unsigned int mask = 255) const;
    /// Stores the fields that `fields.mask` names, by the rules of KZDateEx and KZTimeEx, and keeps the others. They are
    /// told in `fields.timeZone` when the mask has bit 128, else in `zone`. The result tells whether the value is valid.
    bool SetDateAndTime(KZDateAndTime const & fields,
                        KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());

    /// Seconds: as `KZTimeZone::GetOffset` tells them at this moment, with its two signs; the bias for a value that
    /// isn't a moment.
    [[nodiscard]] std::int32_t
    GetOffset(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const noexcept;
    /// Takes the words as a local time of `zone` and makes the moment of them, or the other way round. False, without a
    /// change, for a value that has no date or no time.
    bool ConvertToUTC(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) noexcept;
    bool ConvertFromUTCTo(KZTimeZone const & zone) noexcept;

    // --- Text

    /// The default template: with the first flag date and time with milliseconds, else by the value's shape, with
    /// milliseconds by the second flag; empty for null.
    [[nodiscard]] KZString const & GetDefaultFormat(bool all, bool withMilliseconds) const;
    /// Prints under the default template, with milliseconds, or `format`. Fields that the value hasn't are 0; null is
    /// empty. Always true.
    bool AsString(KZString & out, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    bool AsString(KZString & out, KZString const & format,
                  KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    /// Prints into `buffer`, with a terminator, until fewer than 5 of its `capacity` units are left. False when the
    /// text was cut.
    bool AsString(char16_t * buffer, std::size_t capacity, KZString const & format,
                  KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    [[nodiscard]] KZString AsString(KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    [[nodiscard]] KZString AsString(KZString const & format,
                                    KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    /// Reads `text` under `format`: "SYSDATE" is the present moment, blanks are null. The text may end early; the fields
    /// that are in it make a date, a time, or both. A field that is in the text but doesn't fit is an error, unlike in
    /// KZDateEx and KZTimeEx, which drop it. An offset that is read counts in place of `zone`; where %Z meets something
    /// else it reads nothing, and `zone` counts.
    /// Without `format` the text is one of "%Y/%m/%d %H:%M:%S.%L" or of "%H:%M:%S.%L".
    /// Errors: 9, with the text, for one that names no such value; the value is then null.
    KZErrorID FromString(KZString const & text, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    KZErrorID FromString(KZString const & text, KZString const & format,
                         KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());

    // --- Exchange. False, with the target as it was or null, where the value can't be told in that form. A date alone has
    // the time 00:00:00, a time alone the fields that KZTimeEx gives.

    bool AsStructTM(std::tm & out, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    bool AsSystemTime(KZExchange::SYSTEMTIME & out,
                      KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    bool AsFileTime(KZExchange::FILETIME & out,
                    KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    bool AsVariant(KZExchange::VARIANT & out, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    bool AsDouble(double & out, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    /// A moment is one, whatever the zone; a date or a time alone is taken in `zone`. Milliseconds are cut.
    bool AsKZDateTime(KZDateTime & out, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone()) const;
    bool FromStructTM(std::tm const & time, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    bool FromSystemTime(KZExchange::SYSTEMTIME const & time,
                        KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    bool FromFileTime(KZExchange::FILETIME const & time,
                      KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    bool FromVariant(KZExchange::VARIANT const & value,
                     KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    bool FromDouble(double days, KZTimeZone const & zone = KZTimeZone::GetLocalTimeZone());
    /// A moment is one, whatever the zone.
    bool FromKZDateTime(KZDateTime const & moment);
    bool FromKZDateTime(KZDateTime const & moment, KZTimeZone const &) { return FromKZDateTime(moment); }

    // --- Arithmetic. Null stays null.

    /// One second.
    KZDateTimeEx & operator++();
    KZDateTimeEx & operator--();
    KZDateTimeEx operator++(int);
    KZDateTimeEx operator--(int);
    /// Seconds; the number counts by its lower 32 bits.
    KZDateTimeEx & operator+=(long seconds);
    KZDateTimeEx & operator-=(long seconds);
    KZDateTimeEx & operator+=(KZDurationEx const & duration) { return AddOrSubstract(duration, true); }
    KZDateTimeEx & operator-=(KZDurationEx const & duration) { return AddOrSubstract(duration, false); }
    /// Years to days move the date as KZDateEx does, by the wall clock of the local zone. Smaller units move the moment
    /// and carry into the date; a date alone starts at 00:00:00 UTC, a time alone goes round at midnight.
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
    /// From `b` to `a`: milliseconds of two times, days of two dates, else whole seconds, which wrap round beyond 68
    /// years. The invalid duration where a value isn't valid or lies outside the years 1601 to 30827.
    friend KZ_EXPORT KZDurationEx operator-(KZDateTimeEx const & a, KZDateTimeEx const & b);

    /// By date, then by time; a date alone stands behind the moments of its day.
    friend constexpr bool operator==(KZDateTimeEx const &, KZDateTimeEx const &) noexcept = default;
    friend constexpr std::strong_ordering operator<=>(KZDateTimeEx const & a,
                                                      KZDateTimeEx const & b) noexcept {
        return a.AsInt64() <=> b.AsInt64();
    }

private:
    [[nodiscard]] KZDateTimeEx ToLocal(KZTimeZone const & zone) const noexcept;

    KZTimeEx time_;
    KZDateEx date_;
};

static_assert(sizeof(KZDateTimeEx) == 8);

/// Writes the default text in local time.
KZ_EXPORT std::wostream & operator<<(std::wostream & stream, KZDateTimeEx const & value);
/// Reads one as `FromString` does: a word, and behind a date the next word if it begins with a digit, as the time. What
/// can't be read sets failbit.
KZ_EXPORT std::wistream & operator>>(std::wistream & stream, KZDateTimeEx & value);
