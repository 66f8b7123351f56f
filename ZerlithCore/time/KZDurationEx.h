/// @file
/// A duration in one unit of time, such as 3 weeks or 250 milliseconds.
///
///     KZDurationEx pause(90, KZDurationEx::minute);
///     pause.ConvertTo(KZDurationEx::hour, true);            // 1 hour; with false 2 hours
///     KZString const text = pause.AsString(true);           // "1 hour"
///     KZDurationEx const read(u"36 hours", KZDurationEx::second);
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"

#include <cstdint>
#include <iosfwd>

/// A number of 32 bits and a unit. The number isn't converted to a common unit: a month stays a month.
///
/// A unit of 8 or more marks an invalid duration. The value -2147483648 is never stored: a function that would store
/// it, also as the result of a conversion or of arithmetic, throws KZDurationExceptionEx; other overflows wrap round.
/// Of a number that is passed as `long` the lower 32 bits count.
///
/// Thread safety: as an integer.
class KZ_EXPORT KZDurationEx {
public:
    /// The units, the longest first. `invalid` marks a value that is no duration.
    enum Unit : std::uint32_t { year, month, week, day, hour, minute, second, millisecond, invalid };

    /// 0 seconds.
    constexpr KZDurationEx() noexcept = default;
    constexpr explicit KZDurationEx(long value, Unit unit = second) : unit_(unit) { SetDuration(value); }
    /// `unit` is one of the names that `FromString` knows; an unknown one makes the duration invalid.
    KZDurationEx(long value, char16_t const * unit);
    KZDurationEx(long value, KZString const & unit) : KZDurationEx(value, unit.c_str()) {}
    /// Reads `text` with `FromString`.
    explicit KZDurationEx(KZString const & text, Unit unit = second) { FromString(text, unit); }

    [[nodiscard]] constexpr long GetDuration() const noexcept { return value_; }
    constexpr void SetDuration(long value) {
        auto const stored = static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
        if (stored == INT32_MIN) Throw();
        value_ = stored;
    }
    [[nodiscard]] constexpr Unit GetUnit() const noexcept { return unit_; }
    /// Changes the unit and keeps the number.
    constexpr void SetUnit(Unit unit) noexcept { unit_ = unit; }
    [[nodiscard]] constexpr bool IsValid() const noexcept { return unit_ < invalid; }

    /// The unit in the lower and the value in the upper 32 bits.
    [[nodiscard]] constexpr std::int64_t AsInt64() const noexcept {
        return static_cast<std::int64_t>(std::uint64_t{static_cast<std::uint32_t>(value_)} << 32 | unit_);
    }
    constexpr void FromInt64(std::int64_t packed) {
        unit_ = static_cast<Unit>(static_cast<std::uint32_t>(packed));
        SetDuration(static_cast<long>(packed >> 32));
    }

    /// A year counts 365 days and a month 30; for an invalid duration the number alone is returned.
    [[nodiscard]] constexpr long long AsMilliSeconds() const noexcept;
    /// `AsMilliSeconds` as whole seconds, rounded towards 0.
    [[nodiscard]] constexpr KZDuration AsKZDuration() const noexcept {
        return static_cast<KZDuration>(static_cast<std::uint32_t>(AsMilliSeconds() / 1000));
    }

    /// Converts to `unit`. A conversion to a larger unit divides: with `truncate` it rounds towards 0, otherwise a
    /// remainder above 0 adds one. A year has 12 months, 52 weeks or 365 days; a month 4 weeks or 30 days.
    ///
    /// There is no conversion between millisecond and year or month: the unit is set, the number is kept, and the
    /// result is false. From an invalid unit the result is false and nothing changes. A value of 0, or a `unit` that is
    /// invalid, gives 0 of `unit` and true.
    constexpr bool ConvertTo(Unit unit, bool truncate);
    [[nodiscard]] constexpr KZDurationEx As(Unit unit, bool truncate = true) const {
        KZDurationEx result = *this;
        result.ConvertTo(unit, truncate);
        return result;
    }
    /// Converts to the largest unit in which the number is whole, from milliseconds up to weeks and from months to
    /// years.
    constexpr void Normalize();

    /// True for the same amount, even in another unit. False for invalid durations.
    [[nodiscard]] constexpr bool IsEquivalent(KZDurationEx const & other) const noexcept;

