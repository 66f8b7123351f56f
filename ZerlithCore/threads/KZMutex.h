/// @file
/// The recursive lock that may be shared between processes.
///
///     KZMutex mutex(u"Plan store", false);
///     if (mutex.Lock(5000)) {
///         // No other process of this user gets here now.
///         mutex.Unlock();
///     }
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/threads/detail/WaitTime.h"

class KZString;

namespace KZPlatform {
struct WaitObject;
}

/// A recursive lock with a time-out. If it has a name, all processes of the user share it.
///
/// The owner may lock again, through any object of the same name, and must unlock as often. Names are case-sensitive and
/// end at their first 0 unit. A named mutex exists as long as some process has an object of that name; the objects of a
/// process that ends or is killed go with it.
///
/// Thread safety: all operations may be called from any thread; only the owner may unlock.
class KZ_EXPORT KZMutex {
public:
    /// Makes the mutex, or opens the one with that name. An empty name makes a mutex without a name. `initiallyOwned` locks a
    /// new mutex for the caller, and has no effect on one that exists already. Never waits for an owner.
    /// Errors: KZWindowsLastErrorException.
    KZMutex();
    explicit KZMutex(KZString const & name, bool initiallyOwned = false);
    KZMutex(KZMutex const &) = delete;
    KZMutex & operator=(KZMutex const &) = delete;
    /// Doesn't unlock: through other objects of the name the mutex stays locked until the owner's thread ends.
    ~KZMutex();

    /// Waits at most `timeout` milliseconds, or without limit for 0xFFFFFFFF, and returns whether the caller got the mutex.
    ///
    /// Also returns false if the former owner's thread ended without unlocking, although the caller then holds the mutex.
    /// Callers rely on this. Errors: KZWindowsLastErrorException when the wait itself fails.
    bool Lock(unsigned int timeout = 0xFFFFFFFF) { return lock(timeout); }
    bool lock(unsigned int timeout = 0xFFFFFFFF);
    /// The same with a duration of `<chrono>`, rounded up to milliseconds; without limit if it has more than 32 bits of them.
    template <KZDetail::IsChronoDuration Duration>
    bool Lock(Duration const & timeout) {
        return lock(KZDetail::WaitMilliseconds(timeout));
    }
    /// Locks without a limit.
    bool obtain() { return lock(); }

    /// Undoes one `Lock`. Errors: KZWindowsLastErrorException when the caller isn't the owner.
    void Unlock() { unlock(); }
    void unlock();
    void release() { unlock(); }

private:
    KZPlatform::WaitObject * handle_;
};
