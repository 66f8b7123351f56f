/// @file
/// Reading a configuration, wherever its values come from.
///
///     KZSmartPtr<KZConfigI> config(new KZConfig(u"server.ini"));
///     long const port = config->GetLong(u"Server", u"port", 8080);
#pragma once

#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/text/KZString.h"

/// Values by section and key. Both are compared ignoring case, and the first match counts. For a missing value the caller's
/// default is returned, and that isn't an error. Errors: std::bad_alloc, and those of the implementation.
///
/// Thread safety: that of the implementation. KZConfigFile may be read from any thread, a KZConfig from one at a time.
class KZ_EXPORT KZConfigI : public KZRefCountI {
public:
    ~KZConfigI() override;

    unsigned long AddRef() const override = 0;
    unsigned long Release() const override = 0;

    /// The value as a text.
    [[nodiscard]] virtual KZString const GetString(KZString const & section, KZString const & key,
                                                   KZString const & defaultValue) const = 0;
    /// The value as `KZString::AsLong` reads it. A value that isn't a number gives 0 and not the default.
    [[nodiscard]] virtual long GetLong(KZString const & section, KZString const & key,
                                       long defaultValue) const = 0;
    /// True if the value is one of the implementation's words for true. Any other value gives false and not the default.
    [[nodiscard]] virtual bool GetBool(KZString const & section, KZString const & key,
                                       bool defaultValue) const = 0;
};
