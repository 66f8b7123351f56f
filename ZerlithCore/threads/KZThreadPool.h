/// @file
/// A fixed number of threads that run callbacks.
///
///     struct Job { void Do() {} };
///     std::vector<Job> jobs(100); // before the pool, so that it outlives the pool
///     KZThreadPool pool(4);
///     for (Job & job : jobs)
///         pool.Post(KZSmartPtr<KZCallback>(new KZCallbackMethVoid<Job>(u"job", &job, &Job::Do)));
///     // The destructor of the pool waits until all have run.
#pragma once

#include "ZerlithCore/threads/KZCallback.h"
#include "ZerlithCore/threads/KZEventSemaphore.h"
#include "ZerlithCore/threads/KZThread.h"

#include <atomic>
#include <memory>
#include <vector>

/// Runs callbacks on worker threads. A callback goes to the worker that has been idle for the longest time. If none is idle, a
/// worker that hasn't been started yet is started for it. Otherwise it waits in a queue, first in, first out. A worker that
/// has nothing to do asks the factory, if there is one, before it becomes idle.
///
/// If a callback or the factory throws, "unhandled exception" is written to the console and the worker goes on. If the system
/// can't make a thread for a worker, the worker stays unstarted and the next callback tries again. Every accepted callback is
/// run, in the last resort by the destructor.
///
/// Thread safety: all operations except construction and destruction may be called from any thread. A callback may post
/// others. It may also destroy its own pool, for example by dropping the last handle: the destructor then runs what is left in
/// the queue and waits for the other workers, and the worker of that callback ends when the callback returns.
class KZ_EXPORT KZThreadPool : public KZCounted<KZThreadPool> {
public:
    /// Returns the next callback for a worker, or null. Several workers may call it at once; the pool holds no lock then.
    using Factory = KZSmartPtr<KZCallback> (*)(KZThread_t thread, void * data);

    /// One worker: its thread, the event that wakes it, and the callback that it is to run next.
    class KZ_EXPORT ChildThreadInfo : public KZCallbackArgs {
    public:
        ~ChildThreadInfo() override;

    private:
        friend class KZThreadPool;
        explicit ChildThreadInfo(KZThreadPool * pool);
        enum Rest : unsigned char { Awake, Asleep, Woken };
        void WakeUp() noexcept;
        void AwaitWakeUp() noexcept;

        KZThreadPool * pool_; // null after this worker has destroyed the pool
        KZSmartPtr<KZThread> thread_;
        KZSmartPtr<KZCallback> pending_;
        KZEventSemaphore wakeUp_;
        std::atomic<Rest> rest_{Awake};
    };

    /// Makes `threads` workers, none for 0 or less. With `startLazily` a worker is started when a callback finds no idle one;
    /// without it all are started here. With `discardOnShutdown` callbacks that are still in the queue at `Shutdown` are
    /// dropped. `priority` is that of `KZThread::Start`. Errors: std::bad_alloc, and
    /// KZWindowsLastErrorException when the system can't make an event; workers that were started have ended by then.
    explicit KZThreadPool(int threads, Factory factory = nullptr, void * factoryData = nullptr,
                          bool startLazily = true, bool discardOnShutdown = false, int priority = 0);
    KZThreadPool(KZThreadPool const &) = delete;
    KZThreadPool & operator=(KZThreadPool const &) = delete;
    /// Shuts down, and waits until all workers have ended, except the one that calls it. Callbacks are run here if no worker
    /// could be started for them.
    virtual ~KZThreadPool();

    /// Accepts `callback`. False, without effect, for null and after `Shutdown`. Errors: std::bad_alloc, without effect.
    bool Post(KZSmartPtr<KZCallback> callback);
    /// Accepts no more callbacks and lets the workers end, without waiting for that. Callbacks that are running are finished.
    /// Those that were accepted before are run, unless the pool discards them. Those that the factory returns from now on are
    /// dropped.
    void Shutdown();
    /// Replaces `ids` by the identifiers of all workers. A worker that hasn't been started has the identifier 0.
    void GetThreadIds(std::vector<KZThread_t> & ids) const;

private:
    using Worker = KZSmartPtr<ChildThreadInfo>;
    struct Lists;
    enum class Look : unsigned char { Work, Nothing, Idle, End };

    KZThreadPool(Factory factory, void * factoryData, bool discardOnShutdown, int priority);
    [[nodiscard]] Worker MakeWorker();
    bool StartWorker(ChildThreadInfo & worker) noexcept;
    void ChildThread(ChildThreadInfo * info);
    KZSmartPtr<KZCallback> TakeFromQueue() noexcept;
    Look LookForWork(ChildThreadInfo & info, bool mayRest, KZSmartPtr<KZCallback> & callback);
    KZSmartPtr<KZCallback> NextCallback(ChildThreadInfo & info);
    KZSmartPtr<KZCallback> AskFactory(ChildThreadInfo const & info) const;
    void RunWhatIsLeft() noexcept;

    int priority_;
    std::vector<Worker> workers_;
    Factory factory_;
    void * factoryData_;
    bool discardOnShutdown_;
    std::unique_ptr<Lists> lists_;
};
