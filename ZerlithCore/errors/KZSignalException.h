/// @file
/// Faults of the processor, such as reading through a null pointer, as exceptions.
///
///     KZInitCatchSignal();                       // every KZThread does so by itself
///     int volatile * pointer = nullptr;
///     try {
///         *pointer = 1;
///     } catch (KZSignalException const & fault) {
///         bool const isAccessViolation = fault.GetSeHNumber() == 0xC0000005;     // true
///     }
///
/// With GCC, code that is to catch a fault or to clean up after it must be compiled with -fnon-call-exceptions; the library's
/// CMake target and pkg-config file pass that flag on. A fault in the prologue of a function can't be caught in that
/// function. Neither can a fault in a call of which the compiler has proved that it doesn't throw. A `noexcept` function between
/// the fault and the handler ends the process.
#pragma once

#include "ZerlithCore/errors/KZException.h"

/// A fault of the processor. The constructor writes the report of the fault to the error-log file and, if the trace level isn't
/// 0, to the console.
///
/// Codes: 0x80000002 misalignment, 0xC0000005 access violation, 0xC000001D illegal instruction, 0xC000008C to
/// 0xC0000096 arithmetic faults and privileged instruction, 0xC00000FD stack overflow.
class KZ_EXPORT KZSignalException : public KZException {
public:
    explicit KZSignalException(KZStackDump & dump);
    KZSignalException(KZSignalException const & other);
    ~KZSignalException() override;

    void LogInErrorFile(LogOpt option = LogOnce) const override;
    /// The number of the fault.
    [[nodiscard]] unsigned int GetSeHNumber() const noexcept { return code_; }

private:
    unsigned int code_;
};

/// From now on faults on the calling thread are thrown as KZSignalException. Among them are these of floating-point numbers:
/// division by zero, overflow, underflow, and invalid and denormal operands. A second call changes nothing.
///
/// Faults on other threads, faults of other kinds, and signals that somebody sends are handled as before.
///
/// Errors: KZWindowsLastErrorException when the system has no memory or no file handle to prepare a thread that isn't a
/// KZThread. Nothing has changed then, and a further call tries again.
KZ_EXPORT void KZInitCatchSignal();
