// What the sources about files share: the last error, calls that a signal interrupts, a descriptor that closes itself.
#pragma once

#include "ZerlithCore/platform/LastError.h"

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace KZPlatform {

/// Hands `success` on, and makes the present `errno` the last error when it is false.
inline bool Succeeded(bool success) noexcept {
    if (!success) SetLastErrorNumber(errno);
    return success;
}

/// Makes `number` the last error.
inline bool Fail(int number) noexcept {
    SetLastErrorNumber(number);
    return false;
}

/// Calls again as long as a signal interrupts.
template <class Call>
auto Repeat(Call call) noexcept {
    auto result = call();
    while (result == -1 && errno == EINTR) result = call();
    return result;
}

/// Owns a descriptor of the system. Move-only.
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

/// The part of a path in front of its last name, with the separator, and that name; either may be empty.
inline std::string_view FolderPart(std::string_view path) noexcept {
    return path.substr(0, path.rfind('/') + 1);
}
inline std::string_view NamePart(std::string_view path) noexcept { return path.substr(path.rfind('/') + 1); }

/// So many links are followed from one name; the system has the same limit.
constexpr int mostLinks = 40;

/// Opens the folder that `FolderPart` names, only to reach what is in it.
[[nodiscard]] Descriptor OpenFolder(std::string_view folderPart);

/// True for the folders in which the kernel shows processes. A link there leads to an open file, whatever name it tells:
/// /dev/stdout ends in one.
[[nodiscard]] bool IsOfKernel(int folder) noexcept;

/// Writes all of `bytes` at the descriptor's position; `written` tells how many of them the system took.
[[nodiscard]] bool WriteAll(int descriptor, std::string_view bytes, std::size_t & written) noexcept;

/// Waits until the disk has the content. What has no disk behind it, as a terminal, is no failure.
[[nodiscard]] bool WaitForDisk(int descriptor) noexcept;

} // namespace KZPlatform
