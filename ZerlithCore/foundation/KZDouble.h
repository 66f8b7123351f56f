/// @file
/// A floating-point number that can round tiny values to zero.
///
///     KZDouble::zeroValueOnAssign = true;
///     KZDouble rest = 0.1 + 0.2 - 0.3;      // 0.0
#pragma once

#include "ZerlithCore/KZExport.h"

/// A double. While `zeroValueOnAssign` is set, a stored value whose absolute value is below `thePrecision` is 0.0; each
/// construction, copy and assignment stores. Moving into a new object, as containers do, takes the value as it is.
///
/// Thread safety: as a double; set the two settings before other threads start.
class KZ_EXPORT KZDouble {
public:
    KZDouble() noexcept = default;
    KZDouble(double value) noexcept : value_(Stored(value)) {}
    KZDouble(KZDouble const & other) noexcept : value_(Stored(other.value_)) {}
    KZDouble(KZDouble &&) noexcept = default;
    KZDouble & operator=(double value) noexcept {
        value_ = Stored(value);
        return *this;
    }
    KZDouble & operator=(KZDouble const & other) noexcept {
        value_ = Stored(other.value_);
        return *this;
    }

    operator double() const noexcept { return value_; }

    /// Whether tiny values become 0.0; false at first.
    static bool zeroValueOnAssign;
    /// The absolute value from which a value is kept; 1e-9 at first.
    static double thePrecision;

private:
    static double Stored(double value) noexcept {
        return zeroValueOnAssign && value < thePrecision && value > -thePrecision ? 0.0 : value;
    }

    double value_ = 0.0;
};
