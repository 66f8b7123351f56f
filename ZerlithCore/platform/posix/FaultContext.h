// The part of fault handling that depends on the processor: which kind of fault it was, and how to make the
// interrupted thread call a function in place of the failed instruction. x86-64 has all of it. Other processors use
// what the system says, and throw from the signal handler.
#pragma once

#include "ZerlithCore/platform/Faults.h"

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <ucontext.h>

namespace KZPlatform {

/// True where a signal handler can make the thread continue in a function of ours, by changing the saved state to
/// which the system returns. Elsewhere the signal handler calls that function itself.
#if defined(__x86_64__)
inline constexpr bool canRedirect = true;
#else
inline constexpr bool canRedirect = false;
#endif

/// The state of a thread at the instruction that a signal interrupted. Can be used in signal handlers.
class FaultContext {
public:
    FaultContext(siginfo_t const & info, void * context) noexcept
        : info_(info), context_(static_cast<ucontext_t *>(context)) {}

    [[nodiscard]] std::uintptr_t Instruction() const noexcept;
    [[nodiscard]] std::uintptr_t StackPointer() const noexcept;

    /// The kind of fault; 0 for what isn't in the list. A stack overflow is an access violation here.
    [[nodiscard]] std::uint32_t Code() const noexcept;
    [[nodiscard]] FaultAccess Access() const noexcept;
    /// The address that was accessed; null when the processor doesn't give it.
    [[nodiscard]] void const * Address() const noexcept;

    /// Undoes a jump or call to an address that has no code. Without this the stack couldn't be unwound, because no
    /// function is known for that address. The thread's state becomes that inside the call instruction of the caller.
    /// Requires: the word at the stack pointer, which is the return address, can be read.
    void ReturnFromBadJump() noexcept;

    /// Where an exception can be thrown.
    enum class Way : unsigned char {
        Here,     ///< at the failed instruction, or at the call of the function that failed
        AtReturn, ///< when an active call returns: see `returnSlot`
        None
    };

    /// Finds a place at which an exception can be thrown: one that the function's exception table lists. At any other
    /// place the runtime ends the process.
    ///
    /// A function that has done nothing yet that needs a clean-up (its prologue, for example) is treated as if it had
    /// not been called: the exception is thrown at its call, and the saved state is changed to that. Otherwise the
    /// result is `AtReturn`: the exception is thrown when an active call returns, and `returnSlot` is the place on
    /// the stack where the return address of that call lies. The `unsafeFrames` innermost calls are always allowed to
    /// return first.
    Way FindLandingPad(std::size_t unsafeFrames, std::uintptr_t *& returnSlot) noexcept;

    /// Makes the thread continue in the fault trampoline, on the stack that grows down from `stackTop`. For the
    /// unwinder it looks as if the failed instruction had called the trampoline. Clears the flags that would make the
    /// next instructions fault too. Only where `canRedirect` is true.
    void Redirect(std::uintptr_t stackTop) noexcept;

private:
    siginfo_t const & info_;
    ucontext_t * context_;
};

/// Functions of Faults.cpp that the trampolines call. The second one is called after a return that was caught; it
/// gets the stack pointer as it is after that return, and returns the frame for the fault trampoline.
extern "C" void KZPlatformThrowFault();
extern "C" void * KZPlatformCaughtReturn(std::uintptr_t stackPointer) noexcept;

/// Writes the frame that the fault trampoline needs to the stack that grows down from `stackTop`, and returns its
/// address.
void * MakeTrampolineFrame(std::uintptr_t stackTop, std::uintptr_t instruction,
                           std::uintptr_t stackPointer) noexcept;

/// The address that replaces a return address on the stack, so that the return leads to us.
[[nodiscard]] std::uintptr_t ReturnTrampoline() noexcept;

/// To be called first in a signal handler. A thread that traps misaligned accesses would otherwise trap again in the
/// handler.
inline void AllowMisalignedAccess() noexcept {
#if defined(__x86_64__)
    __asm__ volatile("subq $128, %%rsp\n\tpushfq\n\tandq $~0x40000, (%%rsp)\n\tpopfq\n\taddq $128, %%rsp"
                     :
                     :
                     : "memory", "cc");
#endif
}

} // namespace KZPlatform
