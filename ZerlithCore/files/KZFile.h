/// @file
/// A file of bytes.
///
///     KZFile file;
///     if (!file.Open(u"data.bin", KZFile::Access::Read)) ...
///     std::size_t count = 0;
///     file.Read(buffer, sizeof buffer, count);
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/platform/FileHandle.h"
#include "ZerlithCore/text/KZString.h"

#include <cstddef>
#include <cstdint>

/// One open file without a buffer: each operation is a call to the system. Move-only; the destructor closes.
///
/// Errors: operations that give false or -1 leave the reason in the thread's last error (KZWinLastError).
///
/// Thread safety: one object is for one thread at a time, but for `Write` in `Append` access. The static operations
/// may be called from any thread.
class KZ_EXPORT KZFile {
public:
    using Access = KZPlatform::FileAccess;
    using Creation = KZPlatform::FileCreation;
    using Share = KZPlatform::FileShare;
    using Origin = KZPlatform::FileOrigin;
    using Protection = KZPlatform::FileProtection;

    /// Closes what is open and opens `path`. A directory can't be opened. `share` counts where the system knows it;
    /// POSIX doesn't. `Protection::Private` is for files that others mustn't read, in folders where others may make some.
    bool Open(KZString const & path, Access access, Creation creation = Creation::OpenExisting,
              Share share = Share::ReadWrite, Protection protection = Protection::Usual);
    [[nodiscard]] bool IsOpen() const noexcept { return handle_.IsOpen(); }
    /// False when the system could not keep what was written. Nothing open is a success.
    bool Close() noexcept { return handle_.Close(); }

    /// Reads up to `size` bytes; `count` tells how many, 0 at the end of the file.
    [[nodiscard]] bool Read(void * bytes, std::size_t size, std::size_t & count) noexcept;
    /// Writes all of `size` bytes, with one call to the system if that takes them all. After a failure `written` tells
    /// how many bytes at the front the system took.
    [[nodiscard]] bool Write(void const * bytes, std::size_t size) noexcept;
    [[nodiscard]] bool Write(void const * bytes, std::size_t size, std::size_t & written) noexcept;
    /// Moves the position and returns it, in bytes from the start.
    std::int64_t Seek(std::int64_t offset, Origin origin) noexcept;
    bool SeekToEnd() noexcept { return Seek(0, Origin::End) >= 0; }
    /// The length in bytes.
    [[nodiscard]] std::int64_t GetSize() const noexcept;

    /// True when something other than a directory stands under the name.
    [[nodiscard]] static bool Exists(KZString const & path);
    /// True when that may be read as well.
    [[nodiscard]] static bool IsReadable(KZString const & path);
    static bool Remove(KZString const & path);
    /// Gives the file another name; a file that has it is replaced.
    static bool Rename(KZString const & from, KZString const & to);

    /// Makes the bytes the whole content of the file, on disk when this returns. A file that is missing is made, links
    /// are followed, and what isn't a file of bytes, as a device or a pipe, is just written to.
    ///
    /// `Replace` does it at once: the content is written under another name in the same folder and then takes the file's
    /// name. Nobody ever sees a part, and a killed process or a machine that stops leaves the old file or the new one.
    /// Permissions are kept, owner and group as far as the system lets this user give them; hard links keep the old content.
    /// `Overwrite` writes into the file where it stands, for files that must stay the same ones or folders in which this
    /// user can't make any; a killed process can leave a part of the new content.
    ///
    /// False: the file has its old content, or is missing as it was. Should `Overwrite` not even be able to write the old
    /// content back, the last error says so in words; should the disk not confirm the name that `Replace` has given as
    /// its last step, the new content stands. Throws std::bad_alloc before anything is changed. `Overwrite` holds the old
    /// content in memory meanwhile.
    [[nodiscard]] static bool Replace(KZString const & path, void const * bytes, std::size_t size);
    [[nodiscard]] static bool Overwrite(KZString const & path, void const * bytes, std::size_t size);

private:
    KZPlatform::FileHandle handle_;
};
