// How the walk over a stack survives a fault of its own: it leaves a place to jump back to, and the signal handler
// (Faults.cpp) goes there in place of everything else.
#pragma once

#include <csetjmp>

namespace KZPlatform {

/// Where a fault on this thread goes; null when no walk is under way. Initial-exec, so that a signal handler can
/// read it without the lazy allocation of thread-local storage.
extern thread_local constinit sigjmp_buf * stackProbe __attribute__((tls_model("initial-exec")));

} // namespace KZPlatform
