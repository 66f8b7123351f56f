// On POSIX open succeeds for a directory and only reading it fails, so `Open` checks for directories and refuses
// them. Calls that a signal interrupts are repeated.

#include "ZerlithCore/platform/FileHandle.h"

#include "ZerlithCore/platform/posix/Descriptor.h"
#include "ZerlithCore/platform/posix/Path.h"
#include "ZerlithCore/platform/posix/PrivateFile.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace KZPlatform {

namespace {

int AccessFlags(FileAccess access) noexcept {
    switch (access) {
    case FileAccess::Read: return O_RDONLY;
    case FileAccess::Write: return O_WRONLY;
    case FileAccess::ReadWrite: return O_RDWR;
    case FileAccess::Append: return O_WRONLY | O_APPEND;
    }
    return O_RDONLY;
}

int CreationFlags(FileCreation creation) noexcept {
    switch (creation) {
    case FileCreation::OpenExisting: return 0;
    case FileCreation::OpenAlways: return O_CREAT;
    case FileCreation::CreateAlways: return O_CREAT | O_TRUNC;
    case FileCreation::CreateNew: return O_CREAT | O_EXCL;
    }
    return 0;
}

} // namespace

FileHandle & FileHandle::operator=(FileHandle && other) noexcept {
    if (this != &other) {
        Close();
        handle_ = std::exchange(other.handle_, closed);
    }
    return *this;
}

bool FileHandle::Open(std::u16string_view path, FileAccess access, FileCreation creation, FileShare,
                      FileProtection protection) {
    Close();
    std::string bytes = PathBytes(path);
    int const flags = AccessFlags(access) | CreationFlags(creation) | O_CLOEXEC | O_NOCTTY;
    Descriptor file;
    if (protection == FileProtection::Private) {
        file = OpenPrivateFile(std::move(bytes), flags);
        if (!file.IsOpen()) return false;
    } else {
        file = Descriptor(Repeat([&] { return open(bytes.c_str(), flags, 0666); }));
        if (!Succeeded(file.IsOpen())) return false;
    }
    struct stat state {};
    if (fstat(file.Get(), &state) == 0 && S_ISDIR(state.st_mode)) return Fail(EISDIR);
    handle_ = file.Release();
    return true;
}

bool FileHandle::Read(void * bytes, std::size_t size, std::size_t & read) noexcept {
    auto const count = Repeat([&] { return ::read(static_cast<int>(handle_), bytes, size); });
    read = count < 0 ? 0 : static_cast<std::size_t>(count);
    return Succeeded(count >= 0);
}

bool FileHandle::Write(void const * bytes, std::size_t size) noexcept {
    std::size_t written = 0;
    return Write(bytes, size, written);
}

bool FileHandle::Write(void const * bytes, std::size_t size, std::size_t & written) noexcept {
    return WriteAll(static_cast<int>(handle_), {static_cast<char const *>(bytes), size}, written);
}

bool FileHandle::WriteOnce(void const * bytes, std::size_t size, std::size_t & written) noexcept {
    auto const count = Repeat([&] { return write(static_cast<int>(handle_), bytes, size); });
    written = count < 0 ? 0 : static_cast<std::size_t>(count);
    return Succeeded(count >= 0);
}

// Reserves room for the first byte, which is there already, so nothing changes. But the call waits for the lock that
// a write holds; asking for the length, or reading, doesn't.
void FileHandle::AwaitWriters() noexcept {
    Repeat([&] { return fallocate(static_cast<int>(handle_), FALLOC_FL_KEEP_SIZE, 0, 1); });
}

std::int64_t FileHandle::Seek(std::int64_t offset, FileOrigin origin) noexcept {
    constexpr int whence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    auto const place = lseek(static_cast<int>(handle_), offset, whence[static_cast<int>(origin)]);
    Succeeded(place != -1);
    return place;
}

std::int64_t FileHandle::Size() const noexcept {
    struct stat state {};
    return Succeeded(fstat(static_cast<int>(handle_), &state) == 0) ? state.st_size : -1;
}

bool FileHandle::Truncate(std::int64_t size) noexcept {
    return Succeeded(Repeat([&] { return ftruncate(static_cast<int>(handle_), size); }) == 0);
}

bool FileHandle::Reserve(std::int64_t size) noexcept {
    auto const reserve = [&] { return fallocate(static_cast<int>(handle_), FALLOC_FL_KEEP_SIZE, 0, size); };
    if (size == 0 || Repeat(reserve) == 0) return true;
    bool const isUnknown = errno == EOPNOTSUPP || errno == ENOSYS || errno == ENODEV || errno == ESPIPE;
    return Succeeded(isUnknown);
}

bool FileHandle::Sync() noexcept { return WaitForDisk(static_cast<int>(handle_)); }

bool FileHandle::Close() noexcept {
    if (!IsOpen()) return true;
    // The descriptor is closed even when a signal interrupts the call. Closing it again could close a file that
    // another thread has opened since.
    return Succeeded(close(static_cast<int>(std::exchange(handle_, closed))) == 0 || errno == EINTR);
}

} // namespace KZPlatform
