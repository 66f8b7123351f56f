/// @file
/// System calls that fail when they are told to. The library behind these functions stands in front of the C library,
/// because a program links it first or names it in LD_PRELOAD.
///
///     KZArmFailingCalls(KZFailMemory, 17, false);  // the 17th allocation from here on fails
///     ...
///     long const calls = KZDisarmFailingCalls();   // how many there were
///
/// A program that only has it preloaded arms it by the environment: KZ_FAIL=memory:17:once, or "always" for the 17th and all
/// after it.
#pragma once

enum KZFailKind : int { KZFailMemory, KZFailWrite, KZFailRead, KZFailOpen, KZFailMapping, KZFailThread };

extern "C" {
/// From now on the `nth` call of `kind` by any thread fails, and with `always` every later one. 0 fails none.
void KZArmFailingCalls(KZFailKind kind, long nth, bool always) noexcept;
/// Lets all calls succeed again; the number of calls since the arming.
long KZDisarmFailingCalls() noexcept;
}
