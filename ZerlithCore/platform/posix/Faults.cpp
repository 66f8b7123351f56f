// How a fault becomes an exception.
//
// The signal handler runs on a stack of its own. It finds out what happened, notes the call stack, and changes the state
// to which the system will return: the thread goes on in a trampoline (FaultContext.cpp) that looks as if the instruction
// that failed had called it. So the handler ends as any handler does, signal mask and alternate stack are put back by
// the system, the floating-point masks with them, and the exception is thrown in ordinary code. A throw out of the
// handler itself would leave all of that to be repaired; it is the way only where there is no trampoline.
//
// The trampoline uses the thread's own stack, or a spare one where that has no room left or isn't what the stack pointer
// points into. Nothing on the spare stack is needed any more when the first frame is unwound, so it serves again.
//
// Stack overflow. The clean-ups of the deepest frames run on the full stack, so some of it is kept locked as a reserve;
// the overflow meets the reserve and opens it, and the end of the exception locks it again. The stack is
// mostly full in some small function deep down, often in the allocator, where nothing can be thrown. The thread then goes on
// with the reserve, and the exception is thrown when control returns to the next frame where it can be: the return address
// of that call is changed to lead to a second trampoline.
//
// Limits. An exception leaves a frame only by a landing pad, and the compiler makes one only for instructions that it
// thinks can fail: code that is to catch or clean up needs -fnon-call-exceptions, and neither a function's own prologue
// nor a call that the compiler has proved not to throw has one. A `noexcept` function between fault and handler ends
// the process, as for any exception. C functions that are left this way don't let go of what they hold; a fault inside
// the allocator is therefore not translated.
#include "ZerlithCore/platform/Faults.h"

#include "ZerlithCore/platform/Stack.h"
#include "ZerlithCore/platform/posix/FaultContext.h"
#include "ZerlithCore/platform/posix/StackProbe.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <exception>
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
constexpr std::size_t guardBytes = 64 * 1024; // a multiple of every page size
constexpr std::size_t spareStackBytes = 512 * 1024;
constexpr std::size_t signalStackBytes = canRedirect ? 128 * 1024 : spareStackBytes;
constexpr std::size_t roomForReport = 128 * 1024;
constexpr std::size_t reserveBytes = 64 * 1024;
constexpr std::size_t redZoneBytes = 128;               // below the stack pointer, but in use
constexpr std::size_t farBelowStack = 64 * 1024 * 1024; // where a frame that is too big may still reach

/// The two spare stacks of a thread in one mapping, each above a guard. Those of threads that have ended wait for the
/// next ones, a few at most: making them anew is most of what starting a thread costs.
class SpareStacks {
public:
    SpareStacks() noexcept = default;
    SpareStacks(SpareStacks const &) = delete;
    SpareStacks & operator=(SpareStacks const &) = delete;
    ~SpareStacks() {
        for (std::atomic<char *> & place : kept_) {
            char * empty = nullptr;
            if (base_ && place.compare_exchange_strong(empty, base_)) base_ = nullptr;
        }
        if (base_) munmap(base_, bytes);
    }

    bool Map() noexcept {
        for (std::atomic<char *> & place : kept_)
            if (!base_) base_ = place.exchange(nullptr);
        if (base_) return true;
        void * const memory =
            mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED) return false;
        base_ = static_cast<char *>(memory);
        return mprotect(base_, guardBytes, PROT_NONE) == 0 &&
               mprotect(SignalStack() + signalStackBytes, guardBytes, PROT_NONE) == 0;
    }

    char * SignalStack() const noexcept { return base_ + guardBytes; }
    std::uintptr_t SpareLow() const noexcept { return SpareTop() - spareStackBytes; }
    std::uintptr_t SpareTop() const noexcept { return reinterpret_cast<std::uintptr_t>(base_) + bytes; }

private:
    static constexpr std::size_t bytes = 2 * guardBytes + signalStackBytes + spareStackBytes;

    static constinit std::array<std::atomic<char *>, 4> kept_;

    char * base_ = nullptr;
};

constinit std::array<std::atomic<char *>, 4> SpareStacks::kept_{};

/// Reads a byte that may not be there: that makes a stack grow which grows by being used.
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

