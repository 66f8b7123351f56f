/// @file
/// Taking turns by number.
///
///     baton.Lock(turn);      // turns are 1, 2, 3 ... whatever thread comes first
///     ...                    // runs alone
///     baton.Unlock();
#pragma once

#include "ZerlithCore/KZExport.h"

#include <atomic>
#include <cstdint>

namespace KZPlatform {
struct WaitObject;
}

/// Lets threads run in the order of the turn numbers that they bring, whatever order they arrive in.
///
/// Turn N starts once turn N - 1 has started and doesn't hold the baton any more.
///
/// Thread safety: all operations may be called from any thread. None of them reports a failure.
class KZ_EXPORT KZBaton {
public:
    /// Errors: KZWindowsLastErrorException when the system has no lock or event to give.
    KZBaton();
    KZBaton(KZBaton const &) = delete;
    KZBaton & operator=(KZBaton const &) = delete;
    /// Waits until nobody holds the baton.
    ~KZBaton();

    /// Waits for `turn` and takes the baton. A turn that is past already returns at once, holding nothing.
    void Lock(unsigned int turn) noexcept { lock(turn); }
    void lock(unsigned int turn) noexcept;

    /// Hands the baton on. Harmless for a caller that holds nothing.
    void Unlock() noexcept { unlock(); }
    void unlock() noexcept;

private:
    KZPlatform::WaitObject * mutex_;
    KZPlatform::WaitObject * turnStarted_;
    std::atomic<std::uint32_t> last_{0}; // the last turn taken; written under the mutex
};