    /// Reads a number followed by a unit: a name, "year" to "millisecond" with or without "s", or one of "y", "mo",
    /// "w", "d", "h", "m", "s", "ms"; without a name the unit is `unit`. Any other text makes the duration invalid, and
    /// the result is false.
    bool FromString(KZString const & text, Unit unit = second);
    /// "3w", or "3 weeks" when `longForm`; "0" for 0, an empty text for an invalid duration.
    [[nodiscard]] KZString AsString(bool longForm = false) const;

    /// Converts this duration to the unit of `other` if that is smaller, then adds the number of `other`, which isn't
    /// converted: 1 day + 1 hour is 25 hours, but 1 hour + 1 day is 2 hours. Callers rely on it. A left side of 0
    /// becomes `other`; an invalid `other`, or one of 0, changes nothing.
    constexpr KZDurationEx & operator+=(KZDurationEx const & other) { return Accumulate(other, false); }
    constexpr KZDurationEx & operator-=(KZDurationEx const & other) { return Accumulate(other, true); }
    constexpr KZDurationEx & operator*=(long factor);
    /// Errors: throws KZDurationExceptionEx for a `divisor` of 0.
    constexpr KZDurationEx & operator/=(long divisor);
    constexpr KZDurationEx & operator++() { return Store(std::int64_t{value_} + 1); }
    constexpr KZDurationEx & operator--() { return Store(std::int64_t{value_} - 1); }
    constexpr KZDurationEx operator++(int);
    constexpr KZDurationEx operator--(int);

    friend constexpr KZDurationEx operator+(KZDurationEx a, KZDurationEx const & b) { return a += b; }
    friend constexpr KZDurationEx operator-(KZDurationEx a, KZDurationEx const & b) { return a -= b; }
    friend constexpr KZDurationEx operator*(KZDurationEx a, long factor) { return a *= factor; }
    friend constexpr KZDurationEx operator/(KZDurationEx a, long divisor) { return a /= divisor; }

    /// True for the same number of the same unit; `IsEquivalent` compares the amounts.
    friend constexpr bool operator==(KZDurationEx const &, KZDurationEx const &) noexcept = default;
    /// Compares the amounts; false for invalid durations.
    friend constexpr bool operator<(KZDurationEx const & a, KZDurationEx const & b) noexcept {
        return a.Relate(b) == Relation::Less;
    }
    friend constexpr bool operator>(KZDurationEx const & a, KZDurationEx const & b) noexcept { return b < a; }
    friend constexpr bool operator<=(KZDurationEx const & a, KZDurationEx const & b) noexcept {
        return a < b || a.IsEquivalent(b);
    }
    friend constexpr bool operator>=(KZDurationEx const & a, KZDurationEx const & b) noexcept {
        return b <= a;
    }

private:
    enum class Relation : std::uint8_t { Less, Equivalent, Greater, None };

    /// factors[from][to]: a positive number is the factor, -1 means to divide by factors[to][from], 0 means that
    /// there is no conversion.
    static constexpr std::int32_t factors[8][8] = {
        {1, 12, 52, 365, 8760, 525600, 31536000, 0},
        {-1, 1, 4, 30, 720, 43200, 2592000, 0},
        {-1, -1, 1, 7, 168, 10080, 604800, 604800000},
        {-1, -1, -1, 1, 24, 1440, 86400, 86400000},
        {-1, -1, -1, -1, 1, 60, 3600, 3600000},
        {-1, -1, -1, -1, -1, 1, 60, 60000},
        {-1, -1, -1, -1, -1, -1, 1, 1000},
        {-1, -1, -1, -1, -1, -1, -1, 1},
    };

    [[noreturn]] void Throw() const;
    constexpr KZDurationEx & Store(std::int64_t value) {
        SetDuration(static_cast<long>(static_cast<std::uint32_t>(value)));
        return *this;
    }
    constexpr KZDurationEx & Accumulate(KZDurationEx const & other, bool subtract);
    constexpr Relation Relate(KZDurationEx const & other) const noexcept;

    Unit unit_ = second;
    std::int32_t value_ = 0;
};

static_assert(sizeof(KZDurationEx) == 8);

