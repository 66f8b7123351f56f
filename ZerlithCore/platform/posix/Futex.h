/// @file
/// The system's wait on a word of memory, and moments to give up at.
#pragma once

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace KZPlatform {

/// Who can wait on a word: threads of this process, or of every process that maps it.
enum class Reach : int { Process = FUTEX_PRIVATE_FLAG, Shared = 0 };

/// The moment when a wait of `milliseconds` ends; all ones never do.
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

    /// Null when it never comes.
    [[nodiscard]] timespec const * Moment() const noexcept { return endless_ ? nullptr : &moment_; }

private:
    timespec moment_ = {};
    bool endless_;
};

/// Sleeps while the word is `value`. Returns 0 or an error number: ETIMEDOUT, or one of a wait that ended by chance.
inline int FutexWait(void const * word, std::uint32_t value, Reach reach,
                     Deadline const & deadline) noexcept {
    int const operation = FUTEX_WAIT_BITSET | static_cast<int>(reach);
    long const result =
        syscall(SYS_futex, word, operation, value, deadline.Moment(), nullptr, FUTEX_BITSET_MATCH_ANY);
    return result == 0 ? 0 : errno;
}

/// Wakes at most `count` of those who sleep on the word. The memory itself isn't touched.
inline void FutexWake(void const * word, int count, Reach reach) noexcept {
    syscall(SYS_futex, word, FUTEX_WAKE | static_cast<int>(reach), count, nullptr, nullptr, 0);
}

/// The system's own number of the calling thread; right in a forked child too.
[[nodiscard]] pid_t KernelThreadId() noexcept;

/// Tells whether a thread of this process has that number: once it hasn't, the system doesn't touch its memory any more.
[[nodiscard]] bool IsThreadHere(pid_t thread) noexcept;

} // namespace KZPlatform
