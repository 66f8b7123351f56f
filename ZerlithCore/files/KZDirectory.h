/// @file
/// A directory and the names in it.
///
///     KZDirectory directory;
///     if (directory.Open(u"/usr/lib/plug-ins"))
///         for (KZString const & name : directory.GetFileNames(u"*.osx")) ...
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"

#include <vector>

/// A directory whose names can be listed by pattern. In a pattern "*" stands for any text and "?" for any one unit;
/// letters count as the system counts them in names (POSIX: case matters).
///
/// Errors: operations that give false leave the reason in the thread's last error (KZWinLastError).
///
/// Thread safety: as KZString; the static operations may be called from any thread.
class KZ_EXPORT KZDirectory {
public:
    /// Chooses the directory; false, and nothing is chosen, when there is no such directory. A trailing separator
    /// makes no difference.
    bool Open(KZString const & path);
    [[nodiscard]] bool IsOpen() const noexcept { return !path_.IsNull(); }
    [[nodiscard]] KZString const & GetPath() const noexcept { return path_; }

    /// The names, without the directory, of the files or the subdirectories that match `pattern`, sorted by unit
    /// values. Read anew by each call; empty when nothing is open, or when the directory can't be read.
    [[nodiscard]] std::vector<KZString> GetFileNames(KZString const & pattern = u"*") const;
    [[nodiscard]] std::vector<KZString> GetDirectoryNames(KZString const & pattern = u"*") const;
    /// Puts the names of files into `names`, and tells whether the directory could be read to its end.
    [[nodiscard]] bool GetFileNames(std::vector<KZString> & names, KZString const & pattern) const;

    [[nodiscard]] static bool Exists(KZString const & path);
    /// Makes the directory and those above it that are missing; one that is there already is a success.
    static bool Create(KZString const & path);
    /// Removes an empty directory.
    static bool Remove(KZString const & path);

    /// Tells whether all of `name` matches `pattern`. Cost: at most the product of their lengths.
    [[nodiscard]] static bool Matches(KZString const & name, KZString const & pattern);

private:
    KZString path_;
};