/// The part of a thread's stack that is kept locked, as long as all is well.
class StackReserve {
public:
    /// Takes the reserve from the low end of a stack, an eighth of it at most.
    void Make(std::uintptr_t stackLow, std::size_t stackBytes) noexcept {
        std::size_t const page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        low_ = reinterpret_cast<char *>((stackLow + page - 1) / page * page);
        bytes_ = std::clamp(stackBytes / 8, page, reserveBytes) / page * page;
        if (stackBytes < hugeStackBytes && Touch(low_)) Lock();
    }
    void Lock() noexcept { isLocked_ = isLocked_ || mprotect(low_, bytes_, PROT_NONE) == 0; }
    /// False when it isn't locked, or can't be opened.
    bool Open() noexcept {
        if (!isLocked_ || mprotect(low_, bytes_, PROT_READ | PROT_WRITE) != 0) return false;
        isLocked_ = false;
        return true;
    }
    std::uintptr_t Top() const noexcept { return reinterpret_cast<std::uintptr_t>(low_) + bytes_; }

private:
    static constexpr std::size_t hugeStackBytes = std::size_t{1}
                                                  << 30; // no limit is set: growing it is no good

    char * low_ = nullptr;
    std::size_t bytes_ = 0;
    bool isLocked_ = false;
};

/// What a thread that translates its faults needs for it.
class ThreadFaults {
public:
    ThreadFaults() noexcept = default;
    ThreadFaults(ThreadFaults const &) = delete;
    ThreadFaults & operator=(ThreadFaults const &) = delete;
    ~ThreadFaults();

    bool Install(FaultThrower thrower) noexcept;

    /// In the signal handler: sends the thread to the trampoline. False when this fault isn't to be translated.
    bool Translate(siginfo_t const & info, void * context) noexcept;

    /// Behind the trampolines.
    void Throw();
    void * CaughtReturn(std::uintptr_t stackPointer) noexcept;

    void RestoreReserve() noexcept;

private:
    bool FindOwnStack() noexcept;
    bool IsOnStack(std::uintptr_t address) const noexcept {
        return address >= stackLow_ && address < stackTop_;
    }
    bool IsStackOverflow(FaultContext const & context) const noexcept;
    bool Describe(FaultContext const & context) noexcept;
    bool Survive(FaultContext & context) noexcept;
    bool SurviveOverflow(FaultContext & context, std::size_t unsafeFrames) noexcept;
    void StartReport(FaultContext & context, std::uintptr_t stackTop) noexcept;
    void EndReport() noexcept;
    std::uintptr_t ReportStack(std::uintptr_t stackPointer) const noexcept;

    FaultThrower thrower_ = nullptr;
    SpareStacks stacks_;
    stack_t formerSignalStack_ = {};
    std::uintptr_t stackLow_ = 0;
    std::uintptr_t stackTop_ = 0;
    StackReserve reserve_;
    std::uintptr_t caughtReturn_ = 0;   // where a return that is to be caught should have gone
    bool volatile isReporting_ = false; // from the fault until its exception unwinds the first frame
    Fault fault_ = {};
    std::array<void *, maxFrames> addresses_;
};

/// Initial-exec, so that the handler can read it on any thread; null on those that don't translate.
thread_local constinit ThreadFaults * current __attribute__((tls_model("initial-exec"))) = nullptr;

struct sigaction formerActions[NSIG];

bool ThreadFaults::FindOwnStack() noexcept {
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return false;
    void * low = nullptr;
    std::size_t size = 0;
    pthread_attr_getstack(&attributes, &low, &size);
    pthread_attr_destroy(&attributes);
    stackLow_ = reinterpret_cast<std::uintptr_t>(low);
    stackTop_ = stackLow_ + size;
    return true;
}

bool ThreadFaults::Install(FaultThrower thrower) noexcept {
    thrower_ = thrower;
    if (current) return true;
    if (!FindOwnStack() || !stacks_.Map()) return false;
    stack_t ours = {};
    ours.ss_sp = stacks_.SignalStack();
    ours.ss_size = signalStackBytes;
    if (sigaltstack(&ours, &formerSignalStack_) != 0) return false;
    // What the unwinder prepares once is not for a signal handler.
    static std::size_t const prepared = CaptureStack(addresses_);
    static_cast<void>(prepared);
    reserve_.Make(stackLow_, stackTop_ - stackLow_);
    current = this;
    return true;
}

ThreadFaults::~ThreadFaults() {
    if (!current) return;
    current = nullptr;
    reserve_.Open(); // the stack may serve another thread
    formerSignalStack_.ss_flags &= SS_DISABLE;
    sigaltstack(&formerSignalStack_, nullptr);
}

void ThreadFaults::RestoreReserve() noexcept {
    auto const here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    if (IsOnStack(here) && here - stackLow_ > reserve_.Top() - stackLow_ + roomForReport / 2) reserve_.Lock();
}

