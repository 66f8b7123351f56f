// A thread notes its own return addresses, in a signal handler that another thread sends it into: it stands still
// exactly as long as that takes, and can't be caught holding a lock that the collector then needs.
//
// There is one request at a time. Whoever gets it from "asked" to another state owns the array: the thread that answers,
// or the collector that gives up. So a late answer never writes into memory that is gone.
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

/// Takes the highest real-time signal that nobody uses.
int InstallAnswer() noexcept {
    void * unused = nullptr;
    CaptureStack({&unused, 1}); // the first walk of a process may load and allocate, which a handler can't
    for (int number = SIGRTMAX - 1; number >= SIGRTMIN; --number) {
        struct sigaction present = {};
        if (sigaction(number, nullptr, &present) != 0 || present.sa_handler != SIG_DFL) continue;
        struct sigaction action = {};
        action.sa_handler = &Answer;
        action.sa_flags = SA_RESTART | SA_ONSTACK;
        sigfillset(&action.sa_mask);
        // The walk over a stack that was overwritten survives its faults, if they arrive.
        for (int const fault : {SIGSEGV, SIGBUS}) sigdelset(&action.sa_mask, fault);
        if (sigaction(number, &action, nullptr) == 0) return number;
    }
    return 0;
}

/// The signal, or 0 while every one is in use. Requires: the caller holds `oneCollection`.
int AnswerSignal() noexcept {
    static constinit int number = 0;
    if (number == 0) number = InstallAnswer();
    return number;
}

/// True when the array holds an answer.
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
    // Under the lock the thread can't end between the question and the signal.
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
