/// @file
/// A number of permits that threads take and give back.
///
///     KZCountingSemaphore connections(8, 8);
///     connections.Lock(2);
///     ...
///     connections.Unlock(2);
#pragma once

#include "ZerlithCore/threads/KZMutex.h"

/// A count of permits with a maximum.
///
/// Waiting is by polling every 10 milliseconds, without time-out and without fairness: who waits for many permits can be
/// overtaken for ever by those who wait for few.
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

    /// Takes `n` permits at once, waiting until there are so many.
    void Lock(unsigned int n = 1) { lock(n); }
    void lock(unsigned int n = 1);
    void Wait(unsigned int n = 1) { lock(n); }
    void wait(unsigned int n = 1) { lock(n); }

    /// Gives `n` permits back. Errors: KZException "KZCountingSemaphore overflow" with the count as it was.
    void Unlock(unsigned int n = 1) { unlock(n); }
    void unlock(unsigned int n = 1);
    void Post(unsigned int n = 1) { unlock(n); }
    void post(unsigned int n = 1) { unlock(n); }

    /// Takes `n` permits if there are so many; tells whether it did.
    [[nodiscard]] bool TryLock(unsigned int n = 1);

    /// The permits left, and the maximum.
    [[nodiscard]] unsigned int GetCount() const;
    [[nodiscard]] unsigned int GetSize() const;

private:
    mutable KZMutex mutex_; // held for one update, never across a sleep
    unsigned int count_;
    unsigned int maximum_;
};
