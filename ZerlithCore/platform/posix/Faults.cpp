// How a fault becomes an exception:
//
// 1. The signal handler runs on a stack of its own. It finds out the kind of fault, collects the call stack, and
//    changes the saved state of the thread, to which the system will return.
// 2. The handler returns normally, so the system restores the signal mask, the alternate stack and the floating-point
//    masks.
// 3. The thread continues in a trampoline (FaultContext.cpp), which to the unwinder looks as if the failed
//    instruction had called it. The trampoline calls the thread's thrower, and the exception is thrown from ordinary
//    code.
//
// Throwing directly from the handler would leave all of step 2 undone. That happens only on processors without a
// trampoline.
//
// The trampoline uses the thread's own stack. When that has too little room left, or the stack pointer doesn't point
// into it, the trampoline uses a spare stack. When the first frame has been unwound, nothing on the spare stack is
// needed any more, so it can be used again.
//
// A thread that the library starts has these stacks in the memory of its own stack (StackMemory.h); its spare stack
// is locked (no access) until it is needed. A thread that somebody else has started gets a mapping for its signal
// stack and spare stack, and the reserve is the low end of its own stack.
//
// Stack overflow. The clean-ups of the deepest frames need some room on the full stack, so a part of it, the reserve,
// is kept locked. Reaching the reserve is the fault: the handler opens it, and it is locked again when the exception
// is over. A stack usually runs full in some small function deep down, often in the allocator, from which nothing can
// be thrown. For example, with the innermost call on the left:
//
//     malloc <- operator new <- Parse <- Parse <- ... <- main
//
// 1. malloc reaches the reserve. The handler opens it, and replaces the return address of the call from Parse to
//    operator new by the address of a second trampoline.
// 2. The thread goes on in malloc, which finishes on the reserve.
// 3. operator new returns into that trampoline, and the exception is thrown as if the call in Parse had thrown it.
//
// Limits. An exception leaves a frame only by a landing pad, and the compiler makes landing pads only for
// instructions that it thinks can throw. So code that is to catch or clean up after a fault needs
// -fnon-call-exceptions, and even then neither the prologue of a function nor a call that the compiler has proved not
// to throw has a landing pad. A `noexcept` function between the fault and its handler ends the process, as for any
// exception. C functions that the exception passes don't release what they hold; for this reason a fault inside the
// allocator isn't translated.
#include "ZerlithCore/platform/Faults.h"

#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/Stack.h"
#include "ZerlithCore/platform/ThreadEnd.h"
#include "ZerlithCore/platform/posix/FaultContext.h"
#include "ZerlithCore/platform/posix/StackMemory.h"
#include "ZerlithCore/platform/posix/StackProbe.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>
#include <unwind.h>
#include <utility>
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#endif

namespace KZPlatform {

namespace {

constexpr std::array<int, 4> faultSignals = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};
constexpr std::size_t maxFrames = 128;
constexpr std::size_t roomForReport = 128 * 1024;
constexpr std::size_t redZoneBytes = 128; // below the stack pointer; the function there may use it
constexpr std::size_t farBelowStack = 64 * 1024 * 1024; // how far below the stack a large frame may reach
constexpr std::size_t hugeStackBytes = std::size_t{1} << 30; // has no real limit, and isn't made to grow

std::uintptr_t Address(void const * place) noexcept { return reinterpret_cast<std::uintptr_t>(place); }

/// One mapping with the signal stack and the spare stack, each above a guard, and the fault state, for a thread that
/// somebody else has started. The mapping often lies directly below the thread's own stack, so a large guard at its
/// end catches large frames of that stack. The mappings of threads that have ended are kept for later threads, a few
/// at most.
class SpareStacks {
public:
    /// Null when there is no memory.
    static char * Take() noexcept {
        for (std::atomic<char *> & place : kept_)
            if (char * const base = place.exchange(nullptr)) return base;
        void * const memory =
            mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED) return nullptr;
        char * const base = static_cast<char *>(memory);
        constexpr int readWrite = PROT_READ | PROT_WRITE;
        if (mprotect(SignalStack(base), signalStackBytes, readWrite) == 0 &&
            mprotect(SpareStack(base), spareStackBytes + faultStateBytes, readWrite) == 0)
            return base;
        munmap(memory, bytes);
        return nullptr;
    }
    static void GiveBack(char * base) noexcept {
        for (std::atomic<char *> & place : kept_) {
            char * empty = nullptr;
            if (place.compare_exchange_strong(empty, base)) return;
        }
        munmap(base, bytes);
    }

