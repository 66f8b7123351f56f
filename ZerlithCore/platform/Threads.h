/// @file
/// Threads that are known before they start, their identifiers, priorities and stacks, and slots with one value a thread.
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

/// The number of the calling thread, whoever started it: from 1, at most 32 bits, never given twice in a process.
[[nodiscard]] KZ_EXPORT unsigned long CurrentThreadId() noexcept;

/// Gives up the processor to whoever else wants it.
void GiveWay() noexcept;

/// Sleeps at least so long; signals don't cut it short.
void SleepFor(std::uint64_t milliseconds) noexcept;

/// A thread made by `NewThread`. Opaque; `CloseThread` ends the handle, not the thread.
struct ThreadRecord;
using ThreadHandle = ThreadRecord *;

/// Makes a thread that will run `entry(argument)` once it is started; null on failure. Until then it has a number and a
/// stack but costs no thread of the system, so what has to be noted of it can be noted, or fail, before anything runs.
///
/// `stackBytes` below what a thread needs becomes that; 0, and what the system can't make sense of, is its default.
[[nodiscard]] ThreadHandle NewThread(void (*entry)(void *), void * argument, std::size_t stackBytes) noexcept;

/// The number that `CurrentThreadId` tells on that thread.
[[nodiscard]] unsigned long IdOf(ThreadHandle thread) noexcept;

/// Starts a new thread, once. False when the system has none to give: nothing has run then, and it may be tried again.
[[nodiscard]] bool StartThread(ThreadHandle thread) noexcept;

/// Waits until the thread has wholly ended: `waitDone`, `waitTimedOut` or `waitFailed`. Any number of threads may wait.
std::uint32_t WaitForThreadEnd(ThreadHandle thread, std::uint32_t milliseconds) noexcept;

/// Ends the handle; null does nothing. A running thread runs on, and leaves nothing behind at its end.
///
/// Requires: nobody waits with it, and nobody uses it later.
void CloseThread(ThreadHandle thread) noexcept;

/// Sets the priority: 0 is normal, from -15 (idle) to 15 (most urgent). The number is kept as it is; the scheduler is told
/// as far as it lets this process. False, with nothing changed, for numbers outside and for a null handle.
bool SetPriorityOf(ThreadHandle thread, int priority) noexcept;

/// The number set last; `noPriority` for a null handle.
[[nodiscard]] int PriorityOf(ThreadHandle thread) noexcept;
inline constexpr int noPriority = 0x7FFFFFFF;

/// Stops the thread for as long as it takes to note the return addresses on its stack, innermost first.
///
/// Returns how many were stored; 0 for a thread that has ended or doesn't answer within a second. One collection runs
/// at a time. Giving the addresses names is the caller's work, while the thread runs on.
[[nodiscard]] std::size_t CollectStackOf(ThreadHandle thread, std::span<void *> addresses) noexcept;

/// A slot that holds one pointer a thread, null at first; `noSlot` when there are no more.
[[nodiscard]] unsigned long NewSlot() noexcept;
inline constexpr unsigned long noSlot = 0xFFFFFFFF;

/// Gives the slot back. False when there is none of that number.
bool FreeSlot(unsigned long slot) noexcept;

/// The calling thread's pointer; null when none was set or there is no such slot.
[[nodiscard]] void * SlotValue(unsigned long slot) noexcept;
bool SetSlotValue(unsigned long slot, void * value) noexcept;

} // namespace KZPlatform
