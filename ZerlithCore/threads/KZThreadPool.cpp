// A worker is in one place at a time: unstarted, idle, or at work. Whoever takes it out of the idle ones puts its callback
// down and wakes it, once; so its event is posted exactly once for each sleep.
#include "ZerlithCore/threads/KZThreadPool.h"

#include "ZerlithCore/threads/UnhandledException.h"

#include <algorithm>
#include <utility>

namespace {

// A worker looks out for work for a few microseconds before it sleeps: waking a thread costs as much.
constexpr int looksBeforeSleep = 8;

void Run(KZSmartPtr<KZCallback> & callback) noexcept {
    try {
        (*callback)();
    } catch (...) {
        KZDetail::TellUnhandledException();
    }
    callback.Clear();
}

} // namespace

KZThreadPool::ChildThreadInfo::ChildThreadInfo(KZThreadPool * pool) : pool_(pool) {}

KZThreadPool::ChildThreadInfo::~ChildThreadInfo() = default;

KZThreadPool::KZThreadPool(int threads, Factory factory, void * factoryData, bool startLazily,
                           bool discardOnShutdown, int priority)
    : priority_(priority)
    , factory_(factory)
    , factoryData_(factoryData)
    , discardOnShutdown_(discardOnShutdown)
    , allEnded_(KZString(), true) {
    for (int i = 0; i < threads; ++i) {
        Worker worker(new ChildThreadInfo(this));
        using Body = KZCallbackMeth<KZThreadPool, ChildThreadInfo *>;
        worker->thread_ = KZSmartPtr<KZThread>(new KZThread(KZSmartPtr<KZCallback>(
            new Body(u"KZThreadPool", this, &KZThreadPool::ChildThread, worker.GetPtr()))));
        workers_.push_back(worker);
    }
    KZGuard<KZCriticalSection> const guard(section_);
    for (Worker const & worker : workers_)
        if (startLazily || !StartWorker(worker)) unstarted_.push_back(worker);
}

KZThreadPool::~KZThreadPool() {
    Shutdown();
    allEnded_.wait();
    // A worker and its thread hold each other through the thread's body.
    for (Worker const & worker : workers_) {
        worker->thread_->Join();
        worker->thread_.Clear();
    }
}

unsigned long KZThreadPool::Release() const {
    unsigned long const left = count_.Decrement();
    if (left == 0) delete this;
    return left;
}

bool KZThreadPool::Post(KZSmartPtr<KZCallback> callback) {
    if (callback.IsNull()) return false;
    Worker idle;
    {
        KZGuard<KZCriticalSection> const guard(section_);
        if (isShutDown_) return false;
        if (!idle_.empty()) {
            idle = std::move(idle_.front());
            idle_.pop_front();
            idle->pending_ = std::move(callback);
        } else {
            queue_.push_back(std::move(callback));
            if (!unstarted_.empty() && StartWorker(unstarted_.front())) unstarted_.pop_front();
        }
    }
    // Outside of the lock, so that the worker doesn't run into it.
    if (!idle.IsNull()) {
        idle->isWoken_.store(true, std::memory_order_release);
        idle->wakeUp_.post();
    }
    return true;
}

void KZThreadPool::Shutdown() {
    std::deque<KZSmartPtr<KZCallback>> discarded; // dropped outside of the lock
    KZGuard<KZCriticalSection> const guard(section_);
    if (std::exchange(isShutDown_, true)) return;
    if (discardOnShutdown_) discarded.swap(queue_);
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

void KZThreadPool::ChildThread(ChildThreadInfo * info) {
    info->thread_->SetThreadPriority(priority_);
    KZSmartPtr<KZCallback> callback;
    while (FindWork(*info, callback)) {
        if (callback.IsNull()) callback = WaitForWork(*info);
        if (callback.IsNull()) break;
        Run(callback);
    }
    EndWorker();
}

// Takes the first callback of the queue along as the worker's own, so that older ones go first. Called under the lock.
bool KZThreadPool::StartWorker(Worker const & worker) {
    worker->pending_ = TakeFromQueue();
    if (started_++ == 0) allEnded_.reset();
    try {
        if (worker->thread_->Start(priority_).Good()) return true;
    } catch (...) {
        // The system has no thread to give now; the next callback tries again.
    }
    if (--started_ == 0) allEnded_.post();
    if (!worker->pending_.IsNull()) queue_.push_front(std::move(worker->pending_));
    return false;
}

KZSmartPtr<KZCallback> KZThreadPool::TakeFromQueue() {
    if (queue_.empty()) return {};
    KZSmartPtr<KZCallback> const callback = std::move(queue_.front());
    queue_.pop_front();
    return callback;
}

// The worker's own callback, the queue's, the factory's; null when the worker is idle now; false when it is to end.
bool KZThreadPool::FindWork(ChildThreadInfo & info, KZSmartPtr<KZCallback> & callback) {
    for (bool isAsked = factory_ == nullptr;; isAsked = true) {
        {
            KZGuard<KZCriticalSection> const guard(section_);
            callback = !info.pending_.IsNull() ? std::exchange(info.pending_, {}) : TakeFromQueue();
            if (!callback.IsNull()) return true;
            if (isShutDown_) return false;
            if (isAsked) {
                idle_.push_back(Worker(&info));
                return true;
            }
        }
        KZSmartPtr<KZCallback> made = AskFactory(info);
        if (made.IsNull()) continue;
        KZGuard<KZCriticalSection> const guard(section_);
        if (isShutDown_) continue;
        callback = std::move(made);
        return true;
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

KZSmartPtr<KZCallback> KZThreadPool::WaitForWork(ChildThreadInfo & info) {
    for (int look = 0; look < looksBeforeSleep && !info.isWoken_.load(std::memory_order_acquire); ++look)
        KZThread::yield();
    info.wakeUp_.wait();
    info.wakeUp_.reset();
    info.isWoken_.store(false, std::memory_order_relaxed);
    return std::exchange(info.pending_, {});
}

void KZThreadPool::EndWorker() {
    KZGuard<KZCriticalSection> const guard(section_);
    if (--started_ == 0) allEnded_.post();
}
