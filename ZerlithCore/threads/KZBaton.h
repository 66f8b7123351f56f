/// @file
/// A lock that threads get in the order of their turn numbers.
///
///     KZBaton baton;
///     for (unsigned int turn = 1; turn <= 3; ++turn) { // each turn may be on a thread of its own
///         baton.Lock(turn);
///         KZGetConsole() << turn << std::endl;         // prints 1, 2, 3, whichever thread comes first
///         baton.Unlock();
///     }
#pragma once

#include "ZerlithCore/KZExport.h"

#include <atomic>
#include <cstdint>

namespace KZPlatform {
struct WaitObject;
}

/// Lets threads run one at a time in the order of their turn numbers, whatever order they arrive in.
///
/// Turns count from 1. Turn N starts when turn N - 1 has started and has given the baton back.
///
/// Thread safety: all operations may be called from any thread. Only the constructor can fail.
class KZ_EXPORT KZBaton {
public:
    /// Errors: KZWindowsLastErrorException when the system can't make a lock or an event.
    KZBaton();
    KZBaton(KZBaton const &) = delete;
    KZBaton & operator=(KZBaton const &) = delete;
    /// Waits until nobody holds the baton.
    ~KZBaton();

    /// Waits without limit for `turn`, and takes the baton. Returns at once without the baton if that turn, or a later one, has
    /// already started.
    void Lock(unsigned int turn) noexcept { lock(turn); }
    void lock(unsigned int turn) noexcept;

    /// Gives the baton back, so that the next turn can start. Does nothing for a caller that doesn't hold it.
    void Unlock() noexcept { unlock(); }
    void unlock() noexcept;

private:
    KZPlatform::WaitObject * mutex_;
    KZPlatform::WaitObject * turnStarted_;
    std::atomic<std::uint32_t> last_{0}; // the last turn that started; written under the mutex
};
