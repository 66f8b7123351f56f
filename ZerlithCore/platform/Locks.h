/// @file
/// Mutexes and manual-reset events that can be waited for with a limit, and shared between processes by name.
///
///     WaitHandle const mutex = NewMutex(u"Plan store", false);
///     if (mutex && WaitFor(mutex, 500) == waitDone) ... UnlockMutex(mutex);
///     CloseWait(mutex);
///
/// Functions that fail set the thread's last error.
#pragma once

#include "ZerlithCore/KZExport.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace KZPlatform {

/// A mutex or an event. Opaque; made by `NewMutex` and `NewEvent`, ended by `CloseWait`.
struct WaitObject;
using WaitHandle = WaitObject *;

/// A limit in milliseconds that never runs out.
inline constexpr std::uint32_t waitForever = 0xFFFFFFFF;

/// Results of a wait. Callers above hand these numbers on.
inline constexpr std::uint32_t waitDone = 0;
inline constexpr std::uint32_t waitAbandoned =
    128; // the mutex is the caller's, its last owner ended without unlocking
inline constexpr std::uint32_t waitTimedOut = 258;
inline constexpr std::uint32_t waitFailed = 0xFFFFFFFF;

/// Makes a recursive mutex, or opens the one that bears `name` in any process of this user; null on failure.
///
/// An empty name makes a mutex of this process alone. A name may be any units, case counts, and names of mutexes and of
/// events don't meet. `owned` makes the caller the owner of a new mutex; it doesn't count for one that is there
/// already. Never waits for an owner. A named object ends with its last handle in any process, ended and killed ones
/// included.
[[nodiscard]] KZ_EXPORT WaitHandle NewMutex(std::u16string_view name, bool owned) noexcept;

/// Makes or opens a manual-reset event, as `NewMutex`; `signalled` counts for a new one only.
[[nodiscard]] KZ_EXPORT WaitHandle NewEvent(std::u16string_view name, bool signalled) noexcept;

/// Undoes one wait for `mutex`. False, with nothing changed, when the caller doesn't own it.
KZ_EXPORT bool UnlockMutex(WaitHandle mutex) noexcept;

/// Sets `event` and lets go everyone who waits for it; it stays set. Whoever was waiting is let go even if the event is
/// cleared before they have run.
KZ_EXPORT bool PostEvent(WaitHandle event) noexcept;

/// Clears `event`.
KZ_EXPORT bool ClearEvent(WaitHandle event) noexcept;

/// Lets go everyone who waits for `event` at this moment, and leaves it cleared. Who comes later waits.
KZ_EXPORT bool PulseWaiters(WaitHandle event) noexcept;

/// Waits until the event is set or the mutex is the caller's: `waitDone`, `waitAbandoned`, `waitTimedOut` or `waitFailed`.
KZ_EXPORT std::uint32_t WaitFor(WaitHandle handle, std::uint32_t milliseconds) noexcept;

/// Waits for a release that comes after `NoteReleases`, or was noted as there already. Between the two calls the caller may
/// leave a lock, say, without missing anything.
[[nodiscard]] std::uint32_t NoteReleases(WaitHandle event) noexcept;
std::uint32_t WaitForReleaseAfter(WaitHandle event, std::uint32_t noted, std::uint32_t milliseconds) noexcept;

/// Waits until one of `events`, at most 64, is set: its index, `waitTimedOut` or `waitFailed`. Of several the first counts.
KZ_EXPORT std::uint32_t WaitForAny(std::span<WaitHandle const> events, std::uint32_t milliseconds) noexcept;

/// Unlocks `mutex` and waits for `event` in one step: no post and no pulse that comes after the unlocking is missed.
KZ_EXPORT std::uint32_t UnlockAndWaitFor(WaitHandle mutex, WaitHandle event,
                                         std::uint32_t milliseconds) noexcept;

/// Ends the handle; null does nothing. A mutex isn't unlocked by it: one that other handles reach stays its owner's.
KZ_EXPORT void CloseWait(WaitHandle handle) noexcept;

} // namespace KZPlatform
