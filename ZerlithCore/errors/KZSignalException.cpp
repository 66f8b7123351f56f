#include "ZerlithCore/errors/KZSignalException.h"

#include "ZerlithCore/diagnostics/KZDebug.h"
#include "ZerlithCore/diagnostics/KZStackDump.h"
#include "ZerlithCore/platform/Faults.h"
#include "ZerlithCore/platform/FloatingPoint.h"

#include <new>

namespace {

// Runs as if the instruction that failed had called it, outside of the signal handler.
[[noreturn]] void ThrowFault(KZPlatform::Fault const & fault) {
    KZStackDump dump(fault);
    throw KZSignalException(dump);
}

} // namespace

KZSignalException::KZSignalException(KZStackDump & dump) : KZException(dump), code_(dump.GetCode()) {
    dump.Release(); // what follows takes the locks of logs and console, whose owners may want a dump
    if (dump.IsReported()) return;
    dump.SetReported();
    KZDebug::CallReportHooks();
    try {
        KZDebug::AppendToErrorLog(Report());
        KZSignalException::LogInErrorFile(LogAlways);
    } catch (std::bad_alloc const &) {
        // Whoever catches the fault can still log it.
    }
}

KZSignalException::KZSignalException(KZSignalException const & other) = default;

KZSignalException::~KZSignalException() {
    // The frames that a stack overflow has left need its reserve no more, nor does the report of a fault on an odd stack.
    KZPlatform::RestoreStackReserve();
}

void KZSignalException::LogInErrorFile(LogOpt option) const { KZException::LogInErrorFile(option); }

void KZInitCatchSignal() {
    // In this order, since floating-point faults that nobody translates end the process.
    if (!KZPlatform::TranslateFaults(&ThrowFault)) throw KZWindowsLastErrorException();
    KZPlatform::RaiseFloatingPointFaults();
}
