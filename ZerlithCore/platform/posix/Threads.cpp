// A thread made here first sleeps on its command word, so it can be numbered, recorded and given a priority before the
// first instruction of its entry. "Ended" is a word too, which any number of threads can wait for with a limit. One of
// those who wait joins, and the others wait for that, so that nothing of the thread is left when a wait returns.
#include "ZerlithCore/platform/Threads.h"

#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/posix/Futex.h"
#include "ZerlithCore/platform/posix/ThreadRecord.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <new>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace KZPlatform {

namespace {

enum Command : std::uint32_t { Wait = 0, Run = 1, Cancel = 2 };
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

void DropReference(ThreadRecord * record) noexcept {
    if (record->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete record;
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

/// Waits while the word is `value`; false when it still is at the deadline.
bool AwaitChange(std::atomic<std::uint32_t> const & word, std::uint32_t value,
                 Deadline const & deadline) noexcept {
    while (word.load(std::memory_order_acquire) == value) {
        if (FutexWait(&word, value, Reach::Process, deadline) != ETIMEDOUT) continue;
        return word.load(std::memory_order_acquire) != value;
    }
    return true;
}

void RunThread(ThreadRecord & record) noexcept {
    threadId = record.id;
    AwaitChange(record.command, Wait, Deadline::Never());
    if (record.command.load(std::memory_order_relaxed) == Cancel) return;
    NameThread(record.id);
    record.lock.Lock();
    record.kernelId.store(KernelThreadId(), std::memory_order_relaxed);
    if (record.priority.load(std::memory_order_relaxed) != 0) TellScheduler(record);
    record.lock.Unlock();
    record.entry(record.argument);
}

void * ThreadMain(void * argument) {
    auto & record = *static_cast<ThreadRecord *>(argument);
    RunThread(record);
    record.lock.Lock();
    record.ended.store(1, std::memory_order_release);
    record.lock.Unlock();
    FutexWake(&record.ended, INT_MAX, Reach::Process);
    DropReference(&record);
    return nullptr;
}

void Give(ThreadRecord & record, Command command) noexcept {
    record.command.store(command, std::memory_order_release);
    FutexWake(&record.command, 1, Reach::Process);
}

/// The first of those who wait joins, the others wait for that. False when the deadline comes first.
bool JoinOrAwaitJoined(ThreadRecord & record, Deadline const & deadline) noexcept {
    for (;;) {
        std::uint32_t state = NotJoined;
        if (record.joining.compare_exchange_strong(state, BeingJoined, std::memory_order_acquire)) {
            bool const isJoined = pthread_join(record.thread, nullptr) == 0;
            record.joining.store(isJoined ? Joined : NotJoined, std::memory_order_release);
            FutexWake(&record.joining, INT_MAX, Reach::Process);
            // Refused to a thread that waits for itself, or for one that waits for it: they wait, as they said.
            if (!isJoined && !AwaitChange(record.ended, 0, deadline)) return false;
        } else if (state == BeingJoined && !AwaitChange(record.joining, BeingJoined, deadline)) {
            return false;
        }
        if (record.joining.load(std::memory_order_acquire) == Joined) return true;
    }
}

std::size_t UsableStackSize(std::size_t bytes) noexcept {
    constexpr std::size_t page = 4096;
    long const least = sysconf(_SC_THREAD_STACK_MIN);
    bytes = std::max({bytes, leastStackBytes, static_cast<std::size_t>(std::max(least, 0L))});
    return (bytes + page - 1) / page * page;
}

int Create(ThreadRecord & record, std::size_t stackBytes) noexcept {
    pthread_attr_t attributes;
    if (int const error = pthread_attr_init(&attributes); error != 0) return error;
    bool const isSized = stackBytes != 0 && stackBytes <= mostStackBytes;
    if (isSized) pthread_attr_setstacksize(&attributes, UsableStackSize(stackBytes));
    int const error = pthread_create(&record.thread, &attributes, &ThreadMain, &record);
    pthread_attr_destroy(&attributes);
    return error;
}

bool Refuse(int error) noexcept {
    SetLastErrorNumber(error);
    return false;
}

} // namespace

pid_t KernelThreadId() noexcept {
    // The one thread of a forked child bears a new number.
    [[maybe_unused]] static int const atFork = pthread_atfork(nullptr, nullptr, [] { kernelThreadId = 0; });
    if (kernelThreadId == 0) kernelThreadId = gettid();
    return kernelThreadId;
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

ThreadHandle NewThread(void (*entry)(void *), void * argument, std::size_t stackBytes) noexcept {
    auto * const record = new (std::nothrow) ThreadRecord;
    if (!record) {
        SetLastErrorNumber(ENOMEM);
        return nullptr;
    }
    record->entry = entry;
    record->argument = argument;
    record->id = NextThreadId();
    int error = Create(*record, stackBytes);
    // A stack that the system can't give at all is nonsense; a lack of threads shows again.
    if (error != 0 && stackBytes != 0) error = Create(*record, 0);
    if (error == 0) return record;
    delete record;
    SetLastErrorNumber(error);
    return nullptr;
}

unsigned long IdOf(ThreadHandle thread) noexcept { return thread ? thread->id : 0; }

void StartThread(ThreadHandle thread) noexcept { Give(*thread, Run); }

void CancelThread(ThreadHandle thread) noexcept {
    Give(*thread, Cancel);
    WaitForThreadEnd(thread, waitForever);
    CloseThread(thread);
}

std::uint32_t WaitForThreadEnd(ThreadHandle thread, std::uint32_t milliseconds) noexcept {
    if (!thread) {
        SetLastErrorNumber(EINVAL);
        return waitFailed;
    }
    Deadline const deadline(milliseconds);
    // Who waits without a limit may as well wait in the join.
    bool const canJoin = milliseconds == waitForever || AwaitChange(thread->ended, 0, deadline);
    return canJoin && JoinOrAwaitJoined(*thread, deadline) ? waitDone : waitTimedOut;
}

void CloseThread(ThreadHandle thread) noexcept {
    if (!thread) return;
    if (thread->joining.load(std::memory_order_acquire) == NotJoined) pthread_detach(thread->thread);
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
