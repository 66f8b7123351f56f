/// @file
/// Turns a fault of the processor, such as a read through a null pointer, into a call of a function that throws. The
/// call happens on the faulting thread, as if the failed instruction had made it.
///
///     [[noreturn]] void Throw(KZPlatform::Fault const & fault) { throw MyFault(fault.code); }
///     ...
///     KZPlatform::TranslateFaults(&Throw);    // on every thread that wants it
#pragma once

#include <cstdint>
#include <span>

namespace KZPlatform {

/// The kinds of faults, by the numbers that callers are promised.
namespace FaultCode {
enum : std::uint32_t {
    Misalignment = 0x80000002,
    AccessViolation = 0xC0000005,
    IllegalInstruction = 0xC000001D,
    ArrayBounds = 0xC000008C,
    FloatDenormal = 0xC000008D,
    FloatDivideByZero = 0xC000008E,
    FloatInexact = 0xC000008F,
    FloatInvalid = 0xC0000090,
    FloatOverflow = 0xC0000091,
    FloatStackCheck = 0xC0000092,
    FloatUnderflow = 0xC0000093,
    IntegerDivideByZero = 0xC0000094,
    IntegerOverflow = 0xC0000095,
    PrivilegedInstruction = 0xC0000096,
    StackOverflow = 0xC00000FD,
};
} // namespace FaultCode

enum class FaultAccess : unsigned char { None, Read, Write, Execute };

/// What is known about a fault.
struct Fault {
    std::uint32_t code;
    FaultAccess access;   ///< None for faults that aren't about memory
    void const * address; ///< what was to be read, written or executed; null where the processor doesn't tell
    void const * instruction; ///< the instruction that failed
    std::span<void *> stack;  ///< the active calls, innermost first, as `CaptureStack` notes them
};

/// Receives a fault and throws an exception; it must not return. It runs after the signal handler has returned, with
/// the thread's own signal mask, as if the failed instruction had called it. So the exception unwinds the frames of
/// the thread and finds its handler as it would from any call.
using FaultThrower = void (*)(Fault const & fault);

/// Makes faults on the calling thread call `thrower` from now on, any number of them, one after the other. A second
/// call on the same thread changes the thrower. The first call in the process installs the signal handlers.
///
/// A signal has the effect it had before (the former handler, or the default action) when it isn't a fault of the
/// list, when it arrives on a thread that didn't call this, when somebody sent it (`kill`, `raise`), and when it
/// happens inside the memory allocator or during the report of another fault.
///
/// False, with the reason in the thread's last error and nothing changed, when the system has no memory for the
/// thread's spare stacks or doesn't tell where the thread's stack lies. On a thread made by `NewThread` neither can
/// happen.
bool TranslateFaults(FaultThrower thrower) noexcept;

/// Closes the reserve at the end of the calling thread's stack again. A stack overflow opens this reserve, so that
/// destructors have room to run; call this when its exception has been handled. Until then another overflow has its
/// default action. Does nothing on a thread that doesn't translate faults, and while the stack is still nearly full.
void RestoreStackReserve() noexcept;

} // namespace KZPlatform
