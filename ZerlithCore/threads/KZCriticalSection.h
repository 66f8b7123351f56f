/// @file
/// The recursive lock of one process, and the guard for every class that can be locked.
///
///     KZCriticalSection lock;
///     {
///         KZGuard<KZCriticalSection> guard(lock);
///         ...
///     }
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/platform/RecursiveLock.h"

/// A recursive lock within one process. The owner may lock again and must unlock as often. No operation can fail.
///
/// Thread safety: all operations may be called from any thread; unlocking only by the owner.
class KZ_EXPORT KZCriticalSection {
public:
    /// Makes the lock, and enters it at once if `lockNow` is true.
    constexpr explicit KZCriticalSection(bool lockNow = false) noexcept {
        if (lockNow) Lock();
    }
    KZCriticalSection(KZCriticalSection const &) = delete;
    KZCriticalSection & operator=(KZCriticalSection const &) = delete;

    void Lock() noexcept { lock_.Lock(); }
    void Unlock() noexcept { lock_.Unlock(); }
    /// Enters if that needs no waiting; tells whether it did.
    [[nodiscard]] bool TryLock() noexcept { return lock_.TryLock(); }

    /// 0 exactly when another thread holds the lock. Free or held by the caller: how often the caller holds it, this
    /// look included, so at least 1. Callers rely on this reading, though the name suggests the opposite.
    [[nodiscard]] unsigned int IsLocked() noexcept;

    void lock() noexcept { Lock(); }
    void obtain() noexcept { Lock(); }
    void unlock() noexcept { Unlock(); }
    void release() noexcept { Unlock(); }
    [[nodiscard]] bool try_lock() noexcept { return TryLock(); }

private:
    KZPlatform::RecursiveLock lock_;
};

/// Holds a lock for the length of a scope. `Lockable` needs `Lock` and `Unlock`, const or not.
template <class Lockable>
class KZGuard {
public:
    explicit KZGuard(Lockable & lock) : lock_(lock) { lock_.Lock(); }
    ~KZGuard() { lock_.Unlock(); }
    KZGuard(KZGuard const &) = delete;
    KZGuard & operator=(KZGuard const &) = delete;

private:
    Lockable & lock_;
};
