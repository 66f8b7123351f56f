/// @file
/// The exception for a moment that an operation can't use.
///
///     try {
///         KZTimeZone::GetLocalTimeZone().GetOffset(KZDateTime());        // a null moment
///     } catch (KZDateException const & error) {
///         std::cerr << error.what() << '\n';
///     }
#pragma once

#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/time/KZDateTime.h"

/// A moment that can't be used.
///
/// Thread safety: as KZException.
class KZ_EXPORT KZDateException : public KZException {
public:
    /// The message is the default text of `dateTime` in the local zone.
    explicit KZDateException(KZDateTime const & dateTime);
    /// An exception with this message and a null moment.
    explicit KZDateException(KZString const & message);
    KZDateException(KZDateException const & other);
    ~KZDateException() override;

    /// The moment that can't be used.
    [[nodiscard]] KZDateTime const & dateTime() const noexcept { return dateTime_; }

private:
    KZDateTime dateTime_;
};
