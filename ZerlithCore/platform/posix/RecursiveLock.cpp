// A lock on one word (futex) with three states, and beside it the owner and the recursion count. For example:
//
//     A takes the lock        0 -> 1    A owns it; nobody waits
//     B wants it              1 -> 2    B has looked a few times, marks the lock as contended and sleeps
//     A releases it           2 -> 0    A sees the 2 and wakes one thread
//     B wakes and takes it    0 -> 2    B can't know whether others sleep too, so it assumes so
//     B releases it           2 -> 0    and wakes a thread, if there is one
//
// The owner is identified by the address of its thread control block. That is cheaper to read than a thread number,
// and stays the same in a forked child. While the process has only one thread, taking and releasing are plain stores:
// nobody can interfere, and starting a second thread publishes them.
#include "ZerlithCore/platform/RecursiveLock.h"

#include "ZerlithCore/platform/posix/Futex.h"

#include <sys/single_threaded.h>

namespace KZPlatform {

namespace {

enum State : std::uint32_t { Free = 0, Held = 1, Contended = 2 };

// The lock is mostly held for a short time, so looking again a few times is cheaper than a sleep.
constexpr int spinRounds = 30;

std::uintptr_t Self() noexcept { return reinterpret_cast<std::uintptr_t>(__builtin_thread_pointer()); }

void Pause() noexcept {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

bool TryTake(std::atomic<std::uint32_t> & state) noexcept {
    if (__libc_single_threaded) {
        if (state.load(std::memory_order_relaxed) != Free) return false;
        state.store(Held, std::memory_order_relaxed);
        return true;
    }
    std::uint32_t expected = Free;
    return state.compare_exchange_strong(expected, Held, std::memory_order_acquire,
                                         std::memory_order_relaxed);
}

} // namespace

void RecursiveLock::Lock() noexcept {
    std::uintptr_t const self = Self();
    // A thread's identity is stored only by that thread itself, so if it is found here it is current.
    if (owner_.load(std::memory_order_relaxed) == self) {
        ++recursion_;
        return;
    }
    if (!TryTake(state_)) return LockContended(self);
    owner_.store(self, std::memory_order_relaxed);
    recursion_ = 1;
}

bool RecursiveLock::TryLock() noexcept {
    std::uintptr_t const self = Self();
    if (owner_.load(std::memory_order_relaxed) == self) {
        ++recursion_;
        return true;
    }
    if (!TryTake(state_)) return false;
    owner_.store(self, std::memory_order_relaxed);
    recursion_ = 1;
    return true;
}

void RecursiveLock::Unlock() noexcept {
    if (owner_.load(std::memory_order_relaxed) != Self() || --recursion_ != 0) return;
    owner_.store(0, std::memory_order_relaxed);
    if (__libc_single_threaded) {
        state_.store(Free, std::memory_order_relaxed);
        return;
    }
    // After the exchange another thread may take the lock, release it and destroy the object. FutexWake uses only its
    // address.
    if (state_.exchange(Free, std::memory_order_release) == Contended) FutexWake(&state_, 1, Reach::Process);
}

void RecursiveLock::LockContended(std::uintptr_t self) noexcept {
    Deadline const never = Deadline::Never();
    bool taken = false;
    for (int round = 0; round < spinRounds && !taken; ++round) {
        Pause();
        taken = state_.load(std::memory_order_relaxed) == Free && TryTake(state_);
    }
    // This thread can't know whether others still sleep, so it takes the lock as contended.
    while (!taken && state_.exchange(Contended, std::memory_order_acquire) != Free) {
        FutexWait(&state_, Contended, Reach::Process, never);
    }
    owner_.store(self, std::memory_order_relaxed);
    recursion_ = 1;
}

} // namespace KZPlatform
