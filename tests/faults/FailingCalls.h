/// @file
/// A library that makes system calls fail. Its functions are found before those of the C library, because a program links it
/// first or names it in LD_PRELOAD.
///
///     KZArmFailingCalls(KZFailMemory, 17, false);  // the 17th allocation from here on fails
///     DoTheWork();
///     long const calls = KZDisarmFailingCalls();   // the number of allocations since then
///
/// If a program is only run with LD_PRELOAD, the environment says what fails: KZ_FAIL=memory:17:once, or "always" for the 17th
/// call and all later ones.
#pragma once

enum KZFailKind : int { KZFailMemory, KZFailWrite, KZFailRead, KZFailOpen, KZFailMapping, KZFailThread };

extern "C" {
/// From now on the `nth` call of `kind` by any thread fails, and with `always` every later one, too. For 0 none fails.
void KZArmFailingCalls(KZFailKind kind, long nth, bool always) noexcept;
/// Lets all calls succeed again, and returns the number of calls since the arming.
long KZDisarmFailingCalls() noexcept;
}
