/// @file
/// A calendar value that isn't a valid one.
#pragma once

#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/time/KZDateTimeEx.h"

/// A date and time that can't be used, and the value itself.
class KZ_EXPORT KZDateExceptionEx : public KZException {
public:
    /// The message is the value's default text in UTC.
    explicit KZDateExceptionEx(KZDateTimeEx const & dateTime);
    /// The value is null.
    explicit KZDateExceptionEx(KZString const & message);
    KZDateExceptionEx(KZDateExceptionEx const & other);
    ~KZDateExceptionEx() override;

    [[nodiscard]] KZDateTimeEx const & dateTime() const noexcept { return dateTime_; }

private:
    KZDateTimeEx dateTime_;
};
