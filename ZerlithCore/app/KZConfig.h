/// @file
/// Reading single values straight from a configuration file.
///
///     KZConfig config(u"server.ini");
///     long const port = config.GetLong(u"Server", u"port", 8080);
#pragma once

#include "ZerlithCore/app/KZConfigI.h"
#include "ZerlithCore/files/KZFileStream.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

/// A read-only configuration that keeps the file open, holds nothing of it, and scans it from the start for each
/// look-up: for programs that want a value or two, and see changes of the file at once.
///
/// It reads less strictly than KZConfigFile, and callers rely on the differences: a header must begin in the first
/// column, and what follows its "]" doesn't matter; a key ends at the first blank, tab or "="; runs of blanks and tabs
/// in a value become one blank; an empty value counts as missing; and "on" isn't true.
///
/// Thread safety: none. A look-up moves the stream, so one object serves one thread at a time.
class KZ_EXPORT KZConfig : public KZConfigI {
public:
    KZConfig();
    /// Keeps the name in any case, and opens the file if it exists.
    explicit KZConfig(KZString const & fileName);
    ~KZConfig() override;

    /// Opens another file in place of the present one. False, with an empty name and nothing open, when it doesn't
    /// exist or can't be opened.
    bool Open(KZString const & fileName);
    [[nodiscard]] bool IsOpen() const;
    [[nodiscard]] KZString const & GetFileName() const noexcept { return fileName_; }

    unsigned long AddRef() const override;
    unsigned long Release() const override;

    /// An empty value gives the default.
    [[nodiscard]] KZString const GetString(KZString const & section, KZString const & key,
                                           KZString const & defaultValue) const override;
    [[nodiscard]] long GetLong(KZString const & section, KZString const & key,
                               long defaultValue) const override;
    /// True for "1", "yes" and "true", ignoring case; false for all other values.
    [[nodiscard]] bool GetBool(KZString const & section, KZString const & key,
                               bool defaultValue) const override;

private:
    KZConfig(KZConfig const & other) = delete;
    KZConfig & operator=(KZConfig const & other) = delete;

    bool GetValue(KZString const & section, KZString const & key, KZString & value) const;

    KZCounter count_;
    KZString fileName_;
    mutable KZFileStream stream_;
    KZCriticalSection lock_; // No operation enters it.
};
