/// @file
/// A directory and the names in it.
///
///     KZDirectory directory;
///     if (directory.Open(u"/usr/lib/plug-ins"))
///         for (KZString const & name : directory.GetFileNames(u"*.osx")) KZGetConsole() << name << std::endl;
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"

#include <vector>

/// A directory whose names can be listed by pattern. In a pattern "*" stands for any text, also none, and "?" for any one unit.
/// On POSIX systems upper and lower case differ.
///
/// Errors: operations that return false leave the reason in the thread's last error (KZWinLastError).
///
/// Thread safety: as KZString; the static operations may be called from any thread.
class KZ_EXPORT KZDirectory {
public:
    /// Chooses the directory. False if there is no such directory; then none is chosen. A trailing separator makes no
    /// difference.
    bool Open(KZString const & path);
    [[nodiscard]] bool IsOpen() const noexcept { return !path_.IsNull(); }
    [[nodiscard]] KZString const & GetPath() const noexcept { return path_; }

    /// The names, without the directory, of the files or of the subdirectories that match `pattern`, sorted by unit values.
    /// Each call reads the directory again. Empty when no directory is chosen or when it can't be read.
    [[nodiscard]] std::vector<KZString> GetFileNames(KZString const & pattern = u"*") const;
    [[nodiscard]] std::vector<KZString> GetDirectoryNames(KZString const & pattern = u"*") const;
    /// Replaces `names` by the names of the matching files. False if the directory couldn't be read to its end; `names` is then
    /// empty.
    [[nodiscard]] bool GetFileNames(std::vector<KZString> & names, KZString const & pattern) const;

    /// Tells whether there is a directory at `path`.
    [[nodiscard]] static bool Exists(KZString const & path);
    /// Makes the directory and the missing ones above it. True also if it exists already.
    static bool Create(KZString const & path);
    /// Removes an empty directory.
    static bool Remove(KZString const & path);

    /// Tells whether the whole of `name` matches `pattern`. Cost: at most the product of their lengths.
    [[nodiscard]] static bool Matches(KZString const & name, KZString const & pattern);

private:
    KZString path_;
};
