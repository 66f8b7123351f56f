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
    Append ///< each write goes to the file's present end, whoever else writes
};

enum class FileCreation : unsigned char {
    OpenExisting, ///< the file must exist
    OpenAlways,   ///< created when it is missing
    CreateAlways, ///< created when it is missing, emptied otherwise
    CreateNew     ///< created; fails if it exists
};

/// What others may do with the file while it is open, where the system enforces that; POSIX allows everything.
enum class FileShare : unsigned char { None, Read, ReadWrite };

enum class FileOrigin : unsigned char { Begin, Current, End };

/// Whether other users may have prepared the file, or may read it.
enum class FileProtection : unsigned char {
    Usual, ///< the system's default rights; links are followed, pipes and devices opened
    /// For content that others mustn't read, under a name that others could have taken first, as in a folder for
    /// temporary files. A file that is created belongs to its owner alone (0600). Opening fails with "permission
    /// denied" for a last name that is a link made by somebody other than this user and root. In a folder where
    /// everybody may make files it also fails for anything but a regular file, for a file of somebody other than this
    /// user, root and the folder's owner, and for a file with further names (hard links). Opening never waits: a pipe
    /// that nobody reads can't be opened.
    Private
};

/// One open file without a buffer. Move-only; the destructor closes it.
///
/// A function that fails leaves the reason in the thread's last error. Paths are as in Files.h.
///
/// Thread safety: one handle is for one thread at a time. The exception is `Write` with `Append` access, which
/// several threads may call at once.
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

    /// Reads up to `size` bytes; `read` is how many there were, 0 at the end of the file.
    [[nodiscard]] bool Read(void * bytes, std::size_t size, std::size_t & read) noexcept;
    /// Writes all of `size` bytes, in one call to the system if that takes them all. After a failure `written` is how
    /// many bytes, from the first on, the system took.
    [[nodiscard]] bool Write(void const * bytes, std::size_t size) noexcept;
    [[nodiscard]] bool Write(void const * bytes, std::size_t size, std::size_t & written) noexcept;
    /// Writes with a single call to the system, which may take only the first part; `written` is how many bytes it
    /// took. False when it took nothing.
    [[nodiscard]] bool WriteOnce(void const * bytes, std::size_t size, std::size_t & written) noexcept;
    /// Waits until no process has a write to the file under way, where the file system has a way to do that. A file
    /// grows in steps during a write. So when its length is the same before and after this call, a write has ended
    /// there.
    void AwaitWriters() noexcept;
    /// Moves the position and returns it in bytes from the start; -1 for a failure.
    std::int64_t Seek(std::int64_t offset, FileOrigin origin) noexcept;
    /// The length in bytes; -1 for a failure.
    [[nodiscard]] std::int64_t Size() const noexcept;
    /// Gives the file this length: cuts it, or extends it with zero bytes. The position stays.
    [[nodiscard]] bool Truncate(std::int64_t size) noexcept;
    /// Has the system reserve room on the disk for the file's first `size` bytes; its length stays. False when there
    /// isn't enough room. A file system that can't reserve room is no failure. `Truncate` gives back the room after
    /// the end.
    [[nodiscard]] bool Reserve(std::int64_t size) noexcept;
    /// Waits until the disk has what was written. A file without a disk, such as a terminal, is no failure.
    [[nodiscard]] bool Sync() noexcept;
    /// Closes the file. False when the system reports an error, which may be one of an earlier write. True when
    /// nothing was open.
    bool Close() noexcept;

private:
    static constexpr std::intptr_t closed = -1;

    std::intptr_t handle_ = closed;
};

} // namespace KZPlatform
