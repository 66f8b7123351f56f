/// @file
/// A time of day, without a date.
///
///     KZTimeEx time(23, 59, 30, 0);
///     time += KZDurationEx(90, KZDurationEx::second);          // 00:01:00: goes on after midnight
///     KZString const text = time.AsString(u"%H.%M");           // "00.01"
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/time/KZDurationEx.h"
#include "ZerlithCore/time/KZExchangeTypes.h"
#include "ZerlithCore/time/detail/CalendarDays.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <iosfwd>
#include <string_view> // std::hash

class KZDateTime;
class KZTimeZone;
struct KZDateAndTime;

/// Milliseconds since midnight in 32 bits. A negative number is the null time. A time that is stored as 24:00:00 or
/// later becomes null: callers rely on it.
///
/// Templates: %H is the hour, %M the minute, %S the second, all with two digits, %L the millisecond with three; any
/// other letter stands for itself. In reading a field is a number; text between the fields is skipped and not compared
/// with the template. A field that is followed by another character than in the template is dropped.
///
/// Errors: functions with a text throw std::bad_alloc; those that need the local zone throw what
/// `KZTimeZone::GetLocalTimeZone` throws.
///
/// Thread safety: as an integer.
class KZ_EXPORT KZTimeEx {
public:
    /// "%H:%M:%S.%L", or "%H:%M:%S" without milliseconds.
    static KZString const & GetDefaultFormat(bool withMilliseconds = true);

    /// The null time.
    constexpr KZTimeEx() noexcept = default;
    /// Stores the fields as `SetTime` does.
    constexpr KZTimeEx(unsigned int hour, unsigned int minute, unsigned int second,
                       unsigned int millisecond = 0) noexcept {
        SetTime(hour, minute, second, millisecond);
    }
    /// Milliseconds since midnight.
    constexpr explicit KZTimeEx(int milliseconds) noexcept { FromInt(milliseconds); }
    /// From other forms; null if these hold no time. Dates are dropped; of a KZDateTime the local time is taken.
    explicit KZTimeEx(KZDateAndTime const & fields) { SetDateAndTime(fields); }
    explicit KZTimeEx(std::tm const & time) { FromStructTM(time); }
    explicit KZTimeEx(KZExchange::SYSTEMTIME const & time) { FromSystemTime(time); }
    explicit KZTimeEx(KZExchange::FILETIME const & time) { FromFileTime(time); }
    explicit KZTimeEx(KZExchange::VARIANT const & value) { FromVariant(value); }
    explicit KZTimeEx(double days) { FromDouble(days); }
    explicit KZTimeEx(KZDateTime const & moment) { FromKZDateTime(moment, true); }
    explicit KZTimeEx(KZString const & text) { FromString(text); }
    KZTimeEx(KZString const & text, KZString const & format) { FromString(text, format); }

    /// Now, in local time or UTC.
    [[nodiscard]] static KZTimeEx GetTheCurrentTime(bool local = true);

    // --- Fields

    /// Stores the sum of the fields, which may be of any size: 90 minutes are 01:30.
    constexpr void SetTime(unsigned int hour, unsigned int minute, unsigned int second,
                           unsigned int millisecond) noexcept {
        Store((std::int64_t{hour} * 60 + minute) * 60000 + std::int64_t{second} * 1000 + millisecond);
    }
    /// The fields; all are 0 for the null time.
    [[nodiscard]] constexpr unsigned int GetHour() const noexcept { return Count() / 3600000; }
    [[nodiscard]] constexpr unsigned int GetMinute() const noexcept { return Count() / 60000 % 60; }
    [[nodiscard]] constexpr unsigned int GetSecond() const noexcept { return Count() / 1000 % 60; }
    [[nodiscard]] constexpr unsigned int GetMillisecond() const noexcept { return Count() % 1000; }

