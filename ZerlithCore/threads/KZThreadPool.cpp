// A worker is unstarted, idle or at work. A thread that takes a worker out of the list of idle ones gives it a callback and
// wakes it once.
//
// Only the construction and the queue allocate. The lists have room for all workers from the start, so a worker can
// always become idle, and a shut-down can't fail.
//
// What costs is not the work but passing memory from one processor to another. So the lock and what each call changes
// under it lie in one cache line.
//
// Code of the program, a callback or the factory, may destroy the pool that calls it. So a worker checks after each such call
// whether the pool still exists.
#include "ZerlithCore/threads/KZThreadPool.h"

#include "ZerlithCore/threads/KZCriticalSection.h"
#include "ZerlithCore/threads/detail/Fifo.h"
#include "ZerlithCore/threads/detail/UnhandledException.h"

#include <algorithm>
#include <utility>

namespace {

// A worker looks for work for a few microseconds before it sleeps, because waking a sleeping thread takes as long.
constexpr int looksBeforeSleep = 8;

void Run(KZSmartPtr<KZCallback> & callback) noexcept {
    try {
        (*callback)();
    } catch (...) {
        KZDetail::TellUnhandledException();
    }
    callback.Clear();
}

using Guard = KZGuard<KZCriticalSection>;

} // namespace

/// What the lock guards, together with the callbacks that are given to idle workers.
struct alignas(64) KZThreadPool::Lists {
    KZCriticalSection section;
    KZDetail::Fifo<KZSmartPtr<KZCallback>> queue;
    KZDetail::Fifo<ChildThreadInfo *> idle; // first the one that has been idle for the longest time
    KZDetail::Fifo<ChildThreadInfo *> unstarted;
    bool isShutDown = false;
};

KZThreadPool::ChildThreadInfo::ChildThreadInfo(KZThreadPool * pool) : pool_(pool) {}

// Only a worker that has gone to sleep needs the event; one that still looks sees `Woken`.
void KZThreadPool::ChildThreadInfo::WakeUp() noexcept {
    if (rest_.exchange(Woken, std::memory_order_acq_rel) == Asleep) wakeUp_.post();
}

void KZThreadPool::ChildThreadInfo::AwaitWakeUp() noexcept {
    for (int look = 0; look < looksBeforeSleep && rest_.load(std::memory_order_acquire) != Woken; ++look)
        KZThread::yield();
    Rest rest = Awake;
    if (rest_.compare_exchange_strong(rest, Asleep, std::memory_order_acq_rel)) {
        wakeUp_.wait();
        wakeUp_.reset();
    }
    rest_.store(Awake, std::memory_order_relaxed);
}

KZThreadPool::ChildThreadInfo::~ChildThreadInfo() = default;

KZThreadPool::KZThreadPool(Factory factory, void * factoryData, bool discardOnShutdown, int priority)
    : priority_(priority)
    , factory_(factory)
    , factoryData_(factoryData)
    , discardOnShutdown_(discardOnShutdown)
    , lists_(std::make_unique<Lists>()) {}

// This constructor delegates, so if it throws, the destructor runs and joins the workers that were started.
KZThreadPool::KZThreadPool(int threads, Factory factory, void * factoryData, bool startLazily,
                           bool discardOnShutdown, int priority)
    : KZThreadPool(factory, factoryData, discardOnShutdown, priority) {
    auto const count = static_cast<std::size_t>(std::max(threads, 0));
    workers_.reserve(count);
    lists_->idle.Reserve(count);
    lists_->unstarted.Reserve(count);
    while (workers_.size() < count) workers_.push_back(MakeWorker());
    Guard const guard(lists_->section);
    for (Worker const & worker : workers_)
        if (startLazily || !StartWorker(*worker)) lists_->unstarted.Add(worker.GetPtr());
}

KZThreadPool::Worker KZThreadPool::MakeWorker() {
    using Body = KZCallbackMeth<KZThreadPool, ChildThreadInfo *>;
    Worker worker(new ChildThreadInfo(this));
    KZSmartPtr<KZCallback> const body(
        new Body(u"KZThreadPool", this, &KZThreadPool::ChildThread, worker.GetPtr()));
    worker->thread_ = new KZThread(body);
    return worker;
}

KZThreadPool::~KZThreadPool() {
    Shutdown();
    unsigned long const here = KZThread::GetCurrentThreadID();
    auto const isHere = [here](Worker const & worker) { return worker->thread_->GetThreadId() == here; };
    auto const own = std::ranges::find_if(workers_, isHere);
    // The calling worker won't return to the queue, so it runs what is left now, while the other workers do the same.
    if (own != workers_.end()) {
        RunWhatIsLeft();
        (*own)->pool_ = nullptr;
    }
    for (Worker const & worker : workers_) {
        if (!isHere(worker)) worker->thread_->Join();
        worker->thread_.Clear(); // a worker and its thread hold each other; this breaks the circle
    }
    if (!workers_.empty()) RunWhatIsLeft(); // something is left if no worker could be started
}

