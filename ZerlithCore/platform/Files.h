/// @file
/// Directories, names and paths. The files themselves are in FileHandle.h.
///
///     std::vector<KZPlatform::DirectoryEntry> entries;
///     if (KZPlatform::ListDirectory(u"/tmp", entries)) ...
///
/// A function that fails leaves the reason in the thread's last error (LastError.h). Paths are UTF-16. Bytes of a
/// name that aren't UTF-8 become lone surrogates and those bytes again on the way back, so every name the system has
/// can be listed and opened. A path with a 0 unit inside names nothing and is refused.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace KZPlatform {

enum class PathKind : unsigned char { Missing, File, Directory };

/// What a path leads to, links followed; everything that isn't a directory is a `File`.
[[nodiscard]] PathKind KindOfPath(std::u16string_view path);

[[nodiscard]] bool IsDirectory(std::u16string_view path);

/// Tells whether this process may read, or write, what the path leads to.
[[nodiscard]] bool MayRead(std::u16string_view path);
[[nodiscard]] bool MayWrite(std::u16string_view path);

struct DirectoryEntry {
    std::u16string name;
    PathKind kind;
};

/// Replaces `entries` by those of a directory, in no special order, without "." and "..".
[[nodiscard]] bool ListDirectory(std::u16string_view path, std::vector<DirectoryEntry> & entries);

/// Makes one directory; its parent must exist.
[[nodiscard]] bool MakeDirectory(std::u16string_view path);
/// Removes an empty directory.
[[nodiscard]] bool RemoveEmptyDirectory(std::u16string_view path);
[[nodiscard]] bool RemoveFile(std::u16string_view path);
/// Gives a file or directory another name; a file that has this name is replaced in the same step.
[[nodiscard]] bool RenamePath(std::u16string_view from, std::u16string_view to);

/// The separator that the system writes between the parts of a path, and all that it accepts as one.
extern char16_t const pathSeparator;
[[nodiscard]] bool IsPathSeparator(char16_t unit) noexcept;

/// The number of units at the start of an absolute path that name its root, the separator included; 0 for a relative
/// path.
[[nodiscard]] std::size_t PathRootLength(std::u16string_view path) noexcept;

/// The path made absolute by the working directory, without ".", "..", doubled and trailing separators. Links are not
/// followed, and nothing needs to exist under that path.
[[nodiscard]] std::u16string FullPath(std::u16string_view path);

} // namespace KZPlatform
