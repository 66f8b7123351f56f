/// @file
/// Faults of the processor as exceptions.
///
///     KZInitCatchSignal();                       // every KZThread does so by itself
///     int volatile * pointer = nullptr;
///     try {
///         *pointer = 1;
///     } catch (KZSignalException const & fault) {
///         bool const isAccessViolation = fault.GetSeHNumber() == 0xC0000005;     // true
///     }
///
/// GCC needs -fnon-call-exceptions for code that is to catch a fault or to clean up after it; the library's CMake target and
/// pkg-config file carry the flag. A fault can't be caught in the prologue of the function that raises it, nor where the
/// compiler has proved that nothing throws; a `noexcept` function in between ends the process.
#pragma once

#include "ZerlithCore/errors/KZException.h"

/// A fault of the processor, with its report already made: written to the error-log file, and to the locked console when
/// tracing is on.
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

/// From now on faults on the calling thread are thrown as KZSignalException, floating-point division by zero, overflow,
/// underflow, invalid and denormal operands among them. Calling it again changes nothing.
///
/// Other threads, faults of other kinds, and signals that somebody sends keep their former course.
///
/// Errors: KZWindowsLastErrorException, with nothing changed, when the system has no memory or no file handle to prepare a
/// thread that isn't a KZThread; calling it again tries again.
KZ_EXPORT void KZInitCatchSignal();