    static char * SignalStack(char * base) noexcept { return base + guardBytes; }
    static char * SpareStack(char * base) noexcept {
        return SignalStack(base) + signalStackBytes + guardBytes;
    }
    static void * State(char * base) noexcept { return SpareStack(base) + spareStackBytes; }

private:
    static constexpr std::size_t farGuardBytes = 1024 * 1024;
    static constexpr std::size_t bytes =
        2 * guardBytes + signalStackBytes + spareStackBytes + faultStateBytes + farGuardBytes;

    static constinit std::array<std::atomic<char *>, 4> kept_;
};

constinit std::array<std::atomic<char *>, 4> SpareStacks::kept_{};

/// Reads a byte that may not be there, and tells whether it is. On a stack that grows by being used this makes it
/// grow.
__attribute__((no_sanitize("address"), noinline)) bool Touch(char const * byte) noexcept {
    sigjmp_buf wayBack;
    bool isThere = false;
    stackProbe = &wayBack;
    if (sigsetjmp(wayBack, 0) == 0) {
        *static_cast<char const volatile *>(byte);
        isThere = true;
    }
    stackProbe = nullptr;
    return isThere;
}

/// A part of a thread's memory that is locked (no access) until a fault needs it.
class LockedPart {
public:
    enum class State : unsigned char { Open, Locked, Unlocked }; ///< `Unlocked`: not locked yet

    LockedPart(char * low, std::size_t bytes, State state) noexcept
        : low_(low), bytes_(bytes), state_(state) {}
    /// The reserve at the low end of a stack, at most an eighth of it. Not locked yet.
    static LockedPart Of(char * stackLow, std::size_t stackBytes) noexcept {
        std::size_t const page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        std::size_t const distance = (page - Address(stackLow) % page) % page;
        std::size_t const bytes = std::clamp(stackBytes / 8, page, reserveBytes) / page * page;
        return {stackLow + distance, bytes, State::Unlocked};
    }

    void Lock() noexcept {
        if (mprotect(low_, bytes_, PROT_NONE) == 0) state_ = State::Locked;
    }
    /// False when it isn't locked, or when the system refuses to open it.
    bool Open() noexcept {
        if (state_ != State::Locked || mprotect(low_, bytes_, PROT_READ | PROT_WRITE) != 0) return false;
        state_ = State::Open;
        return true;
    }
    bool IsOpen() const noexcept { return state_ == State::Open; }
    bool Has(std::uintptr_t address) const noexcept { return address >= Low() && address <= Top(); }
    std::uintptr_t Low() const noexcept { return Address(low_); }
    std::uintptr_t Top() const noexcept { return Address(low_) + bytes_; }

private:
    char * low_;
    std::size_t bytes_;
    State state_;
};

/// The state of a thread that translates its faults.
class ThreadFaults : public ThreadEndTask {
public:
    /// Makes the state of the calling thread, in memory that is freed with the thread; null when the system has none.
    static ThreadFaults * Make() noexcept;
    /// Starts the translation of the thread's faults. False, with the memory given back, when the system refuses.
    bool Enter() noexcept;
    void SetThrower(FaultThrower thrower) noexcept { thrower_ = thrower; }

    /// Called in the signal handler: makes the thread continue in the trampoline. False when this fault isn't to be
    /// translated.
    bool Translate(siginfo_t const & info, void * context) noexcept;

    /// Called by the trampolines, outside of the signal handler.
    void Throw();
    void * CaughtReturn(std::uintptr_t stackPointer) noexcept;

    void RestoreReserve() noexcept;

private:
    explicit ThreadFaults(StackMemory const & stack) noexcept;
    ThreadFaults(char * stacks, char * stackLow, std::size_t stackBytes) noexcept;

    void Leave() noexcept;
    void GiveBack() noexcept;
    bool IsOnStack(std::uintptr_t address) const noexcept {
        return address >= stackLow_ && address < stackTop_;
    }
    bool IsStackOverflow(FaultContext const & context) const noexcept;
    bool Describe(FaultContext const & context) noexcept;
    bool Survive(FaultContext & context) noexcept;
    bool SurviveOverflow(FaultContext & context, std::size_t unsafeFrames) noexcept;
    bool Open(LockedPart & part) noexcept;
    bool OpenSpare() noexcept { return spare_.IsOpen() || Open(spare_); }
    void StartReport(FaultContext & context, std::uintptr_t stackTop) noexcept;
    void EndReport() noexcept;
    bool HasRoomForReport(std::uintptr_t stackPointer) const noexcept;

