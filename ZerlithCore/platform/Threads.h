/// @file
/// Threads with their numbers, priorities and stacks, and slots that hold one value for each thread. A thread exists,
/// with its number, before it starts.
///
///     ThreadHandle const thread = NewThread(&Body, argument, 0);
///     if (thread && StartThread(thread)) WaitForThreadEnd(thread, waitForever);
///     CloseThread(thread);
///
/// Functions that fail set the thread's last error.
#pragma once

#include "ZerlithCore/platform/Locks.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace KZPlatform {

/// The number of the calling thread, whoever started it: 1 or above, at most 32 bits, never used again in this
/// process.
[[nodiscard]] KZ_EXPORT unsigned long CurrentThreadId() noexcept;

/// Lets other threads that are ready run first.
void GiveWay() noexcept;

/// Sleeps at least that long; a signal doesn't end the sleep early.
void SleepFor(std::uint64_t milliseconds) noexcept;

/// A thread made by `NewThread`. `CloseThread` ends the handle, not the thread.
struct ThreadRecord;
using ThreadHandle = ThreadRecord *;

/// Makes a thread that will run `entry(argument)` when it is started; null on failure. Until it is started it has a
/// number and a stack, but the system has no thread yet. So the caller can register the thread first, and if that
/// fails, nothing has run.
///
/// A `stackBytes` below the minimum is raised to the minimum. 0, or a size that the system can't provide, gives the
/// system's default.
[[nodiscard]] ThreadHandle NewThread(void (*entry)(void *), void * argument, std::size_t stackBytes) noexcept;

/// The number that `CurrentThreadId` returns on that thread.
[[nodiscard]] unsigned long IdOf(ThreadHandle thread) noexcept;

/// Starts the thread; to be called once. False when the system can't make a thread: nothing has run, and the call may
/// be tried again.
[[nodiscard]] bool StartThread(ThreadHandle thread) noexcept;

/// Waits until nothing of the thread is left running. Returns `waitDone`, `waitTimedOut` or `waitFailed`. Any number
/// of threads may wait.
std::uint32_t WaitForThreadEnd(ThreadHandle thread, std::uint32_t milliseconds) noexcept;

/// Closes the handle; null does nothing. A running thread continues, and frees what it has at its end.
///
/// Requires: nobody waits with this handle, and nobody uses it later.
void CloseThread(ThreadHandle thread) noexcept;

/// Sets the priority: 0 is normal, -15 (idle) the lowest, 15 (most urgent) the highest. The number is kept unchanged;
/// the scheduler gets it as far as this process has the right. False, with nothing changed, for other numbers and for
/// a null handle.
bool SetPriorityOf(ThreadHandle thread, int priority) noexcept;

/// The priority that was set last; `noPriority` for a null handle.
[[nodiscard]] int PriorityOf(ThreadHandle thread) noexcept;
inline constexpr int noPriority = 0x7FFFFFFF;

/// Interrupts the thread and stores the return addresses on its stack, innermost first. The thread stands still only
/// while they are stored.
///
/// Returns how many were stored; 0 for a thread that has ended or doesn't respond within a second. Only one
/// collection runs at a time; others wait for it. To find the functions' names, give the addresses to `NameAddresses`
/// afterwards, while the thread runs on.
[[nodiscard]] std::size_t CollectStackOf(ThreadHandle thread, std::span<void *> addresses) noexcept;

/// Makes a slot that holds one pointer for each thread, null at first. Returns `noSlot` when there are no more.
[[nodiscard]] unsigned long NewSlot() noexcept;
inline constexpr unsigned long noSlot = 0xFFFFFFFF;

/// Frees the slot. False when there is no slot of that number.
bool FreeSlot(unsigned long slot) noexcept;

/// The calling thread's pointer; null when the thread has set none or there is no such slot.
[[nodiscard]] void * SlotValue(unsigned long slot) noexcept;
bool SetSlotValue(unsigned long slot, void * value) noexcept;

} // namespace KZPlatform
