/// @file
/// An operation on a moment that isn't a valid one.
#pragma once

#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/time/KZDateTime.h"

/// A date that can't be used, and the date itself.
class KZ_EXPORT KZDateException : public KZException {
public:
    /// The message is the date's default text in the local zone.
    explicit KZDateException(KZDateTime const & dateTime);
    /// The date is null.
    explicit KZDateException(KZString const & message);
    KZDateException(KZDateException const & other);
    ~KZDateException() override;

    [[nodiscard]] KZDateTime const & dateTime() const noexcept { return dateTime_; }

private:
    KZDateTime dateTime_;
};
