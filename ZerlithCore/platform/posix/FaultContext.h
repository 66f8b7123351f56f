// What only the processor's own manuals know about a fault: which kind it was, and how to make the interrupted thread
// call a function in place of the instruction that failed. One implementation a processor.
#pragma once

#include "ZerlithCore/platform/Faults.h"

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <ucontext.h>

namespace KZPlatform {

/// True where a thread can be sent to a function of ours by changing the state that it will return to. Elsewhere the
/// function is called from the signal handler itself.
#if defined(__x86_64__)
inline constexpr bool canRedirect = true;
#else
inline constexpr bool canRedirect = false;
#endif

/// The state of a thread at the instruction that a signal interrupted. Safe to use in signal handlers.
class FaultContext {
public:
    FaultContext(siginfo_t const & info, void * context) noexcept
        : info_(info), context_(static_cast<ucontext_t *>(context)) {}

    [[nodiscard]] std::uintptr_t Instruction() const noexcept;
    [[nodiscard]] std::uintptr_t StackPointer() const noexcept;

    /// The kind of fault; 0 for what isn't in the list. A stack overflow is an access violation here.
    [[nodiscard]] std::uint32_t Code() const noexcept;
    [[nodiscard]] FaultAccess Access() const noexcept;
    /// The address that was accessed; null when the processor doesn't tell.
    [[nodiscard]] void const * Address() const noexcept;

    /// A jump to where no code is has left its caller: goes back into the call, whose frame can be unwound.
    /// Requires: the word at the stack pointer can be read.
    void ReturnFromBadJump() noexcept;

    /// Where an exception can be thrown from.
    enum class Way : unsigned char {
        Here,     ///< at the instruction that failed, or at the call of the function that failed
        AtReturn, ///< when a call that is under way returns: see `returnSlot`
        None
    };

    /// Finds a place that the exception tables know; elsewhere an exception ends the process. A function that has done
    /// nothing yet that needs a landing pad, its prologue say, is left for its caller. Otherwise, and always out of the
    /// `unsafeFrames` innermost calls, it takes a return: `returnSlot` is where its address lies on the stack.
    Way FindLandingPad(std::size_t unsafeFrames, std::uintptr_t *& returnSlot) noexcept;

    /// Makes the thread go on in `faultTrampoline`, on the stack that grows down from `stackTop`, and as far as the
    /// unwinder can see called by the instruction that failed. Clears what would let the next instructions fault too.
    /// Only where `canRedirect`.
    void Redirect(std::uintptr_t stackTop) noexcept;

private:
    siginfo_t const & info_;
    ucontext_t * context_;
};

/// Functions of Faults.cpp that trampolines call. The second gets the stack pointer behind a return that was caught, and
/// answers with a frame for the trampoline.
extern "C" void KZPlatformThrowFault();
extern "C" void * KZPlatformCaughtReturn(std::uintptr_t stackPointer) noexcept;

/// Puts the frame that the trampoline wants on the stack that grows down from `stackTop`.
void * MakeTrampolineFrame(std::uintptr_t stackTop, std::uintptr_t instruction,
                           std::uintptr_t stackPointer) noexcept;

/// What a return address is replaced by, to catch the return.
[[nodiscard]] std::uintptr_t ReturnTrampoline() noexcept;

/// First thing in a signal handler: a thread that traps misaligned accesses would trap in the handler too.
inline void AllowMisalignedAccess() noexcept {
#if defined(__x86_64__)
    __asm__ volatile("subq $128, %%rsp\n\tpushfq\n\tandq $~0x40000, (%%rsp)\n\tpopfq\n\taddq $128, %%rsp"
                     :
                     :
                     : "memory", "cc");
#endif
}

} // namespace KZPlatform