    /// Fills the time fields that `mask` names, and sets `fields.mask` to them. Returns false for a null time.
    bool GetDateAndTime(KZDateAndTime & fields, unsigned int mask = 120) const;
    /// Stores the time fields that `fields.mask` names: their sum when it names all four. For a single minute or second
    /// the old number is subtracted as milliseconds and the new one is added in full, so that 10:30 with the minute 40
    /// becomes 11:09:59.970: callers rely on it. Returns whether the time is valid afterwards.
    bool SetDateAndTime(KZDateAndTime const & fields);

    [[nodiscard]] constexpr bool IsNull() const noexcept { return milliseconds_ < 0; }
    constexpr void SetNull() noexcept { milliseconds_ = -1; }
    [[nodiscard]] constexpr bool IsValid() const noexcept { return !IsNull(); }
    /// The time in milliseconds, or in whole seconds, since midnight; -1 for null.
    [[nodiscard]] constexpr int AsMilliseconds() const noexcept { return milliseconds_; }
    [[nodiscard]] constexpr int AsSeconds() const noexcept { return IsNull() ? -1 : milliseconds_ / 1000; }
    [[nodiscard]] constexpr int AsInt() const noexcept { return milliseconds_; }
    [[nodiscard]] constexpr unsigned int AsUInt() const noexcept {
        return static_cast<unsigned int>(milliseconds_);
    }
    constexpr void FromInt(int milliseconds) noexcept { Store(milliseconds); }

    // --- Text

    /// Prints by the default template, with milliseconds, or by `format`; a null time gives an empty text. Always
    /// returns true.
    bool AsString(KZString & out) const;
    bool AsString(KZString & out, KZString const & format) const;
    /// Prints into `buffer`, with a terminator, until fewer than 5 of its `capacity` units are left. Returns false when
    /// the text was cut.
    bool AsString(char16_t * buffer, std::size_t capacity, KZString const & format) const;
    [[nodiscard]] KZString AsString() const;
    [[nodiscard]] KZString AsString(KZString const & format) const;
    /// Reads `text`: a time, "SYSTIME" for now in local time, or blanks for null. When no field could be read, or an
    /// hour is above 23, a minute or second above 59, or a millisecond above 999, the time becomes null and the result
    /// is false.
    bool FromString(KZString const & text);
    bool FromString(KZString const & text, KZString const & format);

    // --- Exchange. Each function returns false if the value can't be converted; a record is then unchanged, a time
    // null. The date fields of a SYSTEMTIME and a tm become 0; FILETIME, VARIANT and double get the day from which they
    // count, a KZDateTime 1970-01-01.

    bool AsStructTM(std::tm & out) const;
    bool AsSystemTime(KZExchange::SYSTEMTIME & out) const;
    bool AsFileTime(KZExchange::FILETIME & out) const;
    bool AsVariant(KZExchange::VARIANT & out) const;
    bool AsDouble(double & out) const;
    bool AsKZDateTime(KZDateTime & out, KZTimeZone const & zone) const;
    bool FromStructTM(std::tm const & time);
    bool FromSystemTime(KZExchange::SYSTEMTIME const & time);
    bool FromFileTime(KZExchange::FILETIME const & time);
    bool FromVariant(KZExchange::VARIANT const & value);
    bool FromDouble(double days);
    /// The time of day of `moment`, in local time or UTC.
    bool FromKZDateTime(KZDateTime const & moment, bool local = true);

    // --- Arithmetic. After 23:59:59.999 comes 00:00:00. A null time stays null.

    constexpr KZTimeEx & operator++() noexcept { return *this += 1; }
    constexpr KZTimeEx & operator--() noexcept { return *this -= 1; }
    constexpr KZTimeEx operator++(int) noexcept;
    constexpr KZTimeEx operator--(int) noexcept;
    /// Adds, or subtracts, seconds; the lower 32 bits of the number count.
    constexpr KZTimeEx & operator+=(long seconds) noexcept {
        Move(std::int64_t{static_cast<std::int32_t>(seconds)} * 1000);
        return *this;
    }
    constexpr KZTimeEx & operator-=(long seconds) noexcept {
        Move(std::int64_t{static_cast<std::int32_t>(seconds)} * -1000);
        return *this;
    }
    constexpr KZTimeEx & operator+=(KZDurationEx const & duration) noexcept {
        return AddOrSubstract(duration, true);
    }
    constexpr KZTimeEx & operator-=(KZDurationEx const & duration) noexcept {
        return AddOrSubstract(duration, false);
    }
    /// Moves by a duration of hours or smaller units; larger ones change nothing.
    constexpr KZTimeEx & AddOrSubstract(KZDurationEx const & duration, bool add) noexcept {
        AddOrSubstractAux(duration, add);
        return *this;
    }
    /// The same, and returns the number of midnights that were passed, negative when going back.
    constexpr long AddOrSubstractAux(KZDurationEx const & duration, bool add) noexcept;