/// Writes the short form.
KZ_EXPORT std::wostream & operator<<(std::wostream & stream, KZDurationEx const & duration);
/// Reads a word as `FromString` does; sets failbit if that fails.
KZ_EXPORT std::wistream & operator>>(std::wistream & stream, KZDurationEx & duration);

// --- Definitions that may also run in constant expressions

constexpr long long KZDurationEx::AsMilliSeconds() const noexcept {
    constexpr long long lengths[] = {31536000000, 2592000000, 604800000, 86400000, 3600000, 60000, 1000};
    return unit_ < millisecond ? value_ * lengths[unit_] : value_;
}

constexpr bool KZDurationEx::ConvertTo(Unit unit, bool truncate) {
    if (unit == unit_) return true;
    if (unit >= invalid || value_ == 0) {
        unit_ = unit;
        value_ = 0;
        return true;
    }
    if (!IsValid()) return false;
    std::int32_t const factor = factors[unit_][unit];
    std::int32_t const divisor = factors[unit][unit_];
    unit_ = unit;
    if (factor > 0) {
        Store(std::int64_t{value_} * factor);
    } else if (factor < 0 && divisor > 0) {
        bool const roundUp = !truncate && value_ % divisor > 0;
        Store(value_ / divisor + (roundUp ? 1 : 0));
    } else {
        return false;
    }
    return true;
}

constexpr void KZDurationEx::Normalize() {
    struct Step {
        Unit from;
        Unit to;
        std::int32_t divisor;
    };
    constexpr Step steps[] = {{millisecond, second, 1000},
                              {second, minute, 60},
                              {minute, hour, 60},
                              {hour, day, 24},
                              {day, week, 7},
                              {month, year, 12}};
    if (value_ == 0) return;
    for (Step const & step : steps)
        if (unit_ == step.from && value_ % step.divisor == 0) {
            value_ /= step.divisor;
            unit_ = step.to;
        }
}

constexpr bool KZDurationEx::IsEquivalent(KZDurationEx const & other) const noexcept {
    return Relate(other) == Relation::Equivalent;
}

constexpr KZDurationEx & KZDurationEx::operator*=(long factor) {
    return Store(std::int64_t{value_} * static_cast<std::int32_t>(factor));
}

constexpr KZDurationEx & KZDurationEx::operator/=(long divisor) {
    auto const by = static_cast<std::int32_t>(divisor);
    if (by == 0) Throw();
    return Store(std::int64_t{value_} / by);
}

constexpr KZDurationEx KZDurationEx::operator++(int) {
    KZDurationEx const before = *this;
    ++*this;
    return before;
}

constexpr KZDurationEx KZDurationEx::operator--(int) {
    KZDurationEx const before = *this;
    --*this;
    return before;
}

constexpr KZDurationEx & KZDurationEx::Accumulate(KZDurationEx const & other, bool subtract) {
    if (!other.IsValid() || other.value_ == 0) return *this;
    std::int64_t const change = subtract ? -std::int64_t{other.value_} : other.value_;
    if (value_ == 0) {
        unit_ = other.unit_;
        return Store(change);
    }
    if (unit_ < other.unit_) ConvertTo(other.unit_, true);
    return Store(value_ + change);
}

// Computes in 64 bits, so that a comparison never overflows. Between millisecond and year or month there is no factor.
constexpr KZDurationEx::Relation KZDurationEx::Relate(KZDurationEx const & other) const noexcept {
    if (!IsValid() || !other.IsValid()) return Relation::None;
    std::int64_t left = value_;
    std::int64_t right = other.value_;
    if (unit_ != other.unit_ && left != 0 && right != 0) {
        std::int32_t const factor =
            unit_ < other.unit_ ? factors[unit_][other.unit_] : factors[other.unit_][unit_];
        if (factor == 0) {
            left = AsMilliSeconds();
            right = other.AsMilliSeconds();
        } else {
            (unit_ < other.unit_ ? left : right) *= factor;
        }
    }
    if (left == right) return Relation::Equivalent;
    return left < right ? Relation::Less : Relation::Greater;
}

/// Of the number and the unit, as `==` compares: equivalent durations of different units have different hashes.
template <>
struct std::hash<KZDurationEx> {
    std::size_t operator()(KZDurationEx const & value) const noexcept {
        return std::hash<std::int64_t>()(std::int64_t{value.GetDuration()} * 16 + value.GetUnit());
    }
};