    FaultThrower thrower_ = nullptr;
    char * stacks_ = nullptr; // for a thread that somebody else has started; null otherwise
    char * signalStack_;
    stack_t formerSignalStack_ = {};
    std::uintptr_t stackLow_; // the reserve included
    std::uintptr_t stackTop_;
    LockedPart reserve_;
    LockedPart spare_;                  // the spare stack, locked on a thread that the library has started
    std::uintptr_t caughtReturn_ = 0;   // the return address that the trampoline's replaced
    bool volatile isReporting_ = false; // from the fault until its exception has unwound the first frame
    Fault fault_ = {};
    std::array<void *, maxFrames> addresses_;
};
static_assert(sizeof(ThreadFaults) <= faultStateBytes);

/// The state of the calling thread; null when it doesn't translate faults. Initial-exec storage is allocated with the
/// thread, so a signal handler can read it on any thread.
thread_local constinit ThreadFaults * current __attribute__((tls_model("initial-exec"))) = nullptr;

struct sigaction formerActions[NSIG];

ThreadFaults::ThreadFaults(StackMemory const & stack) noexcept
    : signalStack_(stack.SignalStack())
    , stackLow_(Address(stack.Low()) - reserveBytes)
    , stackTop_(Address(stack.Low()) + stack.Bytes())
    , reserve_(stack.Low() - reserveBytes, reserveBytes, LockedPart::State::Locked)
    , spare_(stack.SpareStack(), spareStackBytes, LockedPart::State::Locked) {}

ThreadFaults::ThreadFaults(char * stacks, char * stackLow, std::size_t stackBytes) noexcept
    : stacks_(stacks)
    , signalStack_(SpareStacks::SignalStack(stacks))
    , stackLow_(Address(stackLow))
    , stackTop_(stackLow_ + stackBytes)
    , reserve_(LockedPart::Of(stackLow, stackBytes))
    , spare_(SpareStacks::SpareStack(stacks), spareStackBytes, LockedPart::State::Open) {}

ThreadFaults * ThreadFaults::Make() noexcept {
    if (ownStack) return new (ownStack->FaultState()) ThreadFaults(*ownStack);
    pthread_attr_t attributes;
    if (int const error = pthread_getattr_np(pthread_self(), &attributes); error != 0) {
        SetLastErrorNumber(error); // for the first thread the C library reads a file, which can fail
        return nullptr;
    }
    void * low = nullptr;
    std::size_t size = 0;
    pthread_attr_getstack(&attributes, &low, &size);
    pthread_attr_destroy(&attributes);
    char * const stacks = SpareStacks::Take();
    if (!stacks) {
        SetLastErrorNumber(ENOMEM);
        return nullptr;
    }
    return new (SpareStacks::State(stacks)) ThreadFaults(stacks, static_cast<char *>(low), size);
}

bool ThreadFaults::Enter() noexcept {
    run = [](ThreadEndTask & task) noexcept { static_cast<ThreadFaults &>(task).Leave(); };
    stack_t ours = {};
    ours.ss_sp = signalStack_;
    ours.ss_size = signalStackBytes;
    bool const isSet = sigaltstack(&ours, &formerSignalStack_) == 0;
    bool const isEndNoted = isSet && CallAtThreadEnd(*this);
    if (!isSet || (stacks_ && !isEndNoted)) {
        GiveBack();
        SetLastErrorNumber(ENOMEM);
        return false;
    }
    // The first walk of a process allocates memory, which a signal handler can't do.
    static std::size_t const prepared = CaptureStack(addresses_);
    static_cast<void>(prepared);
    bool const canLock = stacks_ && stackTop_ - stackLow_ < hugeStackBytes;
    if (canLock && Touch(reinterpret_cast<char const *>(reserve_.Low()))) reserve_.Lock();
    current = this;
    return true;
}

void ThreadFaults::Leave() noexcept {
    current = nullptr;
    GiveBack();
}

void ThreadFaults::GiveBack() noexcept {
    bool const hadNone = (formerSignalStack_.ss_flags & SS_DISABLE) != 0;
    if (!stacks_ && hadNone) return; // all of it is freed with the thread
    formerSignalStack_.ss_flags &= SS_DISABLE;
    sigaltstack(&formerSignalStack_, nullptr);
    if (!stacks_) return;
    reserve_.Open(); // another thread may get this stack
    SpareStacks::GiveBack(stacks_);
}

