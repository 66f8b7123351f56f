// The system's codes for faults are coarser than the processor's. It reports every failed integer division as a
// division by zero, every denormal operand as an underflow, and a privileged instruction as a bad access. The trap
// number and the bytes of the failed instruction tell these apart.
#include "ZerlithCore/platform/posix/FaultContext.h"

#include <array>
#include <cstring>
#include <optional>
#include <unwind.h>
#include <utility>

namespace KZPlatform {

namespace {

std::uint32_t CodeOfFloat(int code) noexcept {
    switch (code) {
    case FPE_INTDIV: return FaultCode::IntegerDivideByZero;
    case FPE_INTOVF: return FaultCode::IntegerOverflow;
    case FPE_FLTDIV: return FaultCode::FloatDivideByZero;
    case FPE_FLTOVF: return FaultCode::FloatOverflow;
    case FPE_FLTUND: return FaultCode::FloatUnderflow;
    case FPE_FLTRES: return FaultCode::FloatInexact;
    case FPE_FLTSUB: return FaultCode::ArrayBounds;
    default: return FaultCode::FloatInvalid;
    }
}

/// The kind of fault by the system's own codes; 0 for what isn't a fault of the list.
std::uint32_t CodeOfSignal(siginfo_t const & info) noexcept {
    if (info.si_code <= 0) return 0; // sent by kill or raise
    switch (info.si_signo) {
    case SIGSEGV: return info.si_code == SEGV_BNDERR ? FaultCode::ArrayBounds : FaultCode::AccessViolation;
    case SIGBUS: return info.si_code == BUS_ADRALN ? std::uint32_t{FaultCode::Misalignment} : 0;
    case SIGFPE: return CodeOfFloat(info.si_code);
    case SIGILL:
        return info.si_code == ILL_PRVOPC || info.si_code == ILL_PRVREG ? FaultCode::PrivilegedInstruction
                                                                        : FaultCode::IllegalInstruction;
    default: return 0;
    }
}

} // namespace

#if defined(__x86_64__)

namespace {

namespace Trap {
enum : long long {
    Division = 0,
    StackSegment = 12, // a non-canonical address, used through the stack or frame pointer
    Protection = 13,
    Page = 14,
    OldFloat = 16,
    VectorFloat = 19,
};
} // namespace Trap

constexpr std::array<int, 16> registers = {REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP,
                                           REG_RSI, REG_RDI, REG_R8,  REG_R9,  REG_R10, REG_R11,
                                           REG_R12, REG_R13, REG_R14, REG_R15};

/// Decodes the failed instruction, as far as needed. The processor has just tried to execute it, so its bytes can be
/// read.
///
///     48 F7 F9    idiv rcx              48: prefix, 64 bits. F7: division. F9: the divisor is register 1, rcx.
///     F7 75 FC    div dword [rbp - 4]   F7: division. 75: the divisor is at register 5, rbp, plus a byte. FC: -4.
class InstructionReader {
public:
    explicit InstructionReader(greg_t const * state) noexcept
        : state_(state), next_(reinterpret_cast<unsigned char const *>(state[REG_RIP])) {}

    /// True for an instruction that only the system may execute.
    bool IsPrivileged() noexcept {
        SkipPrefixes();
        unsigned char const first = *next_++;
        if (first != 0x0F) {
            bool const isPortAccess = (first & 0xFC) == 0x6C || (first & 0xF4) == 0xE4;
            return isPortAccess || first == 0xF4 || first == 0xFA || first == 0xFB; // hlt, cli, sti
        }
        constexpr std::array<unsigned char, 12> privileged = {0x00, 0x01, 0x06, 0x07, 0x08, 0x09,
                                                              0x20, 0x21, 0x22, 0x23, 0x30, 0x32};
        return std::memchr(privileged.data(), *next_, privileged.size()) != nullptr;
    }

    /// True for a division whose divisor isn't 0; then the quotient didn't fit.
    bool IsDivisionByNonzero() noexcept {
        SkipPrefixes();
        unsigned char const opcode = *next_++;
        if (isOdd_ || (opcode & 0xFE) != 0xF6) return false;
        std::size_t const size = opcode == 0xF6 ? 1 : (rex_ & 8) != 0 ? 8 : isNarrow_ ? 2 : 4;
        unsigned char const modrm = *next_++;
        void const * const operand = modrm >= 0xC0 ? RegisterOperand(modrm & 7, size) : MemoryOperand(modrm);
        static constexpr std::uint64_t zero = 0;
        return std::memcmp(operand, &zero, size) != 0;
    }

private:
    void SkipPrefixes() noexcept {
        for (;; ++next_) {
            switch (*next_) {
            case 0x66: isNarrow_ = true; continue;
            case 0x64:
            case 0x65:
            case 0x67: isOdd_ = true; continue; // other segments or 32-bit addresses, which aren't decoded
            case 0x26:
            case 0x2E:
            case 0x36:
            case 0x3E:
            case 0xF0:
            case 0xF2:
            case 0xF3: continue;
            default: break;
            }
            break;
        }
        if ((*next_ & 0xF0) == 0x40) rex_ = *next_++;
    }

