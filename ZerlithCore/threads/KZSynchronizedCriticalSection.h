/// @file
/// A lock together with an event: a simple monitor.
///
///     monitor.Lock();                          monitor.Lock();
///     while (queue.empty()) {                  queue.push(item);
///         monitor.UnlockWait();                monitor.PostUnlock();
///         monitor.Lock();
///     }
#pragma once

#include "ZerlithCore/threads/KZCriticalSection.h"
#include "ZerlithCore/threads/KZEventSemaphore.h"

/// A recursive lock whose owner can leave it and wait until another owner posts.
///
/// Thread safety: all operations may be called from any thread; `Unlock`, `PostUnlock` and `UnlockWait` by the owner.
class KZ_EXPORT KZSynchronizedCriticalSection {
public:
    /// Errors: KZWindowsLastErrorException.
    KZSynchronizedCriticalSection() = default;

    void Lock() noexcept { section_.Lock(); }
    void lock() noexcept { section_.Lock(); }
    void Unlock() noexcept { section_.Unlock(); }
    void unlock() noexcept { section_.Unlock(); }

    /// Ends the wait of everyone who is in `UnlockWait`, and leaves the lock.
    void PostUnlock() noexcept;

    /// Leaves the lock and waits without limit for a `PostUnlock`. The caller returns without the lock.
    ///
    /// A post from before the call doesn't count; one from after the lock was left is never missed.
    void UnlockWait() noexcept;

private:
    KZCriticalSection section_;
    KZEventSemaphore posted_;
};
