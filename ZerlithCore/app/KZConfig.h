/// @file
/// Reading single values straight from a configuration file.
///
///     KZConfig config(u"server.ini");
///     long const port = config.GetLong(u"Server", u"port", 8080);
#pragma once

#include "ZerlithCore/app/KZConfigI.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <memory>

namespace KZDetail {
class UnitFile;
}

/// A read-only configuration that keeps the file open and reads it from the start for each look-up. Use it for one or two
/// values, or to see changes of the file at once.
///
/// It reads differently from KZConfigFile, and callers rely on the differences: a header must begin in the first
/// column, and text after its "]" is ignored; a key ends at the first blank, tab or "="; runs of blanks and tabs
/// in a value become one blank; an empty value counts as missing; and "on" isn't true.
///
/// Errors: a look-up throws std::ios_base::failure when the system can't read the file, and std::bad_alloc. Without an open file
/// it returns the default.
///
/// Thread safety: a look-up moves the file's position, so one object is for one thread at a time.
class KZ_EXPORT KZConfig : public KZCounted<KZConfig, KZConfigI> {
public:
    /// Has no file: every look-up returns the default.
    KZConfig();
    /// Opens the file if it exists, and keeps the name whether it exists or not.
    explicit KZConfig(KZString const & fileName);
    ~KZConfig() override;

    /// Closes the present file and opens another one. False when that doesn't exist or can't be opened; then no file is open and
    /// the name is empty.
    bool Open(KZString const & fileName);
    [[nodiscard]] bool IsOpen() const;
    [[nodiscard]] KZString const & GetFileName() const noexcept { return fileName_; }

    /// The value; the default if it is missing or empty.
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

    KZString fileName_;
    std::unique_ptr<KZDetail::UnitFile> file_; // null without a file
    KZCriticalSection lock_;                   // not used by any operation
};
