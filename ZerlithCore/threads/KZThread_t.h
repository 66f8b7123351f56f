/// @file
/// The identifier of a thread.
///
///     KZThread_t const here = KZThread::GetCurrentThreadID();
///     KZGetConsole() << L"thread " << static_cast<unsigned long>(here) << std::endl;
#pragma once

#include <cstddef>
#include <string_view> // std::hash

/// A thread's identifier and its system handle. The handle is for the library's own use. It is valid until the thread has been
/// waited for, and null for a thread that wasn't started by a KZThread. No operation can fail.
///
/// Thread safety: as a plain record.
class KZThread_t {
public:
    constexpr KZThread_t() noexcept = default;
    constexpr KZThread_t(unsigned long id, void * handle) noexcept : id_(id), handle_(handle) {}

    /// The identifier; 0 names no thread.
    constexpr operator unsigned long() const noexcept { return id_; }
    [[nodiscard]] constexpr void * GetHandle() const noexcept { return handle_; }

    /// `==` compares both fields, `<` only the identifiers.
    friend constexpr bool operator==(KZThread_t const & a, KZThread_t const & b) noexcept {
        return a.id_ == b.id_ && a.handle_ == b.handle_;
    }
    friend constexpr bool operator<(KZThread_t const & a, KZThread_t const & b) noexcept {
        return a.id_ < b.id_;
    }

private:
    unsigned long id_ = 0;
    void * handle_ = nullptr;
};

template <>
struct std::hash<KZThread_t> {
    std::size_t operator()(KZThread_t const & value) const noexcept {
        return std::hash<unsigned long>()(value);
    }
};
