/// @file
/// Mutexes and manual-reset events. A wait for one can have a time limit, and a name makes one common to several
/// processes.
///
///     WaitHandle const mutex = NewMutex(u"Plan store", false);
///     if (mutex && WaitFor(mutex, 500) == waitDone) ... UnlockMutex(mutex);
///     CloseWait(mutex);
///
/// Functions that fail set the thread's last error. All may be called from any thread.
#pragma once

#include "ZerlithCore/KZExport.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace KZPlatform {

/// A mutex or an event. Made by `NewMutex` and `NewEvent`, ended by `CloseWait`.
struct WaitObject;
using WaitHandle = WaitObject *;

/// As a limit in milliseconds: waits without a limit.
inline constexpr std::uint32_t waitForever = 0xFFFFFFFF;

/// The results of a wait. Their numbers are the same on every system, because the rooms above return them to users.
inline constexpr std::uint32_t waitDone = 0;
inline constexpr std::uint32_t waitAbandoned =
    128; // the caller owns the mutex now; its last owner ended without unlocking it
inline constexpr std::uint32_t waitTimedOut = 258;
inline constexpr std::uint32_t waitFailed = 0xFFFFFFFF;

/// Makes a recursive mutex, or opens the one that has this `name` in any process of this user; null on failure.
///
/// An empty name makes a mutex of this process alone. A name may have any units, its case matters, and a mutex and an
/// event may have the same name. `owned` makes the caller the owner of a new mutex; it has no effect on one that
/// exists already. Never waits for an owner. A named object ends when the last handle in any process is closed, or
/// when the processes that have handles end or are killed.
[[nodiscard]] KZ_EXPORT WaitHandle NewMutex(std::u16string_view name, bool owned) noexcept;

/// Makes or opens a manual-reset event, by the rules of `NewMutex`. `signalled` makes a new event set at the start;
/// it has no effect on one that exists already.
[[nodiscard]] KZ_EXPORT WaitHandle NewEvent(std::u16string_view name, bool signalled) noexcept;

/// Undoes one wait for `mutex`. False, with nothing changed, when the caller doesn't own it.
KZ_EXPORT bool UnlockMutex(WaitHandle mutex) noexcept;

/// Sets `event` and releases everyone who waits for it; it stays set. A thread that was waiting returns even if the
/// event is cleared before the thread has run.
KZ_EXPORT bool PostEvent(WaitHandle event) noexcept;

/// Clears `event`.
KZ_EXPORT bool ClearEvent(WaitHandle event) noexcept;

/// Releases everyone who waits for `event` at this moment, and leaves it cleared. A thread that begins to wait later
/// isn't released by this.
KZ_EXPORT bool PulseWaiters(WaitHandle event) noexcept;

/// Waits until the event is set, or until the caller owns the mutex. Returns `waitDone`, `waitAbandoned`,
/// `waitTimedOut` or `waitFailed`.
KZ_EXPORT std::uint32_t WaitFor(WaitHandle handle, std::uint32_t milliseconds) noexcept;

/// Together these two wait without missing a release between a check and the wait:
///
///     std::uint32_t const noted = NoteReleases(event);
///     lock.Unlock();                                // a post or pulse may happen here
///     WaitForReleaseAfter(event, noted, limit);     // returns at once if one did
///
/// `NoteReleases` returns the present state of `event`. `WaitForReleaseAfter` returns `waitDone` at once when the
/// event was set at that moment or has been posted or pulsed since, and waits for that otherwise.
[[nodiscard]] std::uint32_t NoteReleases(WaitHandle event) noexcept;
std::uint32_t WaitForReleaseAfter(WaitHandle event, std::uint32_t noted, std::uint32_t milliseconds) noexcept;

/// Waits until one of `events`, at most 64, is set. Returns its index (the lowest if several are set), `waitTimedOut`
/// or `waitFailed`.
KZ_EXPORT std::uint32_t WaitForAny(std::span<WaitHandle const> events, std::uint32_t milliseconds) noexcept;

/// Unlocks `mutex` and then waits for `event`. A post or pulse after the unlocking is never missed, even if it comes
/// before the wait begins.
KZ_EXPORT std::uint32_t UnlockAndWaitFor(WaitHandle mutex, WaitHandle event,
                                         std::uint32_t milliseconds) noexcept;

/// Closes the handle; null does nothing. This doesn't unlock a mutex: if other handles lead to it, its owner still
/// owns it.
KZ_EXPORT void CloseWait(WaitHandle handle) noexcept;

} // namespace KZPlatform
