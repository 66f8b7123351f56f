/// @file
/// The recursive lock for threads of one process, used by all rooms above.
#pragma once

#include "ZerlithCore/KZExport.h"

#include <atomic>
#include <cstdint>

namespace KZPlatform {

/// A lock that its owner may take again, and must release as often as it took it.
///
/// One word holds the state: free, held or contended. The system is called only for a contended lock, so no operation
/// can fail. Not fair: a thread that comes later may get the lock first. Not copyable. The object may be static: it
/// can be used before any constructor has run.
///
/// Thread safety: all operations may be called from any thread; `Unlock` only by the owner.
class KZ_EXPORT RecursiveLock {
public:
    constexpr RecursiveLock() noexcept = default;
    RecursiveLock(RecursiveLock const &) = delete;
    RecursiveLock & operator=(RecursiveLock const &) = delete;

    /// Takes the lock, waiting as long as it takes.
    void Lock() noexcept;

    /// Takes the lock if nobody else holds it; tells whether it did.
    [[nodiscard]] bool TryLock() noexcept;

    /// Undoes one `Lock` or `TryLock`. A call by a thread that isn't the owner does nothing.
    void Unlock() noexcept;

    // The same under the names that the guards of the standard library want.

    void lock() noexcept { Lock(); }
    void unlock() noexcept { Unlock(); }

    /// How often the owner holds the lock. Requires: the calling thread holds it.
    [[nodiscard]] std::uint32_t RecursionCount() const noexcept { return recursion_; }

private:
    void LockContended(std::uintptr_t self) noexcept;

    std::atomic<std::uint32_t> state_{0}; // 0 free, 1 held, 2 held and somebody waits
    std::uint32_t recursion_ = 0;
    std::atomic<std::uintptr_t> owner_{0};
};

} // namespace KZPlatform
