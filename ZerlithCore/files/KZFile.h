/// @file
/// A file of bytes.
///
///     KZFile file;
///     char buffer[4096];
///     std::size_t count = 0;
///     bool const isRead = file.Open(u"data.bin", KZFile::Access::Read) && file.Read(buffer, sizeof buffer, count);
///     if (!isRead) KZGetConsole() << KZErrorID(new KZWinLastError).AsString() << std::endl;
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/platform/FileHandle.h"
#include "ZerlithCore/text/KZString.h"

#include <cstddef>
#include <cstdint>

/// One open file without a buffer: each operation calls the system. It can be moved but not copied; the destructor closes it.
///
/// Errors: operations that return false or -1 leave the reason in the thread's last error (KZWinLastError).
///
/// Thread safety: one object is for one thread at a time, except that several may call `Write` in `Append` access. The static
/// operations may be called from any thread.
class KZ_EXPORT KZFile {
public:
    using Access = KZPlatform::FileAccess;
    using Creation = KZPlatform::FileCreation;
    using Share = KZPlatform::FileShare;
    using Origin = KZPlatform::FileOrigin;
    using Protection = KZPlatform::FileProtection;

    /// Closes the open file, if any, and opens `path`. A directory can't be opened. `share` has no effect on POSIX systems.
    /// `Protection::Private` is for files that others mustn't read, in folders where others may make files.
    bool Open(KZString const & path, Access access, Creation creation = Creation::OpenExisting,
              Share share = Share::ReadWrite, Protection protection = Protection::Usual);
    [[nodiscard]] bool IsOpen() const noexcept { return handle_.IsOpen(); }
    /// Closes the file. False when the system could not keep what was written. True when no file is open.
    bool Close() noexcept { return handle_.Close(); }

    /// Reads up to `size` bytes and sets `count` to their number, which is 0 at the end of the file.
    [[nodiscard]] bool Read(void * bytes, std::size_t size, std::size_t & count) noexcept;
    /// Writes `size` bytes, with one call to the system if that call takes them all. After a failure the first `written` bytes
    /// have been written.
    [[nodiscard]] bool Write(void const * bytes, std::size_t size) noexcept;
    [[nodiscard]] bool Write(void const * bytes, std::size_t size, std::size_t & written) noexcept;
    /// Moves the position and returns it, in bytes from the start.
    std::int64_t Seek(std::int64_t offset, Origin origin) noexcept;
    /// Moves the position to the end.
    bool SeekToEnd() noexcept { return Seek(0, Origin::End) >= 0; }
    /// The length in bytes.
    [[nodiscard]] std::int64_t GetSize() const noexcept;

    /// True when `path` exists and isn't a directory.
    [[nodiscard]] static bool Exists(KZString const & path);
    /// True when `Exists` is true and this process may read the file.
    [[nodiscard]] static bool IsReadable(KZString const & path);
    /// Removes the file.
    static bool Remove(KZString const & path);
    /// Gives the file another name, and replaces a file that has that name.
    static bool Rename(KZString const & from, KZString const & to);

    /// Makes `bytes` the whole content of the file, which is on the disk when the function returns true. A missing file is made.
    /// Links are followed. A device or a pipe is simply written to.
    ///
    /// `Replace` changes the content in one step: it writes a new file in the same folder, which then takes the name of the old
    /// one. Nobody ever sees a part, and after a kill or a power failure there is the old file or the new one. Permissions are
    /// kept, owner and group as far as the system permits; other hard links keep the old content.
    ///
    /// `Overwrite` writes into the existing file. It is for files that must stay the same, and for folders in which this user
    /// can't make files. If the process is killed meanwhile, the file may hold a part of the new content. It needs memory for
    /// the old content.
    ///
    /// After false the file has its old content, or is missing as before. There are two exceptions. If `Overwrite` fails and
    /// can't write the old content back either, the text of the last error says so. If the disk doesn't confirm the new name,
    /// which is the last step of `Replace`, the new content stays. Errors: also std::bad_alloc, before anything is changed.
    [[nodiscard]] static bool Replace(KZString const & path, void const * bytes, std::size_t size);
    [[nodiscard]] static bool Overwrite(KZString const & path, void const * bytes, std::size_t size);

private:
    KZPlatform::FileHandle handle_;
};