    std::uintptr_t Value(unsigned int number) const noexcept {
        return static_cast<std::uintptr_t>(state_[registers[number]]);
    }

    void const * RegisterOperand(unsigned int number, std::size_t size) const noexcept {
        bool const isHighByte = size == 1 && rex_ == 0 && number >= 4; // ah, ch, dh, bh
        if (isHighByte) return reinterpret_cast<char const *>(&state_[registers[number - 4]]) + 1;
        return &state_[registers[number + (rex_ & 1) * 8]];
    }

    template <class Displacement>
    std::uintptr_t Fetch() noexcept {
        Displacement value;
        std::memcpy(&value, next_, sizeof value);
        next_ += sizeof value;
        return static_cast<std::uintptr_t>(static_cast<std::intptr_t>(value));
    }

    void const * MemoryOperand(unsigned char modrm) noexcept {
        unsigned int const mode = modrm >> 6;
        unsigned int base = modrm & 7;
        std::uintptr_t address = 0;
        bool const isScaled = base == 4;
        if (isScaled) {
            unsigned char const sib = *next_++;
            unsigned int const index = (sib >> 3 & 7) + (rex_ >> 1 & 1) * 8;
            if (index != 4) address = Value(index) << (sib >> 6);
            base = sib & 7;
        }
        bool const isBare = mode == 0 && base == 5; // an address without a base register
        if (!isBare) address += Value(base + (rex_ & 1) * 8);
        if (mode == 1) address += Fetch<std::int8_t>();
        if (mode == 2 || isBare) address += Fetch<std::int32_t>();
        if (isBare && !isScaled)
            address += reinterpret_cast<std::uintptr_t>(next_); // it counts from the next instruction
        return reinterpret_cast<void const *>(address);
    }

    greg_t const * state_;
    unsigned char const * next_;
    unsigned int rex_ = 0;
    bool isNarrow_ = false;
    bool isOdd_ = false;
};

constexpr unsigned int denormal = 0x02;
constexpr unsigned int underflow = 0x10;
constexpr unsigned int invalid = 0x01;
constexpr unsigned int stackFault = 0x40;
constexpr unsigned int allExceptions = 0x3F;

/// Tells apart the floating-point faults for which the system has only one code.
std::uint32_t RefineFloat(std::uint32_t code, ucontext_t const & context) noexcept {
    auto const * const state = context.uc_mcontext.fpregs;
    if (!state) return code;
    bool const isVector = context.uc_mcontext.gregs[REG_TRAPNO] == Trap::VectorFloat;
    unsigned int const raised =
        isVector ? state->mxcsr & ~(state->mxcsr >> 7) : state->swd & ~state->cwd & allExceptions;
    if (code == FaultCode::FloatUnderflow && (raised & denormal) && !(raised & underflow))
        return FaultCode::FloatDenormal;
    if (code == FaultCode::FloatInvalid && !isVector && (raised & invalid) && (state->swd & stackFault))
        return FaultCode::FloatStackCheck;
    return code;
}

constexpr greg_t alignmentCheck = 0x40000;
constexpr greg_t directionFlag = 0x400;
constexpr greg_t singleStep = 0x100;
constexpr long long pageWrite = 2;
constexpr long long pageFetch = 16;

} // namespace

std::uintptr_t FaultContext::Instruction() const noexcept {
    return static_cast<std::uintptr_t>(context_->uc_mcontext.gregs[REG_RIP]);
}

std::uintptr_t FaultContext::StackPointer() const noexcept {
    return static_cast<std::uintptr_t>(context_->uc_mcontext.gregs[REG_RSP]);
}

std::uint32_t FaultContext::Code() const noexcept {
    greg_t const * const state = context_->uc_mcontext.gregs;
    std::uint32_t const code = CodeOfSignal(info_);
    switch (state[REG_TRAPNO]) {
    case Trap::StackSegment:
        return info_.si_signo == SIGBUS && info_.si_code > 0 ? FaultCode::AccessViolation : code;
    case Trap::Protection:
        return code == FaultCode::AccessViolation && InstructionReader(state).IsPrivileged()
                   ? FaultCode::PrivilegedInstruction
                   : code;
    case Trap::Division:
        return code == FaultCode::IntegerDivideByZero && InstructionReader(state).IsDivisionByNonzero()
                   ? FaultCode::IntegerOverflow
                   : code;
    case Trap::OldFloat:
    case Trap::VectorFloat: return code == 0 ? 0 : RefineFloat(code, *context_);
    default: return code;
    }
}

FaultAccess FaultContext::Access() const noexcept {
    greg_t const * const state = context_->uc_mcontext.gregs;
    if (state[REG_TRAPNO] != Trap::Page) return FaultAccess::None;
    if (state[REG_ERR] & pageFetch || Address() == reinterpret_cast<void const *>(state[REG_RIP]))
        return FaultAccess::Execute;
    return state[REG_ERR] & pageWrite ? FaultAccess::Write : FaultAccess::Read;
}

void const * FaultContext::Address() const noexcept {
    return context_->uc_mcontext.gregs[REG_TRAPNO] == Trap::Page ? info_.si_addr : nullptr;
}

namespace {

/// Reads the numbers of the exception tables that the compiler writes for C++ functions (LSDA).
class TableReader {
public:
    explicit TableReader(unsigned char const * next) noexcept : next_(next) {}

