/// @file
/// A lock that threads get in the order in which they asked for it. Not installed.
#pragma once

#include "ZerlithCore/platform/Threads.h"

#include <atomic>

/// A recursive lock that waiting threads get in the order of their calls. A thread that unlocks and locks again at once gets
/// it after those that were waiting. So when a thread works in passes and unlocks after each, all waiting threads get in
/// between two passes.
///
/// Thread safety: all operations may be called from any thread; only the owner may unlock.
class KZFairLock {
public:
    constexpr KZFairLock() noexcept = default;
    KZFairLock(KZFairLock const &) = delete;
    KZFairLock & operator=(KZFairLock const &) = delete;

    void Lock() noexcept {
        unsigned long const self = KZPlatform::CurrentThreadId();
        if (owner_.load(std::memory_order_relaxed) != self) {
            unsigned int const ticket = tickets_.fetch_add(1, std::memory_order_relaxed);
            for (unsigned int now; (now = served_.load(std::memory_order_acquire)) != ticket;)
                served_.wait(now, std::memory_order_acquire);
            owner_.store(self, std::memory_order_relaxed);
        }
        ++depth_;
    }
    void Unlock() noexcept {
        if (--depth_ != 0) return;
        owner_.store(0, std::memory_order_relaxed);
        served_.fetch_add(1, std::memory_order_release);
        served_.notify_all();
    }
    /// Tells whether another thread is waiting. Requires: the caller holds the lock.
    [[nodiscard]] bool IsAwaited() const noexcept {
        return tickets_.load(std::memory_order_relaxed) - served_.load(std::memory_order_relaxed) > 1;
    }

private:
    std::atomic<unsigned int> tickets_{0}; // the next free ticket
    std::atomic<unsigned int> served_{0};  // the ticket whose turn it is
    std::atomic<unsigned long> owner_{0};
    unsigned int depth_ = 0;
};
