/// @file
/// Reading a configuration, whatever stands behind it.
#pragma once

#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/text/KZString.h"

/// Values by section and key. Both are compared ignoring case, and the first match wins; what is missing gives the
/// default of the caller and is never an error.
class KZ_EXPORT KZConfigI : public KZRefCountI {
public:
    ~KZConfigI() override;

    unsigned long AddRef() const override = 0;
    unsigned long Release() const override = 0;

    [[nodiscard]] virtual KZString const GetString(KZString const & section, KZString const & key,
                                                   KZString const & defaultValue) const = 0;
    /// A value that is no number counts as `KZString::AsLong` reads it: as 0, not as the default.
    [[nodiscard]] virtual long GetLong(KZString const & section, KZString const & key,
                                       long defaultValue) const = 0;
    /// A value that isn't one of the reader's words for true is false, not the default.
    [[nodiscard]] virtual bool GetBool(KZString const & section, KZString const & key,
                                       bool defaultValue) const = 0;
};
