/// @file
/// One open file.
///
///     KZPlatform::FileHandle file;
///     if (!file.Open(u"notes.txt", KZPlatform::FileAccess::Append, KZPlatform::FileCreation::OpenAlways)) ...
///     file.Write("more\n", 5);
#pragma once

#include "ZerlithCore/KZExport.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace KZPlatform {

enum class FileAccess : unsigned char {
    Read,
    Write,
    ReadWrite,
    Append ///< each write goes behind the file's present end, whoever else writes
};

enum class FileCreation : unsigned char {
    OpenExisting, ///< the file must exist
    OpenAlways,   ///< made when it is missing
    CreateAlways, ///< made when it is missing, emptied otherwise
    CreateNew     ///< must not exist
};

/// What others may open the file for meanwhile, where the system enforces that; POSIX lets everybody.
enum class FileShare : unsigned char { None, Read, ReadWrite };

enum class FileOrigin : unsigned char { Begin, Current, End };

/// Who else may have to do with a file.
enum class FileProtection : unsigned char {
    Usual, ///< whoever the system's defaults let; links are followed, pipes and devices opened
    /// For what others mustn't read, under a name that they could have taken before, as in a folder for temporary
    /// files. A file that is made is its owner's alone (0600). Refused, with "permission denied" as the reason: a last
    /// name that is a link made by somebody other than this user and root; and in a folder where everybody may make
    /// files, what isn't a file of bytes, a file of somebody other than this user, root and the folder's owner, and one
    /// with further names. Opening never waits: a pipe that nobody reads can't be opened.
    Private
};

/// One open file without a buffer. Move-only; the destructor closes.
///
/// A function that fails leaves the reason in the thread's last error. Paths are as in Files.h.
///
/// Thread safety: one handle is for one thread at a time, but for `Write` in `Append` access.
class KZ_EXPORT FileHandle {
public:
    FileHandle() noexcept = default;
    FileHandle(FileHandle && other) noexcept : handle_(std::exchange(other.handle_, closed)) {}
    FileHandle & operator=(FileHandle && other) noexcept;
    ~FileHandle() { Close(); }

    /// Closes what is open and opens `path`. A directory can't be opened.
    [[nodiscard]] bool Open(std::u16string_view path, FileAccess access, FileCreation creation,
                            FileShare share = FileShare::ReadWrite,
                            FileProtection protection = FileProtection::Usual);
    [[nodiscard]] bool IsOpen() const noexcept { return handle_ != closed; }

    /// Reads up to `size` bytes; `read` tells how many, 0 at the end of the file.
    [[nodiscard]] bool Read(void * bytes, std::size_t size, std::size_t & read) noexcept;
    /// Writes all of `size` bytes, with one call to the system if that takes them all. After a failure `written` tells
    /// how many bytes at the front the system took.
    [[nodiscard]] bool Write(void const * bytes, std::size_t size) noexcept;
    [[nodiscard]] bool Write(void const * bytes, std::size_t size, std::size_t & written) noexcept;
    /// Writes with one call to the system, which may take a part at the front; `written` tells how much. False: nothing.
    [[nodiscard]] bool WriteOnce(void const * bytes, std::size_t size, std::size_t & written) noexcept;
    /// Waits until no write to the file is under way, of whatever process, where the file system has a way to do that. A
    /// write in progress makes a file longer in steps: an end that is the same before and after is one where a write has ended.
    void AwaitWriters() noexcept;
    /// Moves the position and returns it in bytes from the start; -1 for a failure.
    std::int64_t Seek(std::int64_t offset, FileOrigin origin) noexcept;
    /// The length in bytes; -1 for a failure.
    [[nodiscard]] std::int64_t Size() const noexcept;
    /// Gives the file this length: cuts it, or lets it go on with zero bytes. The position stays.
    [[nodiscard]] bool Truncate(std::int64_t size) noexcept;
    /// Has the system set room aside for the file's first `size` bytes; its length stays. False when there isn't so
    /// much room. A file system that can't set room aside is no failure. `Truncate` gives room behind the end back.
    [[nodiscard]] bool Reserve(std::int64_t size) noexcept;
    /// Waits until the disk has what was written. What has no disk behind it is no failure.
    [[nodiscard]] bool Sync() noexcept;
    /// Closes; tells whether the system had nothing to complain about. Nothing open is no complaint.
    bool Close() noexcept;

private:
    static constexpr std::intptr_t closed = -1;

    std::intptr_t handle_ = closed;
};

} // namespace KZPlatform
