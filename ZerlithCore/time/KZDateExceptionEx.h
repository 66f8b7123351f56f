/// @file
/// The exception for a date and time that an operation can't use.
///
///     try {
///         KZDateTimeEx const moment(2024, 2, 30, 12, 0, 0);      // there is no such day
///     } catch (KZDateExceptionEx const & error) {
///         std::cerr << error.what() << '\n';
///     }
#pragma once

#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/time/KZDateTimeEx.h"

/// A date and time that can't be used.
///
/// Thread safety: as KZException.
class KZ_EXPORT KZDateExceptionEx : public KZException {
public:
    /// The message is the default text of `dateTime` in UTC.
    explicit KZDateExceptionEx(KZDateTimeEx const & dateTime);
    /// An exception with this message and a null value.
    explicit KZDateExceptionEx(KZString const & message);
    KZDateExceptionEx(KZDateExceptionEx const & other);
    ~KZDateExceptionEx() override;

    /// The value that can't be used.
    [[nodiscard]] KZDateTimeEx const & dateTime() const noexcept { return dateTime_; }

private:
    KZDateTimeEx dateTime_;
};
