/// @file
/// The memory of a thread that this library starts: its stack, and what it needs to survive its faults (Faults.cpp).
#pragma once

#include "ZerlithCore/platform/posix/FaultContext.h"

#include <cstddef>

namespace KZPlatform {

// Multiples of every page size.
inline constexpr std::size_t guardBytes = 64 * 1024;
inline constexpr std::size_t spareStackBytes = 512 * 1024;
inline constexpr std::size_t reserveBytes = 64 * 1024;
inline constexpr std::size_t signalStackBytes = canRedirect ? 128 * 1024 : spareStackBytes;
inline constexpr std::size_t faultStateBytes = 4 * 1024;

/// All memory of one thread, in a single mapping. From the low end, with the usual sizes:
///
///     guard           64 KB   locked (no access)
///     spare stack    512 KB   locked until a fault needs it
///     reserve         64 KB   locked until the stack overflows
///     stack            8 MB   grows down, towards the reserve; the C library's data of the thread is at its top
///     guard           64 KB   on systems with guards that need no entry of their own
///     signal stack   128 KB   the signal handler runs here
///     fault state      4 KB
///
/// A mapping whose parts have different rights takes one entry in the system's table for each such part. Here there
/// are two, the locked part and the rest, which is as few as any thread has. The system limits the table, and with it
/// the number of threads.
///
/// Memory that is given back is kept for the next threads, up to a limit: that saves most of the cost of making it.
class StackMemory {
public:
    StackMemory() noexcept = default;
    StackMemory(StackMemory const &) = delete;
    StackMemory & operator=(StackMemory const &) = delete;
    ~StackMemory() { GiveBack(); }

    /// Takes memory for a stack of `bytes`, a multiple of the page size that fits the address space. False, with
    /// errno set, when there is none.
    bool Take(std::size_t bytes) noexcept;
    /// Requires: no thread runs on it any more.
    void GiveBack() noexcept;

    /// The stack itself, for the C library.
    [[nodiscard]] char * Low() const noexcept { return base_ + guardBytes + spareStackBytes + reserveBytes; }
    [[nodiscard]] std::size_t Bytes() const noexcept { return bytes_; }

    [[nodiscard]] char * SpareStack() const noexcept { return base_ + guardBytes; }
    [[nodiscard]] char * SignalStack() const noexcept { return Low() + bytes_ + guardBytes; }
    [[nodiscard]] void * FaultState() const noexcept { return SignalStack() + signalStackBytes; }

    /// To be called when a locked part may have been opened: the memory won't be used for another thread.
    void Spoil() noexcept { isSpoilt_ = true; }

private:
    char * base_ = nullptr;
    std::size_t bytes_ = 0;
    bool isSpoilt_ = false;
};

/// The memory of the calling thread; null on a thread that somebody else has started.
extern thread_local constinit StackMemory * ownStack;

} // namespace KZPlatform
