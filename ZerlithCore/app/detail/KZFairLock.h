/// @file
/// The lock that serves in the order of asking.
#pragma once

#include "ZerlithCore/platform/Threads.h"

#include <atomic>

/// A recursive lock. Who asks for it gets it behind those who asked before, also when the owner asks again at once; so
/// a thread that works under it in passes lets everybody in between two of them.
///
/// Thread safety: all operations may be called from any thread; `Unlock` by the owner.
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
    /// Tells whether somebody waits. Requires: the caller holds the lock.
    [[nodiscard]] bool IsAwaited() const noexcept {
        return tickets_.load(std::memory_order_relaxed) - served_.load(std::memory_order_relaxed) > 1;
    }

private:
    std::atomic<unsigned int> tickets_{0}; // given out
    std::atomic<unsigned int> served_{0};  // the ticket whose turn it is
    std::atomic<unsigned long> owner_{0};
    unsigned int depth_ = 0;
};