void ThreadFaults::RestoreReserve() noexcept {
    std::uintptr_t const here = Address(__builtin_frame_address(0));
    bool const hasRoom = IsOnStack(here) && here > reserve_.Top() + roomForReport / 2;
    if (reserve_.IsOpen() && hasRoom) reserve_.Lock();
    if (!stacks_ && spare_.IsOpen() && !spare_.Has(here)) spare_.Lock();
}

/// True when the stack pointer and the accessed address are both near the low end of the stack. With a large frame
/// both may lie far below it.
bool ThreadFaults::IsStackOverflow(FaultContext const & context) const noexcept {
    std::uintptr_t const lowest = stackLow_ > farBelowStack ? stackLow_ - farBelowStack : 0;
    std::uintptr_t const stackPointer = context.StackPointer();
    auto const address = reinterpret_cast<std::uintptr_t>(context.Address());
    return stackPointer >= lowest && stackPointer < reserve_.Top() + guardBytes && address >= lowest &&
           address < reserve_.Top();
}

bool ThreadFaults::HasRoomForReport(std::uintptr_t stackPointer) const noexcept {
    return stackPointer >= reserve_.Top() + roomForReport && stackPointer < stackTop_;
}

bool ThreadFaults::Open(LockedPart & part) noexcept {
    if (!part.Open()) return false;
    if (!stacks_) ownStack->Spoil();
    return true;
}

/// How many of the innermost calls belong to the allocator. Leaving it by an exception would leave its locks held and
/// its lists damaged, and the next allocation would hang or crash.
std::size_t FramesOfAllocator(std::span<void * const> stack) noexcept {
    void const * const entries[] = {
        reinterpret_cast<void const *>(&std::malloc),
        reinterpret_cast<void const *>(&std::free),
        reinterpret_cast<void const *>(&std::calloc),
        reinterpret_cast<void const *>(&std::realloc),
        reinterpret_cast<void const *>(&std::aligned_alloc),
        reinterpret_cast<void const *>(&posix_memalign),
        reinterpret_cast<void const *>(static_cast<void * (*)(std::size_t)>(&operator new)),
        reinterpret_cast<void const *>(static_cast<void (*)(void *) noexcept>(&operator delete))};
    constexpr std::size_t deepest = 24;
    std::size_t count = 0;
    for (std::size_t i = 0; i < std::min(stack.size(), deepest); ++i) {
        void const * const function = _Unwind_FindEnclosingFunction(static_cast<char *>(stack[i]) + 1);
        if (function && std::ranges::find(entries, function) != std::end(entries)) count = i + 1;
    }
    return count;
}

/// False when the fault isn't in the list.
bool ThreadFaults::Describe(FaultContext const & context) noexcept {
    fault_.code = context.Code();
    if (fault_.code == FaultCode::AccessViolation && IsStackOverflow(context))
        fault_.code = FaultCode::StackOverflow;
    fault_.access = context.Access();
    fault_.address = context.Address();
    fault_.instruction = reinterpret_cast<void const *>(context.Instruction());
    return fault_.code != 0;
}

/// Called in the signal handler: makes the thread continue in the trampoline.
void ThreadFaults::StartReport(FaultContext & context, std::uintptr_t stackTop) noexcept {
    isReporting_ = true;
    context.Redirect(stackTop);
}

bool ThreadFaults::SurviveOverflow(FaultContext & context, std::size_t unsafeFrames) noexcept {
    if (!OpenSpare() || !Open(reserve_)) return false;
    std::uintptr_t * returnSlot = nullptr;
    switch (context.FindLandingPad(unsafeFrames, returnSlot)) {
    case FaultContext::Way::Here: StartReport(context, spare_.Top()); return true;
    case FaultContext::Way::AtReturn:
        caughtReturn_ = std::exchange(*returnSlot, ReturnTrampoline());
        return true;
    case FaultContext::Way::None: break;
    }
    reserve_.Lock(); // the instruction faults again, and then has the default action
    return false;
}

/// Collects the call stack, and makes the thread continue in the trampoline.
bool ThreadFaults::Survive(FaultContext & context) noexcept {
    std::uintptr_t const stackPointer = context.StackPointer();
    bool const isBadJump = fault_.access == FaultAccess::Execute && IsOnStack(stackPointer);
    if (isBadJump) context.ReturnFromBadJump();
    fault_.stack = std::span(addresses_).first(CaptureStack(addresses_, StackOrigin::Interrupted));
    std::size_t const unsafeFrames = FramesOfAllocator(fault_.stack);
    if (fault_.code == FaultCode::StackOverflow) return SurviveOverflow(context, unsafeFrames);
    if (unsafeFrames != 0) return false;
    bool const hasRoom = HasRoomForReport(stackPointer);
    if (!hasRoom && !OpenSpare()) return false;
    StartReport(context, hasRoom ? stackPointer - redZoneBytes : spare_.Top());
    return true;
}

