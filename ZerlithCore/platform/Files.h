/// @file
/// Directories, names and paths as the system sees them; FileHandle.h has the files.
///
///     std::vector<KZPlatform::DirectoryEntry> entries;
///     if (KZPlatform::ListDirectory(u"/tmp", entries)) ...
///
/// A function that fails leaves the reason in the thread's last error (LastError.h). Paths are units; a name's bytes
/// that aren't UTF-8 map to units and back, so every name the system has can be listed and opened. A path with a
/// 0 unit inside names nothing and is refused.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace KZPlatform {

enum class PathKind : unsigned char { Missing, File, Directory };

/// What stands under a name, links followed; whatever isn't a directory counts as a file.
[[nodiscard]] PathKind KindOfPath(std::u16string_view path);

[[nodiscard]] bool IsDirectory(std::u16string_view path);

/// Tells whether this process may read, or write, what stands under the name.
[[nodiscard]] bool MayRead(std::u16string_view path);
[[nodiscard]] bool MayWrite(std::u16string_view path);

struct DirectoryEntry {
    std::u16string name;
    PathKind kind;
};

/// Puts the entries of a directory into `entries`, in no special order, without those for itself and its parent.
[[nodiscard]] bool ListDirectory(std::u16string_view path, std::vector<DirectoryEntry> & entries);

/// Makes one directory; its parent must exist.
[[nodiscard]] bool MakeDirectory(std::u16string_view path);
/// Removes an empty directory.
[[nodiscard]] bool RemoveEmptyDirectory(std::u16string_view path);
[[nodiscard]] bool RemoveFile(std::u16string_view path);
/// Gives a file or directory another name; a file of that name is replaced.
[[nodiscard]] bool RenamePath(std::u16string_view from, std::u16string_view to);

/// What the system writes between the parts of a path, and what it takes for one.
extern char16_t const PathSeparator;
[[nodiscard]] bool IsPathSeparator(char16_t unit) noexcept;

/// The units at the start of an absolute path that name its root, separator included; 0 for a relative path.
[[nodiscard]] std::size_t PathRootLength(std::u16string_view path) noexcept;

/// The path from the root, by the working directory, without "." and ".." and doubled or trailing separators. Links
/// are not followed; nothing need exist.
[[nodiscard]] std::u16string FullPath(std::u16string_view path);

} // namespace KZPlatform
