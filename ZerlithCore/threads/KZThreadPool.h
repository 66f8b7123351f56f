/// @file
/// A fixed number of threads that run callbacks.
///
///     KZThreadPool pool(4);
///     for (Job & job : jobs)
///         pool.Post(KZSmartPtr<KZCallback>(new KZCallbackMethVoid<Job>(u"job", &job, &Job::Do)));
///     // The destructor waits until all have run.
#pragma once

#include "ZerlithCore/threads/KZCallback.h"
#include "ZerlithCore/threads/KZCriticalSection.h"
#include "ZerlithCore/threads/KZEventSemaphore.h"
#include "ZerlithCore/threads/KZThread.h"

#include <atomic>
#include <deque>
#include <memory>
#include <vector>

/// Runs callbacks on worker threads. A callback goes to the worker that has been idle for longest; without one a worker
/// that hasn't been started is started for it; else it waits in a queue, first in, first out. A worker that has nothing to
/// do asks the factory, if there is one, before it becomes idle.
///
/// What a callback or the factory throws is told on the console, as a KZThread tells it, and the worker goes on. A worker
/// that the system has no thread for stays unstarted and is tried again with the next callback. What was accepted is run,
/// if need be by the destructor.
///
/// Thread safety: all operations but construction and destruction may be called from any thread. A callback may post
/// others. It may also destroy its own pool, by dropping the last handle say: the destructor then runs what is left in the
/// queue and waits for the other workers; its own worker ends with the callback.
class KZ_EXPORT KZThreadPool {
public:
    /// Gives the next callback for a worker, or null. Called by several workers at once, outside of any lock.
    using Factory = KZSmartPtr<KZCallback> (*)(KZThread_t thread, void * data);

    /// One worker: its thread, the event that wakes it, and the callback that waits for it.
    class KZ_EXPORT ChildThreadInfo : public KZCallbackArgs {
    public:
        ~ChildThreadInfo() override;

    private:
        friend class KZThreadPool;
        explicit ChildThreadInfo(KZThreadPool * pool);

        KZThreadPool * pool_; // null once the worker has destroyed it
        KZSmartPtr<KZThread> thread_;
        KZEventSemaphore wakeUp_;
        KZSmartPtr<KZCallback> pending_;
        std::atomic<bool> isWoken_{false}; // seen by a worker that hasn't gone to sleep yet
    };

    /// `threads` workers, none for 0 or less. With `startLazily` each is started by the first callback that finds no idle
    /// one; without, all are started here. `discardOnShutdown` drops the queue at shut-down. `priority` is as
    /// `KZThread::Start` takes it.
    explicit KZThreadPool(int threads, Factory factory = nullptr, void * factoryData = nullptr,
                          bool startLazily = true, bool discardOnShutdown = false, int priority = 0);
    KZThreadPool(KZThreadPool const &) = delete;
    KZThreadPool & operator=(KZThreadPool const &) = delete;
    /// Shuts down, and waits until all workers have ended, but for the one that runs it. Callbacks that no worker could be
    /// started for are run here.
    virtual ~KZThreadPool();

    unsigned long AddRef() const noexcept { return count_.Increment(); }
    unsigned long Release() const;
    [[nodiscard]] unsigned long NbRef() const noexcept { return count_.Get(); }

    /// Accepts `callback`. False, with no effect, for null and after `Shutdown`. Errors: std::bad_alloc, with no effect.
    bool Post(KZSmartPtr<KZCallback> callback);
    /// Accepts no more callbacks and lets the workers end. What was accepted before is run, unless it is discarded; what
    /// runs is finished; what only the factory gives from now on is dropped. Doesn't wait.
    void Shutdown();
    /// Fills `ids` with the identifiers of all workers; that of one that hasn't been started is 0.
    void GetThreadIds(std::vector<KZThread_t> & ids) const;

private:
    using Worker = KZSmartPtr<ChildThreadInfo>;
    using Queue = std::deque<KZSmartPtr<KZCallback>>;
    enum class Look : unsigned char { Work, Nothing, Idle, End };

    KZThreadPool(Factory factory, void * factoryData, bool discardOnShutdown, int priority);
    [[nodiscard]] Worker MakeWorker();
    bool StartWorker(ChildThreadInfo & worker) noexcept;
    void ChildThread(ChildThreadInfo * info);
    KZSmartPtr<KZCallback> TakeFromQueue() noexcept;
    Look LookForWork(ChildThreadInfo & info, bool mayRest, KZSmartPtr<KZCallback> & callback);
    KZSmartPtr<KZCallback> NextCallback(ChildThreadInfo & info);
    KZSmartPtr<KZCallback> AskFactory(ChildThreadInfo const & info) const;
    static KZSmartPtr<KZCallback> WaitForWork(ChildThreadInfo & info) noexcept;
    void RunWhatIsLeft() noexcept;

    KZCounter count_;
    int priority_;
    std::vector<Worker> workers_;
    std::vector<Worker> idle_; // the one that has been idle for longest in front
    std::vector<Worker> unstarted_;
    std::unique_ptr<Queue> queue_; // null once it has been discarded
    Factory factory_;
    void * factoryData_;
    bool discardOnShutdown_;
    bool isShutDown_ = false;
    mutable KZCriticalSection section_;
};