void * ThreadFaults::CaughtReturn(std::uintptr_t stackPointer) noexcept {
    isReporting_ = true;
    return MakeTrampolineFrame(spare_.Top(), caughtReturn_ - 1, stackPointer);
}

bool ThreadFaults::Translate(siginfo_t const & info, void * rawContext) noexcept {
    FaultContext context(info, rawContext);
    bool const isOnSpare = spare_.IsOpen() && spare_.Has(context.StackPointer());
    return !isReporting_ && !isOnSpare && Describe(context) && Survive(context);
}

/// Marks the fault as over. The address sanitizer clears its marks for the frames that an exception leaves, but only
/// on the stack on which it was thrown, so the marks on both stacks are cleared here.
void ThreadFaults::EndReport() noexcept {
    isReporting_ = false;
#if defined(__SANITIZE_ADDRESS__)
    __asan_unpoison_memory_region(reinterpret_cast<void const *>(stackLow_), stackTop_ - stackLow_);
    __asan_unpoison_memory_region(reinterpret_cast<void const *>(spare_.Low()), spareStackBytes);
#endif
}

void ThreadFaults::Throw() {
    struct Guard {
        ThreadFaults & faults;
        ~Guard() { faults.EndReport(); }
    } const guard{*this};
    thrower_(fault_);
    std::terminate();
}

/// Makes the default action happen: after the handler returns, a real fault happens again, and a signal that somebody
/// sent is sent again here.
void TakeDefaultAction(int signal, siginfo_t const & info) noexcept {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
    if (info.si_code <= 0) pthread_kill(pthread_self(), signal);
}

void PassOn(int signal, siginfo_t * info, void * context) {
    struct sigaction const & former = formerActions[signal];
    bool const wantsDetails = (former.sa_flags & SA_SIGINFO) != 0;
    if (!wantsDetails && former.sa_handler == SIG_IGN && info->si_code <= 0) return;
    if (!wantsDetails && (former.sa_handler == SIG_DFL || former.sa_handler == SIG_IGN))
        return TakeDefaultAction(signal, *info);
    sigset_t blocked = former.sa_mask;
    sigset_t present;
    if ((former.sa_flags & SA_NODEFER) == 0) sigaddset(&blocked, signal);
    pthread_sigmask(SIG_BLOCK, &blocked, &present);
    if (wantsDetails)
        former.sa_sigaction(signal, info, context);
    else
        former.sa_handler(signal);
    pthread_sigmask(SIG_SETMASK, &present, nullptr);
}

void OnFault(int signal, siginfo_t * info, void * context) {
    AllowMisalignedAccess();
    int const savedError = errno;
    if (stackProbe && info->si_code > 0) siglongjmp(*stackProbe, 1);
    bool const isTranslated = current && current->Translate(*info, context);
    errno = savedError;
    if (!isTranslated)
        PassOn(signal, info, context);
    else if constexpr (!canRedirect)
        current->Throw();
}

bool InstallHandlers() noexcept {
    struct sigaction action = {};
    action.sa_sigaction = &OnFault;
    // SA_NODEFER: a fault inside the handler must arrive, because the walk over a damaged stack relies on it
    // (StackProbe.h).
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    for (int const signal : faultSignals) {
        sigaction(signal, nullptr, &formerActions[signal]);
        sigaction(signal, &action, nullptr);
    }
    return true;
}

} // namespace

extern "C" void KZPlatformThrowFault() { current->Throw(); }

extern "C" void * KZPlatformCaughtReturn(std::uintptr_t stackPointer) noexcept {
    return current->CaughtReturn(stackPointer);
}

bool TranslateFaults(FaultThrower thrower) noexcept {
    [[maybe_unused]] static bool const isInstalled = InstallHandlers();
    ThreadFaults * const faults = current ? current : ThreadFaults::Make();
    if (!faults) return false;
    faults->SetThrower(thrower);
    return current || faults->Enter();
}

void RestoreStackReserve() noexcept {
    if (current) current->RestoreReserve();
}

} // namespace KZPlatform
