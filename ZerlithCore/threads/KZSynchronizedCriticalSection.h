/// @file
/// A lock together with an event: a simple monitor.
///
///     KZSynchronizedCriticalSection monitor;
///     std::vector<int> items;
///     // One thread adds an item:
///     monitor.Lock();
///     items.push_back(7);
///     monitor.PostUnlock();
///     // Another one waits for it:
///     monitor.Lock();
///     while (items.empty()) {
///         monitor.UnlockWait();
///         monitor.Lock();
///     }
///     items.pop_back();
///     monitor.Unlock();
#pragma once

#include "ZerlithCore/threads/KZCriticalSection.h"
#include "ZerlithCore/threads/KZEventSemaphore.h"

/// A recursive lock whose owner can release it and wait until another thread posts.
///
/// Thread safety: all operations may be called from any thread; only the owner may call `Unlock`, `PostUnlock` and
/// `UnlockWait`. After the construction none can fail.
class KZ_EXPORT KZSynchronizedCriticalSection {
public:
    /// Errors: KZWindowsLastErrorException when the system can't make an event.
    KZSynchronizedCriticalSection() = default;

    // As those of KZCriticalSection.
    void Lock() noexcept { section_.Lock(); }
    void lock() noexcept { section_.Lock(); }
    void Unlock() noexcept { section_.Unlock(); }
    void unlock() noexcept { section_.Unlock(); }

    /// Wakes every thread that waits in `UnlockWait`, and undoes one `Lock`.
    void PostUnlock() noexcept;

    /// Undoes one `Lock` and waits without limit for a `PostUnlock`. It returns without the lock.
    ///
    /// A post from before the call doesn't end the wait; a post that comes after the lock was released is never missed.
    void UnlockWait() noexcept;

private:
    KZCriticalSection section_;
    KZEventSemaphore posted_;
};