    unsigned char Byte() noexcept { return *next_++; }
    std::uintptr_t Number() noexcept {
        std::uintptr_t value = 0;
        for (unsigned int shift = 0; shift < 64; shift += 7) {
            value |= std::uintptr_t{*next_ & 0x7FU} << shift;
            if ((*next_++ & 0x80) == 0) break;
        }
        return value;
    }
    unsigned char const * Position() const noexcept { return next_; }

private:
    unsigned char const * next_;
};

enum class Place : unsigned char { InTable, BeforeLandingPads, NotInTable };

/// Looks up the instruction `offset` bytes into a function in the function's exception table. Each row of the table
/// covers some instructions and names the landing pad (clean-up or handler) to which an exception thrown there goes;
/// 0 means that the exception passes through. For an instruction without a row the runtime ends the process. For
/// example, in a table with these two rows
///
///     from 0x10 on, 8 bytes: landing pad at 0x90
///     from 0x30 on, 8 bytes: no landing pad
///
/// 0x12 and 0x34 are InTable, 0x04 is BeforeLandingPads, and 0x20 is NotInTable. A table in an unusual encoding is
/// assumed to have a row for every instruction.
Place PlaceIn(unsigned char const * table, std::uintptr_t offset) noexcept {
    constexpr unsigned char omitted = 0xFF;
    constexpr unsigned char variableLength = 0x01;
    TableReader reader(table);
    if (reader.Byte() != omitted) return Place::InTable; // the landing pads lie outside of the function
    if (reader.Byte() != omitted) reader.Number();       // the offset of the table of types
    if (reader.Byte() != variableLength) return Place::InTable;
    std::uintptr_t const bytes = reader.Number();
    unsigned char const * const end = reader.Position() + bytes;
    while (reader.Position() < end) {
        std::uintptr_t const start = reader.Number();
        std::uintptr_t const length = reader.Number();
        std::uintptr_t const landingPad = reader.Number();
        reader.Number(); // what it catches
        if (landingPad != 0 && offset < start) return Place::BeforeLandingPads;
        if (offset >= start && offset - start < length) return Place::InTable;
    }
    return Place::NotInTable;
}

/// The registers that a function keeps for its caller: their numbers in the unwind tables and in the saved state.
constexpr std::array<std::pair<int, int>, 6> keptRegisters = {
    {{3, REG_RBX}, {6, REG_RBP}, {12, REG_R12}, {13, REG_R13}, {14, REG_R14}, {15, REG_R15}}};

/// The registers of a frame, as they are after the call that it makes has returned.
struct FrameState {
    std::array<greg_t, keptRegisters.size()> kept;
    greg_t stackPointer;
    greg_t instruction;

