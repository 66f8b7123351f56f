/// @file
/// The exception for a duration that can't be stored or used.
///
///     try {
///         KZDurationEx const part = KZDurationEx(1, KZDurationEx::hour) / 0;
///     } catch (KZDurationExceptionEx const & error) {
///         std::cerr << error.what() << '\n';      // 1 hour
///     }
#pragma once

#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/time/KZDurationEx.h"

/// An operation on a duration that failed.
///
/// Thread safety: as KZException.
class KZ_EXPORT KZDurationExceptionEx : public KZException {
public:
    /// The message is the long text of `duration`.
    explicit KZDurationExceptionEx(KZDurationEx const & duration);
    /// An exception with this message and a duration of 0 seconds.
    explicit KZDurationExceptionEx(KZString const & message);
    KZDurationExceptionEx(KZDurationExceptionEx const & other);
    ~KZDurationExceptionEx() override;

    /// The duration that can't be used.
    [[nodiscard]] KZDurationEx const & GetDuration() const noexcept { return duration_; }

private:
    KZDurationEx duration_;
};
