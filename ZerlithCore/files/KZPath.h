/// @file
/// A path, taken apart and put together.
///
///     KZPath path(u"lib/plug-in.osx");
///     path.GetFileName();                // "plug-in.osx"
///     path.SetExtension(u"lst");
///     path.MakeComplete();               // "/home/me/lib/plug-in.lst"
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"

/// The text of a path: a directory and a file name, the latter a base name and an extension.
///
/// Nothing need exist under the path, and no system is asked except where that is said. Parts are told apart at the
/// separators of the system. The directory "a" of "a/b" has no trailing separator; only a root, "/", keeps its own.
/// An extension is what follows the last point of the file name, unless the name starts with that point.
///
/// Thread safety: as KZString.
class KZ_EXPORT KZPath {
public:
    /// What the system puts between the parts of a path.
    static char16_t const & Separator;

    KZPath() = default;
    KZPath(KZString const & path) : path_(path) {}
    KZPath(char16_t const * path) : path_(path) {}
    KZPath(KZString const & directory, KZString const & fileName) : path_(Join(directory, fileName)) {}

    /// The two with one separator between them; `name` itself when `directory` is empty or `name` starts at a root.
    [[nodiscard]] static KZString Join(KZString const & directory, KZString const & name);

    [[nodiscard]] KZString const & AsString() const noexcept { return path_; }
    /// What stands in front of the file name; empty when there is nothing.
    [[nodiscard]] KZString GetDirectory() const;
    /// What stands behind the last separator, extension included.
    [[nodiscard]] KZString GetFileName() const;
    /// The file name without extension and point.
    [[nodiscard]] KZString GetBaseName() const;
    /// The extension without its point; empty when there is none.
    [[nodiscard]] KZString GetExtension() const;
    /// True for a path from a root.
    [[nodiscard]] bool IsComplete() const;

    /// Puts the file name under another directory; an empty one leaves the bare name.
    KZPath & SetDirectory(KZString const & directory);
    KZPath & SetFileName(KZString const & fileName);
    /// Replaces the extension, or adds one; given with or without a point, and empty to take it away.
    KZPath & SetExtension(KZString const & extension);

    /// Makes the path start at a root: relative paths are meant from `base`, which is meant from the current
    /// directory. "." and ".." go, links are not followed.
    KZPath & MakeComplete(KZString const & base = KZString());

    friend bool operator==(KZPath const & a, KZPath const & b) { return a.path_ == b.path_; }

private:
    KZString path_;
};
