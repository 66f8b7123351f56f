// Maps the memory of threads, and keeps that of up to sixteen ended threads for the next ones.
#include "ZerlithCore/platform/posix/StackMemory.h"

#include <array>
#include <atomic>
#include <sys/mman.h>
#include <utility>

namespace KZPlatform {

thread_local constinit StackMemory * ownStack = nullptr;

namespace {

constexpr std::size_t lockedBytes = guardBytes + spareStackBytes + reserveBytes;
constexpr std::size_t hotBytes = 64 * 1024; // at the top of a stack; the next thread uses it again

/// The advice that makes pages fault without an entry in the table of mappings; newer systems know it.
constexpr int installGuard = 102;

constexpr std::size_t MappedBytes(std::size_t bytes) noexcept {
    return lockedBytes + bytes + guardBytes + signalStackBytes + faultStateBytes;
}

/// A place that keeps one unused stack. A thread that finds a place busy goes on to the next one, so nobody waits. If
/// the process is forked while a place is busy, the child loses only that place.
class KeptStack {
public:
    bool Put(char * base, std::size_t bytes) noexcept {
        if (!Enter(Empty)) return false;
        base_ = base;
        bytes_ = bytes;
        state_.store(Full, std::memory_order_release);
        return true;
    }
    /// Null when it keeps no stack of that size.
    char * Take(std::size_t bytes) noexcept {
        if (!Enter(Full)) return nullptr;
        bool const fits = bytes_ == bytes;
        char * const base = base_;
        state_.store(fits ? Empty : Full, std::memory_order_release);
        return fits ? base : nullptr;
    }

private:
    enum State : unsigned char { Empty, Busy, Full };

    bool Enter(State expected) noexcept {
        return state_.load(std::memory_order_relaxed) == expected &&
               state_.compare_exchange_strong(expected, Busy, std::memory_order_acquire);
    }

    std::atomic<State> state_{Empty};
    char * base_ = nullptr;
    std::size_t bytes_ = 0;
};

constinit std::array<KeptStack, 16> keptStacks{};

char * TakeKept(std::size_t bytes) noexcept {
    for (KeptStack & place : keptStacks)
        if (char * const base = place.Take(bytes)) return base;
    return nullptr;
}

char * Map(std::size_t bytes) noexcept {
    // Without access rights at first: memory that is never opened isn't counted against the memory of the machine.
    void * const memory = mmap(nullptr, MappedBytes(bytes), PROT_NONE,
                               MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
    if (memory == MAP_FAILED) return nullptr;
    char * const base = static_cast<char *>(memory);
    if (mprotect(base + lockedBytes, MappedBytes(bytes) - lockedBytes, PROT_READ | PROT_WRITE) != 0) {
        munmap(memory, MappedBytes(bytes));
        return nullptr;
    }
    madvise(base + lockedBytes + bytes, guardBytes, installGuard);
    return base;
}

} // namespace

bool StackMemory::Take(std::size_t bytes) noexcept {
    base_ = TakeKept(bytes);
    if (!base_) base_ = Map(bytes);
    bytes_ = bytes;
    return base_ != nullptr;
}

void StackMemory::GiveBack() noexcept {
    char * const base = std::exchange(base_, nullptr);
    if (!base) return;
    if (!isSpoilt_) {
        if (bytes_ > hotBytes) madvise(base + lockedBytes, bytes_ - hotBytes, MADV_DONTNEED);
        for (KeptStack & place : keptStacks)
            if (place.Put(base, bytes_)) return;
    }
    munmap(base, MappedBytes(bytes_));
}

} // namespace KZPlatform
