// A directory opens like a file here, and only reading it fails: `Open` looks, and refuses it. Calls that a signal
// interrupts are repeated.

#include "ZerlithCore/platform/FileHandle.h"

#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/posix/Path.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KZPlatform {

namespace {

bool Succeeded(bool success) noexcept {
    if (!success) SetLastErrorNumber(errno);
    return success;
}

template <class Call>
auto Repeat(Call call) noexcept {
    auto result = call();
    while (result == -1 && errno == EINTR) result = call();
    return result;
}

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

bool FileHandle::Open(std::u16string_view path, FileAccess access, FileCreation creation, FileShare) {
    Close();
    std::string const bytes = PathBytes(path);
    int const flags = AccessFlags(access) | CreationFlags(creation) | O_CLOEXEC | O_NOCTTY;
    int const descriptor = Repeat([&] { return open(bytes.c_str(), flags, 0666); });
    if (!Succeeded(descriptor != -1)) return false;
    handle_ = descriptor;
    struct stat state {};
    if (fstat(descriptor, &state) == 0 && S_ISDIR(state.st_mode)) {
        Close();
        SetLastErrorNumber(EISDIR);
        return false;
    }
    return true;
}

bool FileHandle::Read(void * bytes, std::size_t size, std::size_t & read) noexcept {
    auto const count = Repeat([&] { return ::read(static_cast<int>(handle_), bytes, size); });
    read = count < 0 ? 0 : static_cast<std::size_t>(count);
    return Succeeded(count >= 0);
}

bool FileHandle::Write(void const * bytes, std::size_t size) noexcept {
    auto place = static_cast<char const *>(bytes);
    while (size != 0) {
        auto const count = Repeat([&] { return ::write(static_cast<int>(handle_), place, size); });
        if (!Succeeded(count >= 0)) return false;
        place += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
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

bool FileHandle::Close() noexcept {
    if (!IsOpen()) return true;
    // The descriptor is gone even after an interruption: a repetition could close somebody else's.
    return Succeeded(close(static_cast<int>(std::exchange(handle_, closed))) == 0 || errno == EINTR);
}

} // namespace KZPlatform
