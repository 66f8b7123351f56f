/// @file
/// The parts of a path, to be read and replaced.
///
///     KZPath path(u"lib/plug-in.osx");
///     KZString const name = path.GetFileName(); // "plug-in.osx"
///     path.SetExtension(u"lst");
///     path.MakeComplete();                      // "/home/me/lib/plug-in.lst"
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"

/// The text of a path. A path consists of a directory and a file name; a file name consists of a base name and an extension.
///
/// All operations work on the text only, and nothing need exist at the path; only `MakeComplete` asks the system. Parts are
/// separated by the system's separators. The directory of "a/b" is "a", without a trailing separator; only a root, "/", has
/// one. The extension is what follows the last point of the file name, unless the name starts with that point.
///
/// Errors: std::bad_alloc, and the path is as it was. Thread safety: as KZString.
class KZ_EXPORT KZPath {
public:
    /// What the system puts between the parts of a path.
    static char16_t const & Separator;

    KZPath() = default;
    KZPath(KZString const & path) : path_(path) {}
    KZPath(char16_t const * path) : path_(path) {}
    KZPath(KZString const & directory, KZString const & fileName) : path_(Join(directory, fileName)) {}

    /// Joins both with one separator. Returns `name` itself when `directory` is empty or `name` starts at a root.
    [[nodiscard]] static KZString Join(KZString const & directory, KZString const & name);

    /// The whole path.
    [[nodiscard]] KZString const & AsString() const noexcept { return path_; }
    /// The part before the file name, without the separator; empty when there is none.
    [[nodiscard]] KZString GetDirectory() const;
    /// The part after the last separator, with the extension.
    [[nodiscard]] KZString GetFileName() const;
    /// The file name without extension and point.
    [[nodiscard]] KZString GetBaseName() const;
    /// The extension without its point; empty when there is none.
    [[nodiscard]] KZString GetExtension() const;
    /// True for a path that starts at a root.
    [[nodiscard]] bool IsComplete() const;

    /// Replaces the directory; an empty one leaves the bare file name.
    KZPath & SetDirectory(KZString const & directory);
    /// Replaces the file name, extension included.
    KZPath & SetFileName(KZString const & fileName);
    /// Replaces the extension, or adds one. `extension` may begin with a point or not; an empty one removes the extension.
    KZPath & SetExtension(KZString const & extension);

    /// Makes the path start at a root. A relative path is taken from `base`, and a relative `base` from the current directory.
    /// "." and ".." are resolved in the text; links are not followed.
    KZPath & MakeComplete(KZString const & base = KZString());

    friend bool operator==(KZPath const & a, KZPath const & b) { return a.path_ == b.path_; }

private:
    KZString path_;
};
