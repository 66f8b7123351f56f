/// @file
/// One open file.
///
///     KZPlatform::FileHandle file;
///     if (!file.Open(u"notes.txt", KZPlatform::FileAccess::Append, KZPlatform::FileCreation::OpenAlways)) ...
///     file.Write("more\n", 5);
#pragma once

#include "ZerlithCore/platform/Export.h"

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
                            FileShare share = FileShare::ReadWrite);
    [[nodiscard]] bool IsOpen() const noexcept { return handle_ != closed; }

    /// Reads up to `size` bytes; `read` tells how many, 0 at the end of the file.
    [[nodiscard]] bool Read(void * bytes, std::size_t size, std::size_t & read) noexcept;
    /// Writes all of `size` bytes, with one call to the system if that takes them all. False: an unknown part of
    /// them is written.
    [[nodiscard]] bool Write(void const * bytes, std::size_t size) noexcept;
    /// Moves the position and returns it in bytes from the start; -1 for a failure.
    std::int64_t Seek(std::int64_t offset, FileOrigin origin) noexcept;
    /// The length in bytes; -1 for a failure.
    [[nodiscard]] std::int64_t Size() const noexcept;
    /// Closes; tells whether the system had nothing to complain about. Nothing open is no complaint.
    bool Close() noexcept;

private:
    static constexpr std::intptr_t closed = -1;

    std::intptr_t handle_ = closed;
};

} // namespace KZPlatform
