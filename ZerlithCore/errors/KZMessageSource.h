/// @file
/// Where the texts of codes come from: tables of a module, or a map in memory.
#pragma once

#include "ZerlithCore/errors/KZErrorID.h"

#include <cstdarg>
#include <map>
#include <vector>

/// Turns a code into text in a language, and an error into its finished text.
///
/// A source lives as long as anybody holds it; errors do.
class KZ_EXPORT KZMessageSource : public KZRefCountI {
public:
    ~KZMessageSource() override;

    unsigned long AddRef() const override = 0;
    unsigned long Release() const override = 0;
    /// Puts the finished text of `error`, in the language of `context`, into `out`. A null `error` leaves `out` alone.
    virtual KZErrorID AsString(KZString & out, KZSmartPtrToConst<KZErrorI> const & error,
                               KZFormatContext const & context) const = 0;
    /// Puts the text of `code` into `out`, expanded printf-style by `arguments` (as `KZString::Format` does).
    virtual KZErrorID GetText(KZString & out, long code, KZFormatContext const & context,
                              std::va_list * arguments) const = 0;
    /// Puts the text of `code` into `out` as it stands.
    virtual KZErrorID GetText(KZString & out, long code, KZFormatContext const & context) const = 0;
    virtual bool IsValid() const = 0;
    virtual char16_t const * GetDefaultLanguage() const = 0;
    virtual KZErrorID GetAvailableLanguages(std::vector<KZString> & out) const = 0;
};
