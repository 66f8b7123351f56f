// Makes an exception of a fault of the processor, and its report. platform/Faults.h catches the fault and calls `ThrowFault`.
#include "ZerlithCore/errors/KZSignalException.h"

#include "ZerlithCore/diagnostics/KZDebug.h"
#include "ZerlithCore/diagnostics/KZStackDump.h"
#include "ZerlithCore/platform/Faults.h"
#include "ZerlithCore/platform/FloatingPoint.h"

#include <new>

namespace {

// Runs after the signal handler has returned, as if the instruction that failed had called it. So it may throw.
[[noreturn]] void ThrowFault(KZPlatform::Fault const & fault) {
    KZStackDump dump(fault);
    throw KZSignalException(dump);
}

} // namespace

KZSignalException::KZSignalException(KZStackDump & dump) : KZException(dump), code_(dump.GetCode()) {
    // The lock of dumps is released first: the code below takes the locks of the logs and of the console, and a thread that
    // holds one of those may be waiting to make a dump.
    dump.Release();
    if (dump.IsReported()) return;
    dump.SetReported();
    KZDebug::CallReportHooks();
    try {
        KZDebug::AppendToErrorLog(Report());
        KZSignalException::LogInErrorFile(LogAlways);
    } catch (std::bad_alloc const &) {
        // There was no memory for the report. The handler of the exception can still log it.
    }
}

KZSignalException::KZSignalException(KZSignalException const & other) = default;

KZSignalException::~KZSignalException() {
    // After a stack overflow the exception was thrown on reserved memory at the end of the stack. The frames that used it are
    // gone now, so the reserve is locked again for the next overflow.
    KZPlatform::RestoreStackReserve();
}

void KZSignalException::LogInErrorFile(LogOpt option) const { KZException::LogInErrorFile(option); }

void KZInitCatchSignal() {
    // Floating-point faults are switched on last, because one that isn't translated ends the process.
    if (!KZPlatform::TranslateFaults(&ThrowFault)) throw KZWindowsLastErrorException();
    KZPlatform::RaiseFloatingPointFaults();
}
