/// @file
/// A counter that threads share.
#pragma once

#include <atomic>
#include <cstdint>

/// A 32-bit count from 0, changed in single steps. Wraps around at both ends.
///
/// The count belongs to the object's identity: a copy starts at 0, and an assignment changes nothing. A const counter
/// can count.
///
/// Thread safety: all operations may be called from any thread; changes are fully ordered.
class KZSafeCounter {
public:
    constexpr KZSafeCounter() noexcept = default;
    KZSafeCounter(KZSafeCounter const &) noexcept {}
    KZSafeCounter & operator=(KZSafeCounter const &) noexcept { return *this; }

    /// The value after the change.
    unsigned long operator++() const noexcept { return count_.fetch_add(1) + 1U; }
    unsigned long operator--() const noexcept { return count_.fetch_sub(1) - 1U; }

    operator unsigned long() const noexcept { return count_.load(std::memory_order_relaxed); }

private:
    mutable std::atomic<std::uint32_t> count_{0};
};
