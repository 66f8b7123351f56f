/// @file
/// The memory of a thread that this library starts.
#pragma once

#include "ZerlithCore/platform/posix/FaultContext.h"

#include <cstddef>

namespace KZPlatform {

// What a thread needs to survive its faults (Faults.cpp); multiples of every page size.
inline constexpr std::size_t guardBytes = 64 * 1024;
inline constexpr std::size_t spareStackBytes = 512 * 1024;
inline constexpr std::size_t reserveBytes = 64 * 1024;
inline constexpr std::size_t signalStackBytes = canRedirect ? 128 * 1024 : spareStackBytes;
inline constexpr std::size_t faultStateBytes = 4 * 1024;

/// Everything in one mapping, so that a thread costs two entries in the system's table of mappings, as few as any thread
/// has. From the low end:
///
///     guard, spare stack, reserve     locked, until a stack overflow needs them
///     stack                           with the C library's data of the thread at its top
///     guard, where the system has some that cost no entry
///     signal stack, fault state
///
/// Stacks that were given back wait for the next threads, some of them: that saves most of what making one costs.
class StackMemory {
public:
    StackMemory() noexcept = default;
    StackMemory(StackMemory const &) = delete;
    StackMemory & operator=(StackMemory const &) = delete;
    ~StackMemory() { GiveBack(); }

    /// Takes memory for a stack of `bytes`, a multiple of the page size and sane. False, with errno set, when there is none.
    bool Take(std::size_t bytes) noexcept;
    /// Requires: nothing runs on it any more.
    void GiveBack() noexcept;

    /// The part for the C library.
    [[nodiscard]] char * Low() const noexcept { return base_ + guardBytes + spareStackBytes + reserveBytes; }
    [[nodiscard]] std::size_t Bytes() const noexcept { return bytes_; }

    [[nodiscard]] char * SpareStack() const noexcept { return base_ + guardBytes; }
    [[nodiscard]] char * SignalStack() const noexcept { return Low() + bytes_ + guardBytes; }
    [[nodiscard]] void * FaultState() const noexcept { return SignalStack() + signalStackBytes; }

    /// Tells that a part which is locked by right may be open: the stack won't serve another thread.
    void Spoil() noexcept { isSpoilt_ = true; }

private:
    char * base_ = nullptr;
    std::size_t bytes_ = 0;
    bool isSpoilt_ = false;
};

/// The calling thread's; null on a thread that somebody else has started.
extern thread_local constinit StackMemory * ownStack;

} // namespace KZPlatform
