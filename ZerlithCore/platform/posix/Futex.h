/// @file
/// Waiting on a word of memory (futex), and the deadline of a wait.
///
///     while (word.load() == 0) FutexWait(&word, 0, Reach::Process, deadline);     // one thread
///     word.store(1); FutexWake(&word, INT_MAX, Reach::Process);                   // another one
///
/// FutexWait sleeps only if the word has the given value when the system looks, so a change before the call isn't
/// missed.
#pragma once

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace KZPlatform {

/// Who can wait on a word: threads of this process, or of all processes that map the memory.
enum class Reach : int { Process = FUTEX_PRIVATE_FLAG, Shared = 0 };

/// The moment when a wait of `milliseconds` ends; 0xFFFFFFFF means never.
class Deadline {
public:
    explicit Deadline(std::uint32_t milliseconds) noexcept : endless_(milliseconds == 0xFFFFFFFF) {
        if (endless_) return;
        clock_gettime(CLOCK_MONOTONIC, &moment_);
        moment_.tv_sec += milliseconds / 1000;
        moment_.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000;
        if (moment_.tv_nsec >= 1000000000) {
            moment_.tv_nsec -= 1000000000;
            ++moment_.tv_sec;
        }
    }

    [[nodiscard]] static Deadline Never() noexcept { return Deadline(0xFFFFFFFF); }

    /// Null for a wait without an end.
    [[nodiscard]] timespec const * Moment() const noexcept { return endless_ ? nullptr : &moment_; }

private:
    timespec moment_ = {};
    bool endless_;
};

/// Sleeps while the word is `value`. Returns 0 or an error number. ETIMEDOUT means that the deadline has passed;
/// after any other result the caller must look at the word again, since a wait may also end without a reason.
inline int FutexWait(void const * word, std::uint32_t value, Reach reach,
                     Deadline const & deadline) noexcept {
    int const operation = FUTEX_WAIT_BITSET | static_cast<int>(reach);
    long const result =
        syscall(SYS_futex, word, operation, value, deadline.Moment(), nullptr, FUTEX_BITSET_MATCH_ANY);
    return result == 0 ? 0 : errno;
}

/// Wakes at most `count` threads that sleep on the word. Uses the address only: the memory need not exist any more.
inline void FutexWake(void const * word, int count, Reach reach) noexcept {
    syscall(SYS_futex, word, FUTEX_WAKE | static_cast<int>(reach), count, nullptr, nullptr, 0);
}

/// The system's number of the calling thread; also right in a forked child.
[[nodiscard]] pid_t KernelThreadId() noexcept;

/// Tells whether this process has a thread of that number. When it hasn't, the system won't touch that thread's
/// memory again.
[[nodiscard]] bool IsThreadHere(pid_t thread) noexcept;

} // namespace KZPlatform
