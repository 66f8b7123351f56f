// The line that reports an exception which has left a callback.
#include "ZerlithCore/threads/detail/UnhandledException.h"

#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/diagnostics/KZTrace.h"

#include <ostream>

void KZDetail::TellUnhandledException() noexcept {
    if (GlbGetTraceLevel() == 0) return;
    try {
        KZLockedCOUT const console;
        KZLockedCOUT::GetCout(1) << L"unhandled exception in KZThread" << std::endl;
    } catch (...) {
        // The console can't be written to, and there is no other place for the report.
    }
}