    friend constexpr KZTimeEx operator+(KZTimeEx time, long seconds) noexcept { return time += seconds; }
    friend constexpr KZTimeEx operator-(KZTimeEx time, long seconds) noexcept { return time -= seconds; }
    friend constexpr KZTimeEx operator+(KZTimeEx time, KZDurationEx const & duration) noexcept {
        return time += duration;
    }
    friend constexpr KZTimeEx operator+(KZDurationEx const & duration, KZTimeEx time) noexcept {
        return time += duration;
    }
    friend constexpr KZTimeEx operator-(KZTimeEx time, KZDurationEx const & duration) noexcept {
        return time -= duration;
    }
    /// Milliseconds from `b` to `a`; the invalid duration when one is null.
    friend constexpr KZDurationEx operator-(KZTimeEx const & a, KZTimeEx const & b) {
        if (a.IsNull() || b.IsNull()) return KZDurationEx(0, KZDurationEx::invalid);
        return KZDurationEx(a.milliseconds_ - b.milliseconds_, KZDurationEx::millisecond);
    }

    /// The order of time; null comes first.
    friend constexpr auto operator<=>(KZTimeEx const &, KZTimeEx const &) noexcept = default;

private:
    [[nodiscard]] constexpr unsigned int Count() const noexcept {
        return IsNull() ? 0 : static_cast<unsigned int>(milliseconds_);
    }
    constexpr void Store(std::int64_t milliseconds) noexcept {
        bool const fits = milliseconds >= 0 && milliseconds < KZDetail::millisecondsOfDay;
        milliseconds_ = fits ? static_cast<std::int32_t>(milliseconds) : -1;
    }
    constexpr long Move(std::int64_t milliseconds) noexcept;

    std::int32_t milliseconds_ = -1;
};

static_assert(sizeof(KZTimeEx) == 4);

/// Writes the default text.
KZ_EXPORT std::wostream & operator<<(std::wostream & stream, KZTimeEx const & time);
/// Reads a word as `FromString` does; sets failbit if that fails.
KZ_EXPORT std::wistream & operator>>(std::wistream & stream, KZTimeEx & time);

// --- Definitions that may also run in constant expressions

constexpr KZTimeEx KZTimeEx::operator++(int) noexcept {
    KZTimeEx const before = *this;
    ++*this;
    return before;
}

constexpr KZTimeEx KZTimeEx::operator--(int) noexcept {
    KZTimeEx const before = *this;
    --*this;
    return before;
}

constexpr long KZTimeEx::AddOrSubstractAux(KZDurationEx const & duration, bool add) noexcept {
    KZDurationEx::Unit const unit = duration.GetUnit();
    if (unit < KZDurationEx::hour || unit > KZDurationEx::millisecond) return 0;
    return Move(add ? duration.AsMilliSeconds() : -duration.AsMilliSeconds());
}

constexpr long KZTimeEx::Move(std::int64_t milliseconds) noexcept {
    if (IsNull()) return 0;
    std::int64_t const total = milliseconds_ + milliseconds;
    std::int64_t const days = KZDetail::FloorDivide(total, KZDetail::millisecondsOfDay);
    milliseconds_ = static_cast<std::int32_t>(total - days * KZDetail::millisecondsOfDay);
    return static_cast<long>(days);
}

template <>
struct std::hash<KZTimeEx> {
    std::size_t operator()(KZTimeEx const & value) const noexcept { return std::hash<int>()(value.AsInt()); }
};
