/// @file
/// A number of permits that threads take and give back.
///
///     KZCountingSemaphore connections(8, 8); // 8 of 8 are free
///     connections.Lock(2);
///     // Use two connections here.
///     connections.Unlock(2);
#pragma once

#include "ZerlithCore/threads/KZMutex.h"

/// A count of permits with a maximum.
///
/// A waiting thread looks every 10 milliseconds, without a time-out. There is no order among waiting threads: one that needs
/// many permits may wait for ever while others keep taking a few.
///
/// Thread safety: all operations may be called from any thread.
/// Errors: every operation throws KZWindowsLastErrorException if the lock inside fails.
class KZ_EXPORT KZCountingSemaphore {
public:
    static constexpr unsigned int LargestCount = 0x7FFFFFFF;

    /// `initial` permits of at most `maximum`.
    /// Errors: KZException "KZCountingSemaphore exception: initial greater than the maximum".
    explicit KZCountingSemaphore(unsigned int initial, unsigned int maximum = LargestCount);
    KZCountingSemaphore(KZCountingSemaphore const &) = delete;
    KZCountingSemaphore & operator=(KZCountingSemaphore const &) = delete;

    /// Takes `n` permits together, and waits until there are that many. Never returns if `n` is above the maximum.
    void Lock(unsigned int n = 1) { lock(n); }
    void lock(unsigned int n = 1);
    void Wait(unsigned int n = 1) { lock(n); }
    void wait(unsigned int n = 1) { lock(n); }

    /// Gives `n` permits back. Errors: KZException "KZCountingSemaphore overflow" if the count would pass the maximum; the count
    /// doesn't change then.
    void Unlock(unsigned int n = 1) { unlock(n); }
    void unlock(unsigned int n = 1);
    void Post(unsigned int n = 1) { unlock(n); }
    void post(unsigned int n = 1) { unlock(n); }

    /// Takes `n` permits if there are that many, without waiting. Returns whether it took them.
    [[nodiscard]] bool TryLock(unsigned int n = 1);

    /// The number of free permits.
    [[nodiscard]] unsigned int GetCount() const;
    /// The maximum.
    [[nodiscard]] unsigned int GetSize() const;

private:
    mutable KZMutex mutex_; // held for one update, never during a sleep
    unsigned int count_;
    unsigned int maximum_;
};
