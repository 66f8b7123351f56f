// What the sources about files share: setting the last error, repeating calls that a signal interrupts, and a
// descriptor that closes itself.
#pragma once

#include "ZerlithCore/platform/LastError.h"

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace KZPlatform {

/// Returns `success`. When it is false, makes the present `errno` the last error.
inline bool Succeeded(bool success) noexcept {
    if (!success) SetLastErrorNumber(errno);
    return success;
}

/// Makes `number` the last error and returns false.
inline bool Fail(int number) noexcept {
    SetLastErrorNumber(number);
    return false;
}

/// Calls until no signal interrupts the call any more.
template <class Call>
auto Repeat(Call call) noexcept {
    auto result = call();
    while (result == -1 && errno == EINTR) result = call();
    return result;
}

/// Owns a file descriptor. Move-only.
class Descriptor {
public:
    Descriptor() noexcept = default;
    explicit Descriptor(int number) noexcept : number_(number) {}
    Descriptor(Descriptor && other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor & operator=(Descriptor && other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() {
        if (IsOpen()) close(number_);
    }

    [[nodiscard]] bool IsOpen() const noexcept { return number_ != -1; }
    [[nodiscard]] int Get() const noexcept { return number_; }
    [[nodiscard]] int Release() noexcept { return std::exchange(number_, -1); }

private:
    int number_ = -1;
};

/// `FolderPart` is the part of a path before its last name, with the separator; `NamePart` is that name. Either may
/// be empty.
inline std::string_view FolderPart(std::string_view path) noexcept {
    return path.substr(0, path.rfind('/') + 1);
}
inline std::string_view NamePart(std::string_view path) noexcept { return path.substr(path.rfind('/') + 1); }

/// The most symbolic links that are followed from one name; the system has the same limit.
constexpr int mostLinks = 40;

/// Opens the folder that `FolderPart` names, for use with openat and the like. It needs no right to list the folder.
[[nodiscard]] Descriptor OpenFolder(std::string_view folderPart);

/// True for a folder in which the kernel shows processes (/proc). A link there leads to an open file, whatever path
/// it shows: /dev/stdout leads to /proc/self/fd/1, which is such a link.
[[nodiscard]] bool IsOfKernel(int folder) noexcept;

/// Writes all of `bytes` at the descriptor's position; `written` is how many of them the system took.
[[nodiscard]] bool WriteAll(int descriptor, std::string_view bytes, std::size_t & written) noexcept;

/// Waits until the disk has the content. A file without a disk, such as a terminal, is no failure.
[[nodiscard]] bool WaitForDisk(int descriptor) noexcept;

} // namespace KZPlatform
