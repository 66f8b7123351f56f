/// @file
/// A counter that threads share.
///
///     KZSafeCounter requests;
///     ++requests;                                   // on any thread
///     unsigned long const sinceStart = requests;    // 1
#pragma once

#include <atomic>
#include <cstdint>

/// A 32-bit count that starts at 0 and changes in steps of 1. After the largest number comes 0, and before 0 the largest. No
/// operation can fail.
///
/// The count isn't copied: a copy starts at 0, and an assignment leaves the count unchanged. A const counter can count, too.
///
/// Thread safety: all operations may be called from any thread; all threads see the changes in the same order.
class KZSafeCounter {
public:
    constexpr KZSafeCounter() noexcept = default;
    KZSafeCounter(KZSafeCounter const &) noexcept {}
    KZSafeCounter & operator=(KZSafeCounter const &) noexcept { return *this; }

    /// The value after the change.
    unsigned long operator++() const noexcept { return count_.fetch_add(1) + 1U; }
    unsigned long operator--() const noexcept { return count_.fetch_sub(1) - 1U; }

    /// The present value.
    operator unsigned long() const noexcept { return count_.load(std::memory_order_relaxed); }

private:
    mutable std::atomic<std::uint32_t> count_{0};
};
