// The system's thread is made by `StartThread`, on memory of ours (StackMemory.h), when everything else is ready. A
// wait for the end of a thread has two steps. First it waits for the word `ended`, which any number of threads can do
// with a time limit. Then one of the waiting threads joins the system's thread, and the others wait for that. So when
// a wait returns, nothing of the thread is left.
//
// A thread whose handle is closed early is joined by nobody. Its record, with its stack, goes to the list of leaving
// threads. Whoever makes a thread, or adds another one to the list, deletes the records of those whose numbers the
// system doesn't know any more.
#include "ZerlithCore/platform/Threads.h"

#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/posix/Futex.h"
#include "ZerlithCore/platform/posix/ThreadRecord.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <new>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace KZPlatform {

namespace {

enum Joining : std::uint32_t { NotJoined = 0, BeingJoined = 1, Joined = 2 };

// The library's own frames below an entry function need this much, for example to report a fault.
constexpr std::size_t leastStackBytes = 128 * 1024;
constexpr std::size_t mostStackBytes = SIZE_MAX / 4; // more than this fits no address space
constexpr int lowestPriority = -15;
constexpr int highestPriority = 15;

thread_local pid_t kernelThreadId = 0;
thread_local unsigned long threadId = 0;

unsigned long NextThreadId() noexcept {
    static std::atomic<std::uint32_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1U;
}

constinit std::atomic<ThreadRecord *> leaving{nullptr};

void AddToLeaving(ThreadRecord * record) noexcept {
    record->nextLeaving = leaving.load(std::memory_order_relaxed);
    while (!leaving.compare_exchange_weak(record->nextLeaving, record, std::memory_order_release)) {}
}

/// Deletes the records of leaving threads that have ended.
void SweepLeaving() noexcept {
    if (!leaving.load(std::memory_order_relaxed)) return;
    ThreadRecord * next = leaving.exchange(nullptr, std::memory_order_acquire);
    while (ThreadRecord * const record = next) {
        next = record->nextLeaving;
        if (IsThreadHere(record->kernelId.load(std::memory_order_relaxed)))
            AddToLeaving(record);
        else
            delete record;
    }
}

void DropReference(ThreadRecord * record) noexcept {
    if (record->references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    bool const isGone = !record->isStarted.load(std::memory_order_relaxed) ||
                        record->joining.load(std::memory_order_acquire) == Joined;
    if (isGone) {
        delete record;
    } else {
        SweepLeaving();
        AddToLeaving(record);
    }
}

/// The nice value, the scheduler's own unit, for a priority: 5 for each step. A priority of -4 or below gives the
/// least urgent value, 19, and one of 4 or above the most urgent, -20.
int NiceStepOf(int priority) noexcept {
    constexpr int step = 5;
    return std::clamp(-priority * step, -20, 19);
}

/// Requires: the record's lock is held, and the thread hasn't ended.
void TellScheduler(ThreadRecord & record) noexcept {
    pid_t const thread = record.kernelId.load(std::memory_order_relaxed);
    if (thread == 0) return; // the thread calls this when it starts
    auto const target = static_cast<id_t>(thread);
    if (!record.isNiceKnown) record.normalNice = getpriority(PRIO_PROCESS, target);
    record.isNiceKnown = true;
    int const nice = record.normalNice + NiceStepOf(record.priority.load(std::memory_order_relaxed));
    setpriority(PRIO_PROCESS, target, std::clamp(nice, -20, 19)); // may be refused: not a failure
}

/// Names the thread after its number, for the system's tools.
void NameThread(unsigned long id) noexcept {
    char name[16];
    std::snprintf(name, sizeof name, "KZThread %lu", id);
    prctl(PR_SET_NAME, name);
}

/// Waits while `word`, of `record`, is `value`; false when it still is at the deadline.
bool AwaitChange(ThreadRecord & record, std::atomic<std::uint32_t> const & word, std::uint32_t value,
                 Deadline const & deadline) noexcept {
    bool timedOut = false;
    record.waiters.fetch_add(1);
    while (word.load() == value && !timedOut)
        timedOut = FutexWait(&word, value, Reach::Process, deadline) == ETIMEDOUT;
    record.waiters.fetch_sub(1, std::memory_order_relaxed);
    return word.load(std::memory_order_acquire) != value;
}

/// Sets `word`, and wakes those who wait for it. There is mostly nobody, and then no call to the system.
void Change(ThreadRecord & record, std::atomic<std::uint32_t> & word, std::uint32_t value) noexcept {
    word.store(value);
    if (record.waiters.load() != 0) FutexWake(&word, INT_MAX, Reach::Process);
}

void RunThread(ThreadRecord & record) noexcept {
    threadId = record.id;
    ownStack = &record.stack;
    NameThread(record.id);
    record.lock.Lock();
    record.kernelId.store(KernelThreadId(), std::memory_order_relaxed);
    if (record.priority.load(std::memory_order_relaxed) != 0) TellScheduler(record);
    record.lock.Unlock();
    record.entry(record.argument);
}

void * ThreadMain(void * argument) {
    auto & record = *static_cast<ThreadRecord *>(argument);
    record.run = [](ThreadEndTask & task) noexcept { DropReference(static_cast<ThreadRecord *>(&task)); };
    bool const isLater = CallAtThreadEnd(record); // runs last, as the thread's first task
    RunThread(record);
    record.lock.Lock();
    Change(record, record.ended, 1);
    record.lock.Unlock();
    if (!isLater) DropReference(&record);
    return nullptr;
}

/// The first waiting thread joins, the others wait until it has. False when the deadline comes first.
bool JoinOrAwaitJoined(ThreadRecord & record, Deadline const & deadline) noexcept {
    for (;;) {
        std::uint32_t state = NotJoined;
        if (record.joining.compare_exchange_strong(state, BeingJoined, std::memory_order_acquire)) {
            bool const isJoined = pthread_join(record.thread, nullptr) == 0;
            if (isJoined) record.stack.GiveBack();
            Change(record, record.joining, isJoined ? Joined : NotJoined);
            // The system refuses a join to a thread that waits for itself, or for one that waits for it. Such a
            // thread waits on, as long as its deadline lets it.
            if (!isJoined && !AwaitChange(record, record.ended, 0, deadline)) return false;
        } else if (state == BeingJoined && !AwaitChange(record, record.joining, BeingJoined, deadline)) {
            return false;
        }
        if (record.joining.load(std::memory_order_acquire) == Joined) return true;
    }
}

std::size_t UsableStackSize(std::size_t bytes) noexcept {
    std::size_t const page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    long const least = sysconf(_SC_THREAD_STACK_MIN);
    bytes = std::max({bytes, leastStackBytes, static_cast<std::size_t>(std::max(least, 0L))});
    return (bytes + page - 1) / page * page;
}

std::size_t DefaultStackSize() noexcept {
    pthread_attr_t attributes;
    std::size_t bytes = 0;
    if (pthread_attr_init(&attributes) != 0) return leastStackBytes;
    pthread_attr_getstacksize(&attributes, &bytes);
    pthread_attr_destroy(&attributes);
    return bytes;
}

/// A size for which there is no memory is taken as nonsense, and the default size is used. If there is no memory for
/// that either, the result is false.
bool TakeStack(StackMemory & stack, std::size_t bytes) noexcept {
    bool const isSized = bytes != 0 && bytes <= mostStackBytes;
    return (isSized && stack.Take(UsableStackSize(bytes))) || stack.Take(UsableStackSize(DefaultStackSize()));
}

int Create(ThreadRecord & record) noexcept {
    pthread_attr_t attributes;
    if (int const error = pthread_attr_init(&attributes); error != 0) return error;
    int error = pthread_attr_setstack(&attributes, record.stack.Low(), record.stack.Bytes());
    if (error == 0) error = pthread_create(&record.thread, &attributes, &ThreadMain, &record);
    pthread_attr_destroy(&attributes);
    return error;
}

bool Refuse(int error) noexcept {
    SetLastErrorNumber(error);
    return false;
}

} // namespace

pid_t KernelThreadId() noexcept {
    if (kernelThreadId != 0) return kernelThreadId;
    // In a forked child the only thread has a new number, so the stored one is reset there. If the system can't
    // register that reset, the number isn't stored.
    static constinit std::atomic<bool> isForkNoted{false};
    pid_t const number = gettid();
    if (!isForkNoted.load(std::memory_order_relaxed)) {
        if (pthread_atfork(nullptr, nullptr, [] { kernelThreadId = 0; }) != 0) return number;
        isForkNoted.store(true, std::memory_order_relaxed); // registering it twice does no harm
    }
    return kernelThreadId = number;
}

unsigned long CurrentThreadId() noexcept {
    if (threadId == 0) threadId = NextThreadId();
    return threadId;
}

void GiveWay() noexcept { sched_yield(); }

void SleepFor(std::uint64_t milliseconds) noexcept {
    timespec until = {};
    clock_gettime(CLOCK_MONOTONIC, &until);
    auto const nanoseconds = static_cast<std::uint64_t>(until.tv_nsec) + milliseconds % 1000 * 1000000;
    until.tv_sec += static_cast<time_t>(milliseconds / 1000 + nanoseconds / 1000000000);
    until.tv_nsec = static_cast<long>(nanoseconds % 1000000000);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {}
}

bool IsThreadHere(pid_t thread) noexcept { return tgkill(getpid(), thread, 0) == 0 || errno != ESRCH; }

ThreadHandle NewThread(void (*entry)(void *), void * argument, std::size_t stackBytes) noexcept {
    SweepLeaving();
    auto * const record = new (std::nothrow) ThreadRecord;
    if (!record || !TakeStack(record->stack, stackBytes)) {
        delete record;
        SetLastErrorNumber(ENOMEM);
        return nullptr;
    }
    record->entry = entry;
    record->argument = argument;
    record->id = NextThreadId();
    return record;
}

unsigned long IdOf(ThreadHandle thread) noexcept { return thread ? thread->id : 0; }

bool StartThread(ThreadHandle thread) noexcept {
    thread->references.fetch_add(1, std::memory_order_relaxed);
    thread->isStarted.store(true, std::memory_order_relaxed);
    int const error = Create(*thread);
    if (error == 0) return true;
    thread->isStarted.store(false, std::memory_order_relaxed);
    thread->references.fetch_sub(1, std::memory_order_relaxed);
    return Refuse(error);
}

std::uint32_t WaitForThreadEnd(ThreadHandle thread, std::uint32_t milliseconds) noexcept {
    if (!thread) {
        SetLastErrorNumber(EINVAL);
        return waitFailed;
    }
    Deadline const deadline(milliseconds);
    // A wait without a limit can join at once, without waiting for `ended` first.
    bool const isStarted = thread->isStarted.load(std::memory_order_acquire);
    bool const canJoin =
        (isStarted && milliseconds == waitForever) || AwaitChange(*thread, thread->ended, 0, deadline);
    return canJoin && JoinOrAwaitJoined(*thread, deadline) ? waitDone : waitTimedOut;
}

void CloseThread(ThreadHandle thread) noexcept {
    if (!thread) return;
    bool const isStarted = thread->isStarted.load(std::memory_order_relaxed);
    if (isStarted && thread->joining.load(std::memory_order_acquire) == NotJoined)
        pthread_detach(thread->thread);
    DropReference(thread);
}

bool SetPriorityOf(ThreadHandle thread, int priority) noexcept {
    if (!thread || priority < lowestPriority || priority > highestPriority) return Refuse(EINVAL);
    thread->lock.Lock();
    thread->priority.store(priority, std::memory_order_relaxed);
    if (thread->ended.load(std::memory_order_relaxed) == 0) TellScheduler(*thread);
    thread->lock.Unlock();
    return true;
}

int PriorityOf(ThreadHandle thread) noexcept {
    if (thread) return thread->priority.load(std::memory_order_relaxed);
    SetLastErrorNumber(EINVAL);
    return noPriority;
}

unsigned long NewSlot() noexcept {
    pthread_key_t key = 0;
    if (int const error = pthread_key_create(&key, nullptr); error != 0) {
        SetLastErrorNumber(error);
        return noSlot;
    }
    return key;
}

bool FreeSlot(unsigned long slot) noexcept {
    int const error = slot > noSlot ? EINVAL : pthread_key_delete(static_cast<pthread_key_t>(slot));
    return error == 0 || Refuse(error);
}

void * SlotValue(unsigned long slot) noexcept {
    return slot > noSlot ? nullptr : pthread_getspecific(static_cast<pthread_key_t>(slot));
}

bool SetSlotValue(unsigned long slot, void * value) noexcept {
    int const error = slot > noSlot ? EINVAL : pthread_setspecific(static_cast<pthread_key_t>(slot), value);
    return error == 0 || Refuse(error);
}

} // namespace KZPlatform