    FrameState(_Unwind_Context * frame, std::uintptr_t address) noexcept
        : stackPointer(static_cast<greg_t>(_Unwind_GetCFA(frame)))
        , instruction(static_cast<greg_t>(address)) {
        for (std::size_t i = 0; i < kept.size(); ++i)
            kept[i] = static_cast<greg_t>(_Unwind_GetGR(frame, keptRegisters[i].first));
    }
    void Restore(greg_t * state) const noexcept {
        for (std::size_t i = 0; i < kept.size(); ++i) state[keptRegisters[i].second] = kept[i];
        state[REG_RSP] = stackPointer;
        state[REG_RIP] = instruction;
    }
};

struct LandingPadSearch {
    std::size_t unsafeFrames;
    std::size_t index = 0; // of the next frame; the interrupted one is 0
    bool isInterruptedSeen = false;
    bool isBlocked = false; // an inner frame lets no exception pass: its call has to return first
    bool isLeaving = false; // the previous frame has done nothing yet and is treated as not called
    FaultContext::Way way = FaultContext::Way::None;
    std::optional<FrameState> left = {}; // the state at the call of that frame
    std::uintptr_t * returnSlot = nullptr;

    /// Makes the present frame the place to throw at, unless a place further inside was found.
    void Take(_Unwind_Context * frame, std::uintptr_t address) noexcept {
        if (way != FaultContext::Way::None) return;
        bool const isHere = !isBlocked && (index == 0 || isLeaving);
        way = isHere ? FaultContext::Way::Here : FaultContext::Way::AtReturn;
        if (isHere && isLeaving) left.emplace(frame, address);
        if (!isHere) returnSlot = reinterpret_cast<std::uintptr_t *>(_Unwind_GetCFA(frame)) - 1;
    }
};

/// Looks at one frame; called for each frame from the interrupted function outwards. True when the search is over.
///
/// 1. A frame without an exception table lets exceptions pass. It is a possible place, but a frame further out may
///    still stop the exception, so the search goes on.
/// 2. A frame whose instruction has a row in its table accepts exceptions there. The search is over.
/// 3. In any other frame an exception would end the process, so the places found further inside are no good. If the
///    function has done nothing yet, it is treated as not called. Otherwise it has to return first, and the place is
///    the return into one of its callers.
bool LookAt(LandingPadSearch & search, _Unwind_Context * frame, std::uintptr_t address) noexcept {
    void * const table = _Unwind_GetLanguageSpecificData(frame);
    if (!table) {
        search.Take(frame, address); // it has no clean-up
        search.isLeaving = false;
        return false;
    }
    Place const place =
        PlaceIn(static_cast<unsigned char const *>(table), address - _Unwind_GetRegionStart(frame));
    if (place == Place::InTable) {
        search.Take(frame, address);
        return true;
    }
    search.isLeaving =
        place == Place::BeforeLandingPads && !search.isBlocked && search.way != FaultContext::Way::AtReturn;
    search.isBlocked |= !search.isLeaving;
    search.way = FaultContext::Way::None;
    return false;
}

_Unwind_Reason_Code SearchLandingPad(_Unwind_Context * frame, void * argument) {
    constexpr std::size_t furthest = 32;
    LandingPadSearch & search = *static_cast<LandingPadSearch *>(argument);
    int isInterrupted = 0;
    std::uintptr_t address = _Unwind_GetIPInfo(frame, &isInterrupted);
    if (!isInterrupted) --address;
    search.isInterruptedSeen |= isInterrupted != 0;
    if (!search.isInterruptedSeen) return _URC_NO_REASON; // the handler's own frames
    search.isBlocked |= search.index < search.unsafeFrames;
    bool const isOver = search.index >= search.unsafeFrames && LookAt(search, frame, address);
    return isOver || ++search.index == furthest ? _URC_END_OF_STACK : _URC_NO_REASON;
}

} // namespace

FaultContext::Way FaultContext::FindLandingPad(std::size_t unsafeFrames,
                                               std::uintptr_t *& returnSlot) noexcept {
    LandingPadSearch search{unsafeFrames};
    _Unwind_Backtrace(&SearchLandingPad, &search);
    if (search.way == Way::Here && search.left) search.left->Restore(context_->uc_mcontext.gregs);
    returnSlot = search.returnSlot;
    return search.way;
}

void FaultContext::ReturnFromBadJump() noexcept {
    greg_t * const state = context_->uc_mcontext.gregs;
    greg_t returnAddress;
    std::memcpy(&returnAddress, reinterpret_cast<void const *>(state[REG_RSP]), sizeof returnAddress);
    state[REG_RIP] = returnAddress - 1; // inside the call instruction, which the exception table covers
    state[REG_RSP] += static_cast<greg_t>(sizeof returnAddress);
}

// The fault trampoline is the function in which the redirected thread continues. Its frame holds the two registers
// that a real call would have changed: the instruction and the stack pointer. The unwind rules (.cfi) restore them
// from there; all other registers still have the values of the interrupted function. `.cfi_signal_frame` says that
// the frame was entered by an interruption and not by a call, so the unwinder looks up the failed instruction itself
// and not the one before.
//
// The return trampoline is where a function returns to when its return address was replaced. It asks for a frame on
// the spare stack, goes there, and continues as the fault trampoline. The `nop` before its label is needed because
// the unwinder looks up the byte before a return address; `.cfi_undefined rip` ends the walk there.
__asm__(R"(
    .pushsection .text
    .type KZPlatformFaultTrampoline, @function
    .hidden KZPlatformFaultTrampoline
    .globl KZPlatformFaultTrampoline
KZPlatformFaultTrampoline:
    .cfi_startproc
    .cfi_signal_frame
    .cfi_def_cfa rsp, 16
    .cfi_offset rip, -16
    .cfi_offset rsp, -8
    call KZPlatformThrowFault
    ud2
    .cfi_endproc
    .size KZPlatformFaultTrampoline, . - KZPlatformFaultTrampoline

    .type KZPlatformReturnTrampoline, @function
    .hidden KZPlatformReturnTrampoline
    .globl KZPlatformReturnTrampoline
    .cfi_startproc
    .cfi_undefined rip
    nop
KZPlatformReturnTrampoline:
    mov %rsp, %rdi
    and $-16, %rsp
    call KZPlatformCaughtReturn
    mov %rax, %rsp
    jmp KZPlatformFaultTrampoline
    .cfi_endproc
    .size KZPlatformReturnTrampoline, . - KZPlatformReturnTrampoline
    .popsection
)");
extern "C" void KZPlatformFaultTrampoline();
extern "C" void KZPlatformReturnTrampoline();

std::uintptr_t ReturnTrampoline() noexcept {
    return reinterpret_cast<std::uintptr_t>(&KZPlatformReturnTrampoline);
}

// The address sanitizer would report the write: it is below the stack pointer, where no variable is.
__attribute__((no_sanitize("address"))) void * MakeTrampolineFrame(std::uintptr_t stackTop,
                                                                   std::uintptr_t instruction,
                                                                   std::uintptr_t stackPointer) noexcept {
    auto * const frame = reinterpret_cast<std::uintptr_t *>(stackTop & ~std::uintptr_t{15}) - 2;
    frame[0] = instruction;
    frame[1] = stackPointer;
    return frame;
}

void FaultContext::Redirect(std::uintptr_t stackTop) noexcept {
    greg_t * const state = context_->uc_mcontext.gregs;
    state[REG_RSP] = reinterpret_cast<greg_t>(MakeTrampolineFrame(stackTop, Instruction(), StackPointer()));
    state[REG_RIP] = reinterpret_cast<greg_t>(&KZPlatformFaultTrampoline);
    state[REG_EFL] &= ~(alignmentCheck | directionFlag | singleStep);
    if (auto * const floating = context_->uc_mcontext.fpregs) {
        floating->swd = static_cast<std::uint16_t>(floating->swd & ~0x80FFU);
        floating->mxcsr &= ~allExceptions;
    }
}

#else

std::uintptr_t FaultContext::Instruction() const noexcept {
#if defined(__aarch64__)
    return context_->uc_mcontext.pc;
#else
    return 0;
#endif
}
std::uintptr_t FaultContext::StackPointer() const noexcept {
#if defined(__aarch64__)
    return context_->uc_mcontext.sp;
#else
    return 0;
#endif
}
std::uint32_t FaultContext::Code() const noexcept { return CodeOfSignal(info_); }
FaultAccess FaultContext::Access() const noexcept {
    return info_.si_signo == SIGSEGV ? FaultAccess::Read : FaultAccess::None;
}
void const * FaultContext::Address() const noexcept {
    return info_.si_signo == SIGSEGV ? info_.si_addr : nullptr;
}
FaultContext::Way FaultContext::FindLandingPad(std::size_t unsafeFrames, std::uintptr_t *&) noexcept {
    return unsafeFrames == 0 ? Way::Here : Way::None;
}
void * MakeTrampolineFrame(std::uintptr_t, std::uintptr_t, std::uintptr_t) noexcept { return nullptr; }
std::uintptr_t ReturnTrampoline() noexcept { return 0; }
void FaultContext::ReturnFromBadJump() noexcept {}
void FaultContext::Redirect(std::uintptr_t) noexcept {}

#endif

} // namespace KZPlatform
