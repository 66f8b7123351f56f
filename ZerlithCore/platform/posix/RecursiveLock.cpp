// A futex lock of three states (free, held, held with waiters), with owner and recursion count beside it.
//
// The owner is known by the address of its thread control block: cheaper to get than a thread number, and it survives
// a fork. As long as the process has one thread only, taking and letting go are plain stores: nobody can come in
// between, and the start of a second thread publishes them.
#include "ZerlithCore/platform/RecursiveLock.h"

#include "ZerlithCore/platform/posix/Futex.h"

#include <sys/single_threaded.h>

namespace KZPlatform {

namespace {

enum State : std::uint32_t { Free = 0, Held = 1, Contended = 2 };

// Critical sections are short: looking again a few times is cheaper than asking the system to sleep.
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
    // Only the thread itself ever stores its own identity, so a match can't be stale.
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
    // Behind the exchange the object may be gone: another owner may have destroyed it. Waking touches no memory.
    if (state_.exchange(Free, std::memory_order_release) == Contended) FutexWake(&state_, 1, Reach::Process);
}

void RecursiveLock::LockContended(std::uintptr_t self) noexcept {
    Deadline const never = Deadline::Never();
    bool taken = false;
    for (int round = 0; round < spinRounds && !taken; ++round) {
        Pause();
        taken = state_.load(std::memory_order_relaxed) == Free && TryTake(state_);
    }
    // Whoever has slept can't know whether others still do, so it takes the lock as contended.
    while (!taken && state_.exchange(Contended, std::memory_order_acquire) != Free) {
        FutexWait(&state_, Contended, Reach::Process, never);
    }
    owner_.store(self, std::memory_order_relaxed);
    recursion_ = 1;
}

} // namespace KZPlatform
