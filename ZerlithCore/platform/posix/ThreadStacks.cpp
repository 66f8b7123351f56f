// Collects the stack of another thread. The collector sends that thread a signal, and the thread stores its own
// return addresses in the handler. So it stands still only for that long, and it can't be stopped while it holds a
// lock that the collector needs.
//
// There is one request at a time, and its state decides who may use the array of addresses. The thread that answers
// changes "Asked" to "Answering" and owns the array from then on. A collector that stops waiting changes "Asked" to
// "Idle". Only one of them succeeds, so a late answer never writes to an array that is gone.
#include "ZerlithCore/platform/Threads.h"

#include "ZerlithCore/platform/Stack.h"
#include "ZerlithCore/platform/posix/Futex.h"
#include "ZerlithCore/platform/posix/ThreadRecord.h"

#include <csignal>

namespace KZPlatform {

namespace {

enum RequestState : std::uint32_t { Idle, Asked, Answering, Answered };

constexpr std::uint32_t answerMilliseconds = 1000;

struct Request {
    std::atomic<std::uint32_t> state{Idle};
    std::atomic<pid_t> thread{0};
    std::span<void *> addresses;
    std::size_t count = 0;
};

RecursiveLock oneCollection;
Request request;

void Answer(int) {
    int const savedError = errno;
    std::uint32_t expected = Asked;
    if (request.thread.load(std::memory_order_acquire) == gettid() &&
        request.state.compare_exchange_strong(expected, Answering, std::memory_order_acquire)) {
        request.count = CaptureStack(request.addresses, StackOrigin::Interrupted);
        request.state.store(Answered, std::memory_order_release);
        FutexWake(&request.state, 1, Reach::Process);
    }
    errno = savedError;
}

/// Installs the handler for the highest real-time signal that nobody uses, and returns its number; 0 when all are in
/// use.
int InstallAnswer() noexcept {
    void * unused = nullptr;
    CaptureStack({&unused, 1}); // the first walk may load a library and allocate, which a handler can't do
    for (int number = SIGRTMAX - 1; number >= SIGRTMIN; --number) {
        struct sigaction present = {};
        if (sigaction(number, nullptr, &present) != 0 || present.sa_handler != SIG_DFL) continue;
        struct sigaction action = {};
        action.sa_handler = &Answer;
        action.sa_flags = SA_RESTART | SA_ONSTACK;
        sigfillset(&action.sa_mask);
        // A damaged stack may make the walk fault. It survives that, if these signals aren't blocked.
        for (int const fault : {SIGSEGV, SIGBUS}) sigdelset(&action.sa_mask, fault);
        if (sigaction(number, &action, nullptr) == 0) return number;
    }
    return 0;
}

/// The number of the signal, or 0 while all are in use. Requires: the caller holds `oneCollection`.
int AnswerSignal() noexcept {
    static constinit int number = 0;
    if (number == 0) number = InstallAnswer();
    return number;
}

/// True when the thread has answered.
bool AwaitAnswer() noexcept {
    Deadline const deadline(answerMilliseconds);
    for (;;) {
        std::uint32_t state = request.state.load(std::memory_order_acquire);
        if (state == Answered) return true;
        if (FutexWait(&request.state, state, Reach::Process, deadline) != ETIMEDOUT) continue;
        if (request.state.compare_exchange_strong(state = Asked, Idle)) return false;
    }
}

} // namespace

std::size_t CollectStackOf(ThreadHandle thread, std::span<void *> addresses) noexcept {
    if (!thread || addresses.empty() || thread->ended.load() != 0) return 0;
    oneCollection.Lock();
    int const signal = AnswerSignal();
    request.addresses = addresses;
    request.count = 0;
    request.thread.store(thread->kernelId.load(std::memory_order_relaxed), std::memory_order_relaxed);
    request.state.store(Asked, std::memory_order_release);
    // While this lock is held the thread can't end, so the signal can't go to a thread that is gone.
    thread->lock.Lock();
    bool const isAlive = signal != 0 && request.thread.load(std::memory_order_relaxed) != 0 &&
                         thread->ended.load(std::memory_order_relaxed) == 0;
    bool const isSent =
        isAlive && tgkill(getpid(), thread->kernelId.load(std::memory_order_relaxed), signal) == 0;
    thread->lock.Unlock();
    std::size_t const count = isSent && AwaitAnswer() ? request.count : 0;
    request.state.store(Idle, std::memory_order_relaxed);
    oneCollection.Unlock();
    return count;
}

} // namespace KZPlatform