bool KZThreadPool::Post(KZSmartPtr<KZCallback> callback) {
    if (callback.IsNull()) return false;
    Worker idle;
    {
        Guard const guard(lists_->section);
        if (lists_->isShutDown) return false;
        if (!lists_->idle.IsEmpty()) {
            idle = lists_->idle.Take();
            idle->pending_ = std::move(callback);
        } else {
            lists_->queue.Add(std::move(callback));
            auto & unstarted = lists_->unstarted;
            if (!unstarted.IsEmpty() && StartWorker(*unstarted.First())) unstarted.Take();
        }
    }
    // Woken after the lock is released, so that the worker doesn't have to wait for it at once.
    if (!idle.IsNull()) idle->WakeUp();
    return true;
}

void KZThreadPool::Shutdown() {
    // Declared before the guard, so its callbacks are destroyed after the lock is released.
    KZDetail::Fifo<KZSmartPtr<KZCallback>> discarded;
    Guard const guard(lists_->section);
    if (std::exchange(lists_->isShutDown, true)) return;
    if (discardOnShutdown_) std::swap(discarded, lists_->queue);
    while (!lists_->idle.IsEmpty()) lists_->idle.Take()->WakeUp();
}

void KZThreadPool::GetThreadIds(std::vector<KZThread_t> & ids) const {
    ids.clear();
    for (Worker const & worker : workers_) ids.push_back(worker->thread_->GetThreadId());
}

// Starts the worker and gives it the first callback of the queue, so that older callbacks run first. Called under the lock:
// the new thread needs it to look for its callback, so it can't look too early.
bool KZThreadPool::StartWorker(ChildThreadInfo & worker) noexcept {
    try {
        if (worker.thread_->Start(priority_).Bad()) return false;
    } catch (...) {
        return false; // the system can't make a thread now; the next callback tries again
    }
    worker.pending_ = TakeFromQueue();
    return true;
}

void KZThreadPool::ChildThread(ChildThreadInfo * info) {
    info->thread_->SetThreadPriority(priority_);
    while (info->pool_) {
        KZSmartPtr<KZCallback> callback = NextCallback(*info);
        if (callback.IsNull()) return;
        Run(callback);
    }
}

KZSmartPtr<KZCallback> KZThreadPool::TakeFromQueue() noexcept {
    return lists_->queue.IsEmpty() ? KZSmartPtr<KZCallback>() : lists_->queue.Take();
}

// Looks for the worker's own callback, then for one in the queue. Without either the worker becomes idle, if `mayRest`.
KZThreadPool::Look KZThreadPool::LookForWork(ChildThreadInfo & info, bool mayRest,
                                             KZSmartPtr<KZCallback> & callback) {
    Guard const guard(lists_->section);
    callback = !info.pending_.IsNull() ? std::exchange(info.pending_, {}) : TakeFromQueue();
    if (!callback.IsNull()) return Look::Work;
    if (lists_->isShutDown) return Look::End;
    if (!mayRest) return Look::Nothing;
    lists_->idle.Add(&info);
    return Look::Idle;
}

// Null when the worker is to end or the pool has been destroyed.
KZSmartPtr<KZCallback> KZThreadPool::NextCallback(ChildThreadInfo & info) {
    KZSmartPtr<KZCallback> callback;
    for (bool mayRest = factory_ == nullptr;; mayRest = true) {
        switch (LookForWork(info, mayRest, callback)) {
        case Look::Work: return callback;
        case Look::End: return {};
        case Look::Idle: info.AwaitWakeUp(); return std::exchange(info.pending_, {});
        case Look::Nothing: break;
        }
        callback = AskFactory(info);
        if (!info.pool_) return {};
        if (callback.IsNull()) continue;
        {
            Guard const guard(lists_->section);
            if (!lists_->isShutDown) return callback;
        }
        callback.Clear();
        if (!info.pool_) return {};
    }
}

KZSmartPtr<KZCallback> KZThreadPool::AskFactory(ChildThreadInfo const & info) const {
    try {
        return factory_(info.thread_->GetThreadId(), factoryData_);
    } catch (...) {
        KZDetail::TellUnhandledException();
        return {};
    }
}

void KZThreadPool::RunWhatIsLeft() noexcept {
    for (;;) {
        KZSmartPtr<KZCallback> callback;
        {
            Guard const guard(lists_->section);
            callback = TakeFromQueue();
        }
        if (callback.IsNull()) return;
        Run(callback);
    }
}
