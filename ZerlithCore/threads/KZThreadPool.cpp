// A worker is unstarted, idle or at work. A thread that takes a worker out of the list of idle ones gives it a callback and
// wakes it once, so the worker's event is posted exactly once for each sleep.
//
// Only the construction and the queue allocate. The lists have room for all workers from the start, so a worker can
// always become idle, and a shut-down can't fail.
//
// Code of the program, a callback or the factory, may destroy the pool that calls it. So a worker checks after each such call
// whether the pool still exists.
#include "ZerlithCore/threads/KZThreadPool.h"

#include "ZerlithCore/threads/detail/UnhandledException.h"

#include <algorithm>
#include <deque>
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

template <class Handle>
Handle TakeFirst(std::vector<Handle> & handles) noexcept {
    Handle first = std::move(handles.front());
    handles.erase(handles.begin());
    return first;
}

} // namespace

struct KZThreadPool::Queue : std::deque<KZSmartPtr<KZCallback>> {};

KZThreadPool::ChildThreadInfo::ChildThreadInfo(KZThreadPool * pool) : pool_(pool) {}

KZThreadPool::ChildThreadInfo::~ChildThreadInfo() = default;

KZThreadPool::KZThreadPool(Factory factory, void * factoryData, bool discardOnShutdown, int priority)
    : priority_(priority)
    , queue_(std::make_unique<Queue>())
    , factory_(factory)
    , factoryData_(factoryData)
    , discardOnShutdown_(discardOnShutdown) {}

// This constructor delegates, so if it throws, the destructor runs and joins the workers that were started.
KZThreadPool::KZThreadPool(int threads, Factory factory, void * factoryData, bool startLazily,
                           bool discardOnShutdown, int priority)
    : KZThreadPool(factory, factoryData, discardOnShutdown, priority) {
    auto const count = static_cast<std::size_t>(std::max(threads, 0));
    for (std::vector<Worker> * const list : {&workers_, &idle_, &unstarted_}) list->reserve(count);
    while (workers_.size() < count) workers_.push_back(MakeWorker());
    KZGuard<KZCriticalSection> const guard(section_);
    for (Worker const & worker : workers_)
        if (startLazily || !StartWorker(*worker)) unstarted_.push_back(worker);
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
        KZGuard<KZCriticalSection> const guard(section_);
        if (isShutDown_) return false;
        if (!idle_.empty()) {
            idle = TakeFirst(idle_);
            idle->pending_ = std::move(callback);
        } else {
            queue_->push_back(std::move(callback));
            if (!unstarted_.empty() && StartWorker(*unstarted_.front())) TakeFirst(unstarted_);
        }
    }
    // Woken after the lock is released, so that the worker doesn't have to wait for it at once.
    if (!idle.IsNull()) {
        idle->isWoken_.store(true, std::memory_order_release);
        idle->wakeUp_.post();
    }
    return true;
}

void KZThreadPool::Shutdown() {
    // Declared before the guard, so its callbacks are destroyed after the lock is released.
    std::unique_ptr<Queue> discarded;
    KZGuard<KZCriticalSection> const guard(section_);
    if (std::exchange(isShutDown_, true)) return;
    if (discardOnShutdown_) discarded = std::move(queue_);
    for (Worker const & worker : idle_) {
        worker->isWoken_.store(true, std::memory_order_release);
        worker->wakeUp_.post();
    }
    idle_.clear();
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
    if (!queue_ || queue_->empty()) return {};
    KZSmartPtr<KZCallback> callback = std::move(queue_->front());
    queue_->pop_front();
    return callback;
}

// Looks for the worker's own callback, then for one in the queue. Without either the worker becomes idle, if `mayRest`.
KZThreadPool::Look KZThreadPool::LookForWork(ChildThreadInfo & info, bool mayRest,
                                             KZSmartPtr<KZCallback> & callback) {
    KZGuard<KZCriticalSection> const guard(section_);
    callback = !info.pending_.IsNull() ? std::exchange(info.pending_, {}) : TakeFromQueue();
    if (!callback.IsNull()) return Look::Work;
    if (isShutDown_) return Look::End;
    if (!mayRest) return Look::Nothing;
    idle_.push_back(Worker(&info));
    return Look::Idle;
}

// Null when the worker is to end or the pool has been destroyed.
KZSmartPtr<KZCallback> KZThreadPool::NextCallback(ChildThreadInfo & info) {
    KZSmartPtr<KZCallback> callback;
    for (bool mayRest = factory_ == nullptr;; mayRest = true) {
        switch (LookForWork(info, mayRest, callback)) {
        case Look::Work: return callback;
        case Look::End: return {};
        case Look::Idle: return WaitForWork(info);
        case Look::Nothing: break;
        }
        callback = AskFactory(info);
        if (!info.pool_) return {};
        if (callback.IsNull()) continue;
        {
            KZGuard<KZCriticalSection> const guard(section_);
            if (!isShutDown_) return callback;
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

KZSmartPtr<KZCallback> KZThreadPool::WaitForWork(ChildThreadInfo & info) noexcept {
    for (int look = 0; look < looksBeforeSleep && !info.isWoken_.load(std::memory_order_acquire); ++look)
        KZThread::yield();
    info.wakeUp_.wait();
    info.wakeUp_.reset();
    info.isWoken_.store(false, std::memory_order_relaxed);
    return std::exchange(info.pending_, {});
}

void KZThreadPool::RunWhatIsLeft() noexcept {
    for (;;) {
        KZSmartPtr<KZCallback> callback;
        {
            KZGuard<KZCriticalSection> const guard(section_);
            callback = TakeFromQueue();
        }
        if (callback.IsNull()) return;
        Run(callback);
    }
}
