/// @file
/// Faults of the processor as calls of a function, on the thread and at the instruction that failed.
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
inline constexpr std::uint32_t Misalignment = 0x80000002;
inline constexpr std::uint32_t AccessViolation = 0xC0000005;
inline constexpr std::uint32_t IllegalInstruction = 0xC000001D;
inline constexpr std::uint32_t ArrayBounds = 0xC000008C;
inline constexpr std::uint32_t FloatDenormal = 0xC000008D;
inline constexpr std::uint32_t FloatDivideByZero = 0xC000008E;
inline constexpr std::uint32_t FloatInexact = 0xC000008F;
inline constexpr std::uint32_t FloatInvalid = 0xC0000090;
inline constexpr std::uint32_t FloatOverflow = 0xC0000091;
inline constexpr std::uint32_t FloatStackCheck = 0xC0000092;
inline constexpr std::uint32_t FloatUnderflow = 0xC0000093;
inline constexpr std::uint32_t IntegerDivideByZero = 0xC0000094;
inline constexpr std::uint32_t IntegerOverflow = 0xC0000095;
inline constexpr std::uint32_t PrivilegedInstruction = 0xC0000096;
inline constexpr std::uint32_t StackOverflow = 0xC00000FD;
} // namespace FaultCode

enum class FaultAccess : unsigned char { None, Read, Write, Execute };

/// What is known about a fault.
struct Fault {
    std::uint32_t code;
    FaultAccess access;   ///< None for faults that aren't about memory
    void const * address; ///< what was to be read, written or executed; null where the processor doesn't tell
    void const * instruction; ///< what failed
    std::span<void *> stack;  ///< the active calls, innermost first, as `CaptureStack` notes them
};

/// Receives a fault and throws. It runs outside of the signal handler, with the thread's own signal mask, as if the
/// instruction that failed had called it: frames above it are unwound, and their handlers found, as from any call. It
/// must not return.
using FaultThrower = void (*)(Fault const & fault);

/// From now on a fault on the calling thread calls `thrower`. A second call on a thread changes the thrower. The first
/// call in the process installs the signal handlers.
///
/// What isn't a fault of the list, happens on another thread, is sent by somebody (`kill`, `raise`), or happens inside
/// the memory allocator or during the report of another fault, takes the course that it had before: the former handler
/// or the default action. False, with the reason in the thread's last error, when the system has no memory for the thread's spare stacks, or doesn't tell
/// where its stack is; nothing is changed then. On a thread of `NewThread` neither happens.
bool TranslateFaults(FaultThrower thrower) noexcept;

/// Takes back the reserve at the end of the calling thread's stack that a stack overflow has opened for those who clean up
/// after it; to be called when its exception is over. Until then another overflow takes the default action. Does
/// nothing on other threads, and as long as the stack is nearly full.
void RestoreStackReserve() noexcept;

} // namespace KZPlatform
