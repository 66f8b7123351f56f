// The thread of the system is made at the start, on memory of ours, when the record is complete: so it needs no waking.
// "Ended" is a word that any number of threads can wait for with a limit. One of those who wait joins, and the others wait
// for that, so that nothing of the thread is left when a wait returns.
//
// Nobody joins a thread whose handle is closed early. Its record, with its stack, then waits in the list of those who are
// leaving, until somebody who starts or ends another one sees that the system has forgotten its number.
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

// What the library's own frames around an entry need: the reports of a fault among them.
constexpr std::size_t leastStackBytes = 128 * 1024;
constexpr std::size_t mostStackBytes = SIZE_MAX / 4; // what is above makes no sense in any address space
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

/// Frees what nobody runs on any more.
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

/// -2 to 2 are spread over half of the scheduler's range, the two ends are its ends.
int NiceStepOf(int priority) noexcept {
    constexpr int step = 5;
    return std::clamp(-priority * step, -20, 19);
}

/// Requires: the record's lock, and that the thread hasn't ended.
void TellScheduler(ThreadRecord & record) noexcept {
    pid_t const thread = record.kernelId.load(std::memory_order_relaxed);
    if (thread == 0) return; // it tells itself when it starts
    auto const target = static_cast<id_t>(thread);
    if (!record.isNiceKnown) record.normalNice = getpriority(PRIO_PROCESS, target);
    record.isNiceKnown = true;
    int const nice = record.normalNice + NiceStepOf(record.priority.load(std::memory_order_relaxed));
    setpriority(PRIO_PROCESS, target, std::clamp(nice, -20, 19)); // refused without the right: not a failure
}

/// Shows the number in the system's tools.
void NameThread(unsigned long id) noexcept {
    char name[16];
    std::snprintf(name, sizeof name, "KZThread %lu", id);
    prctl(PR_SET_NAME, name);
}

/// Waits while the word of `record` is `value`; false when it still is at the deadline.
bool AwaitChange(ThreadRecord & record, std::atomic<std::uint32_t> const & word, std::uint32_t value,
                 Deadline const & deadline) noexcept {
    bool timedOut = false;
    record.waiters.fetch_add(1);
    while (word.load() == value && !timedOut)
        timedOut = FutexWait(&word, value, Reach::Process, deadline) == ETIMEDOUT;
    record.waiters.fetch_sub(1, std::memory_order_relaxed);
    return word.load(std::memory_order_acquire) != value;
}

/// Mostly nobody waits for the word, and the system needn't be asked.
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
    bool const isLater = CallAtThreadEnd(record); // as the last of all tasks
    RunThread(record);
    record.lock.Lock();
    Change(record, record.ended, 1);
    record.lock.Unlock();
    if (!isLater) DropReference(&record);
    return nullptr;
}

/// The first of those who wait joins, the others wait for that. False when the deadline comes first.
bool JoinOrAwaitJoined(ThreadRecord & record, Deadline const & deadline) noexcept {
    for (;;) {
        std::uint32_t state = NotJoined;
        if (record.joining.compare_exchange_strong(state, BeingJoined, std::memory_order_acquire)) {
            bool const isJoined = pthread_join(record.thread, nullptr) == 0;
            if (isJoined) record.stack.GiveBack();
            Change(record, record.joining, isJoined ? Joined : NotJoined);
            // Refused to a thread that waits for itself, or for one that waits for it: they wait, as they said.
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

/// A stack that the system can't give at all is nonsense; a lack of memory shows again.
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
    // The one thread of a forked child bears a new number. Where nobody can be told of the fork, the number isn't kept.
    static constinit std::atomic<bool> isForkNoted{false};
    pid_t const number = gettid();
    if (!isForkNoted.load(std::memory_order_relaxed)) {
        if (pthread_atfork(nullptr, nullptr, [] { kernelThreadId = 0; }) != 0) return number;
        isForkNoted.store(true, std::memory_order_relaxed); // being told twice does no harm
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
    // Who waits without a limit may as well wait in the join.
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
