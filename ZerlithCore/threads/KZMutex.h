/// @file
/// The recursive lock that may be shared between processes.
///
///     KZMutex mutex(u"Plan store", false);
///     if (mutex.Lock(5000)) {
///         ...
///         mutex.Unlock();
///     }
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"

namespace KZPlatform {
struct WaitObject;
}

/// A recursive lock with a time-out and, if it has a name, one for all processes of the user.
///
/// The owner may lock again, through any object of the same name, and must unlock as often. Names are case-sensitive and
/// end at their first 0 unit. A named mutex ends with its last object in any process, ended and killed ones included.
///
/// Thread safety: all operations may be called from any thread; unlocking only by the owner.
class KZ_EXPORT KZMutex {
public:
    /// Makes the mutex, or opens the one of that name; an empty name makes an unnamed one. `initiallyOwned` locks it for
    /// the caller if it is new, and doesn't count otherwise. Never waits for an owner.
    /// Errors: KZWindowsLastErrorException.
    explicit KZMutex(KZString const & name = KZString(), bool initiallyOwned = false);
    KZMutex(KZMutex const &) = delete;
    KZMutex & operator=(KZMutex const &) = delete;
    /// Doesn't unlock: other objects of the name find it locked as long as the owner's thread lives.
    ~KZMutex();

    /// Waits at most `timeout` milliseconds, all ones for ever, and tells whether the mutex was obtained.
    ///
    /// False also for a mutex whose owner ended without unlocking, though the caller holds it then. Callers rely on this.
    /// Errors: KZWindowsLastErrorException when the wait itself fails.
    bool Lock(unsigned int timeout = 0xFFFFFFFF) { return lock(timeout); }
    bool lock(unsigned int timeout = 0xFFFFFFFF);
    /// Locks without a limit.
    bool obtain() { return lock(); }

    /// Undoes one `Lock`. Errors: KZWindowsLastErrorException when the caller isn't the owner.
    void Unlock() { unlock(); }
    void unlock();
    void release() { unlock(); }

private:
    KZPlatform::WaitObject * handle_;
};