/// The stack pointer and the address are both where the stack ends. A big frame may reach far beyond.
bool ThreadFaults::IsStackOverflow(FaultContext const & context) const noexcept {
    std::uintptr_t const lowest = stackLow_ > farBelowStack ? stackLow_ - farBelowStack : 0;
    std::uintptr_t const stackPointer = context.StackPointer();
    auto const address = reinterpret_cast<std::uintptr_t>(context.Address());
    return stackPointer >= lowest && stackPointer < reserve_.Top() + guardBytes && address >= lowest &&
           address < reserve_.Top();
}

std::uintptr_t ThreadFaults::ReportStack(std::uintptr_t stackPointer) const noexcept {
    bool const hasRoom = stackPointer >= reserve_.Top() + roomForReport && stackPointer < stackTop_;
    return hasRoom ? stackPointer - redZoneBytes : stacks_.SpareTop();
}

/// How many of the innermost calls belong to the allocator: a fault there leaves its locks held and its lists torn, and
/// nothing that allocates could be done after it.
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

/// In the signal handler: lets the thread go on in the trampoline.
void ThreadFaults::StartReport(FaultContext & context, std::uintptr_t stackTop) noexcept {
    isReporting_ = true;
    context.Redirect(stackTop);
}

bool ThreadFaults::SurviveOverflow(FaultContext & context, std::size_t unsafeFrames) noexcept {
    if (!reserve_.Open()) return false;
    std::uintptr_t * returnSlot = nullptr;
    switch (context.FindLandingPad(unsafeFrames, returnSlot)) {
    case FaultContext::Way::Here: StartReport(context, stacks_.SpareTop()); return true;
    case FaultContext::Way::AtReturn:
        caughtReturn_ = std::exchange(*returnSlot, ReturnTrampoline());
        return true;
    case FaultContext::Way::None: break;
    }
    reserve_.Lock(); // the default action comes by the same fault again
    return false;
}

/// Notes the stack, and sends the thread to the trampoline.
bool ThreadFaults::Survive(FaultContext & context) noexcept {
    std::uintptr_t const stackPointer = context.StackPointer();
    bool const isBadJump = fault_.access == FaultAccess::Execute && IsOnStack(stackPointer);
    if (isBadJump) context.ReturnFromBadJump();
    fault_.stack = std::span(addresses_).first(CaptureStack(addresses_, StackOrigin::Interrupted));
    std::size_t const unsafeFrames = FramesOfAllocator(fault_.stack);
    if (fault_.code == FaultCode::StackOverflow) return SurviveOverflow(context, unsafeFrames);
    if (unsafeFrames != 0) return false;
    StartReport(context, ReportStack(stackPointer));
    return true;
}

void * ThreadFaults::CaughtReturn(std::uintptr_t stackPointer) noexcept {
    isReporting_ = true;
    return MakeTrampolineFrame(stacks_.SpareTop(), caughtReturn_ - 1, stackPointer);
}

bool ThreadFaults::Translate(siginfo_t const & info, void * rawContext) noexcept {
    FaultContext context(info, rawContext);
    std::uintptr_t const stackPointer = context.StackPointer();
    bool const isOnSpare = stackPointer >= stacks_.SpareLow() && stackPointer <= stacks_.SpareTop();
    return !isReporting_ && !isOnSpare && Describe(context) && Survive(context);
}

/// The sanitizer forgets the frames that an exception leaves, but only those on the stack where it is thrown.
void ThreadFaults::EndReport() noexcept {
    isReporting_ = false;
#if defined(__SANITIZE_ADDRESS__)
    __asan_unpoison_memory_region(reinterpret_cast<void const *>(stackLow_), stackTop_ - stackLow_);
    __asan_unpoison_memory_region(reinterpret_cast<void const *>(stacks_.SpareLow()), spareStackBytes);
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

/// Lets the default action happen: a real fault repeats itself, a sent signal is sent again.
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

/// A library whose function is a signal handler must stay.
void StayLoaded() noexcept {
    Dl_info own{};
    if (dladdr(reinterpret_cast<void const *>(&OnFault), &own) && own.dli_fname)
        dlopen(own.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

bool InstallHandlers() noexcept {
    StayLoaded();
    struct sigaction action = {};
    action.sa_sigaction = &OnFault;
    // A fault inside the handler must arrive: the walk over a broken stack counts on it.
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
    static thread_local ThreadFaults own;
    return own.Install(thrower);
}

void RestoreStackReserve() noexcept {
    if (current) current->RestoreReserve();
}

} // namespace KZPlatform
