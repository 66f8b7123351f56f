/// @file
/// The recursive lock of one process, and a guard for everything that has `Lock` and `Unlock`.
///
///     KZCriticalSection lock;
///     {
///         KZGuard<KZCriticalSection> guard(lock);
///         // Only one thread at a time gets here.
///     }
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/platform/RecursiveLock.h"

/// A recursive lock within one process. The owner may lock again and must unlock as often. No operation can fail.
///
/// Thread safety: all operations may be called from any thread; only the owner may unlock.
class KZ_EXPORT KZCriticalSection {
public:
    /// Makes the lock, and locks it for the caller if `lockNow` is true.
    constexpr explicit KZCriticalSection(bool lockNow = false) noexcept {
        if (lockNow) Lock();
    }
    KZCriticalSection(KZCriticalSection const &) = delete;
    KZCriticalSection & operator=(KZCriticalSection const &) = delete;

    /// Waits without limit until no other thread holds the lock, and takes it.
    void Lock() noexcept { lock_.Lock(); }
    /// Undoes one `Lock`. Requires: the caller holds the lock.
    void Unlock() noexcept { lock_.Unlock(); }
    /// Takes the lock if that needs no waiting. Returns whether it took it.
    [[nodiscard]] bool TryLock() noexcept { return lock_.TryLock(); }

    /// 0 if another thread holds the lock. Otherwise how often the caller would hold it after locking it once more: 1 if the
    /// lock is free, 2 if the caller holds it once. Callers rely on this, although the name suggests the opposite.
    [[nodiscard]] unsigned int IsLocked() noexcept;

    // The same operations under other names.

    void lock() noexcept { Lock(); }
    void obtain() noexcept { Lock(); }
    void unlock() noexcept { Unlock(); }
    void release() noexcept { Unlock(); }
    [[nodiscard]] bool try_lock() noexcept { return TryLock(); }

private:
    KZPlatform::RecursiveLock lock_;
};

/// Holds a lock until the end of the scope. `Lockable` needs `Lock` and `Unlock`, const or not.
///
/// Thread safety: an object belongs to the thread that makes it.
template <class Lockable>
class KZGuard {
public:
    /// Locks. Throws what `Lock` throws; the object then doesn't exist and unlocks nothing.
    explicit KZGuard(Lockable & lock) : lock_(lock) { lock_.Lock(); }
    ~KZGuard() { lock_.Unlock(); }
    KZGuard(KZGuard const &) = delete;
    KZGuard & operator=(KZGuard const &) = delete;

private:
    Lockable & lock_;
};
