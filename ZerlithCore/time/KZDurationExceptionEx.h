/// @file
/// A duration that can't be held or used.
#pragma once

#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/time/KZDurationEx.h"

/// An operation on a duration that failed, and the duration.
class KZ_EXPORT KZDurationExceptionEx : public KZException {
public:
    /// The message is the duration's long text.
    explicit KZDurationExceptionEx(KZDurationEx const & duration);
    /// The duration is 0 seconds.
    explicit KZDurationExceptionEx(KZString const & message);
    KZDurationExceptionEx(KZDurationExceptionEx const & other);
    ~KZDurationExceptionEx() override;

    [[nodiscard]] KZDurationEx const & GetDuration() const noexcept { return duration_; }

private:
    KZDurationEx duration_;
};
