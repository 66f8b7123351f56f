// Lets code that may fault on purpose, as the walk over a damaged stack may, continue after the fault: it stores a
// place to jump back to, and the signal handler (Faults.cpp) jumps there and does nothing else.
#pragma once

#include <csetjmp>

namespace KZPlatform {

/// The place to which a fault on this thread jumps; null when faults are real ones. Initial-exec storage is allocated
/// with the thread, so a signal handler can read it.
extern thread_local constinit sigjmp_buf * stackProbe __attribute__((tls_model("initial-exec")));

} // namespace KZPlatform
