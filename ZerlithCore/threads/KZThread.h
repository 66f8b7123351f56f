/// @file
/// Threads: started on a callback, kept in one table, found and waited for by their identifiers.
///
///     KZSmartPtr<KZThread> thread(new KZThread(new KZCallbackMethVoid<Job>(u"job", &job, &Job::Do)));
///     if (KZErrorID const id = thread->Start(); id.Bad()) return id;
///     thread->Join();
#pragma once

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/platform/ModuleHold.h"
#include "ZerlithCore/threads/KZCallback.h"
#include "ZerlithCore/threads/KZCriticalSection.h"
#include "ZerlithCore/threads/KZThread_t.h"

#include <atomic>
#include <memory>
#include <vector>

namespace KZPlatform {
struct ThreadRecord;
}

/// A thread and its callback. Counted; an object runs once and can't be started again.
///
/// A started thread stands in a process-wide table until it is waited for, by `Join`, by `WaitForThread` or by the end of
/// its object. An identifier isn't given twice.
///
/// A thread can't wait for its own end. Its body gets an exception if it tries; an exit function takes the thread out of the
/// table and goes on. An object that is destroyed on its own thread is taken out of the table, the body goes on to its end,
/// and exit functions that haven't run are dropped.
///
/// Thread safety: all operations may be called from any thread. None but `Join`, `WaitForThread` and the destructor waits
/// for a thread's end.
class KZ_EXPORT KZThread {
public:
    /// How the thread uses COM. Here it is a mark on the thread, which `IsSingleThreadedCOMApartment` reads.
    enum ComModel : int { NoCom = 0, SingleThreaded = 1, MultiThreaded = 2 };

    /// Starts nothing yet. The COM model is the process-wide default of this moment.
    explicit KZThread(KZSmartPtr<KZCallback> const & body);
    KZThread(KZThread const &) = delete;
    KZThread & operator=(KZThread const &) = delete;
    /// Joins the thread first, unless that is the caller's own.
    virtual ~KZThread();

    unsigned long AddRef() const noexcept { return count_.Increment(); }
    unsigned long Release() const;
    [[nodiscard]] unsigned long NbRef() const noexcept { return count_.Get(); }

    /// Starts the thread. An object that somebody holds is held by the run as well. The size of the stack in bytes is what
    /// the environment variable KZ_THREAD_STACKSIZE said at the first start in the process.
    ///
    /// Errors: message 15 when it was started before, which leaves the running thread alone. The system's error for a
    /// `priority` outside -15 to 15. KZException "_beginthreadex failed in KZThread::Start()" when the system has no thread to
    /// give; std::bad_alloc. After all but the first nothing has run, and another start may follow.
    KZErrorID Start(int priority = 0);

    /// Waits for the end. Returns at once for a thread that wasn't started, or was waited for already.
    /// Errors: KZException "A thread can't wait for its own end" to the body of the thread.
    void Join();

    /// Identifier 0 before the start.
    [[nodiscard]] KZThread_t GetThreadId() const noexcept;
    [[nodiscard]] bool IsStarted() const noexcept { return GetThreadId() != 0UL; }
    /// Tells whether the body is running, in other words started and `Exists`.
    [[nodiscard]] bool IsRunning() const { return IsStarted() && Exists(); }
    /// Tells whether the table has the thread, with a body that hasn't ended.
    [[nodiscard]] bool Exists() const;

    /// With it, the object deletes itself shortly after the end. Nobody else may delete it then, or join it.
    [[nodiscard]] bool GetDeleteOnEnd() const noexcept { return deleteOnEnd_.load(); }
    void SetDeleteOnEnd(bool deleteOnEnd) noexcept { deleteOnEnd_.store(deleteOnEnd); }

    /// Adds the bits of `flag`. Bits 0 to 3 are the COM model's, the others are for callers.
    void SetFlag(int flag) noexcept { flags_.fetch_or(flag); }
    /// Tells whether all bits of `flag` are set.
    [[nodiscard]] bool IsFlagSet(int flag) const noexcept { return (flags_.load() & flag) == flag; }

    /// Adds a function that runs on the thread when the body has ended, in whatever way; the one added first runs first.
    /// What it throws is told on the console. One that is added after the last has run doesn't run. The module of the
    /// function's class stays in memory as long as this object.
    void AddExitFunction(KZSmartPtr<KZCallback> const & function);

    bool SetThreadPriority(int priority) { return SetThreadPriority(GetThreadId(), priority); }
    [[nodiscard]] int GetThreadPriority() const { return GetThreadPriority(GetThreadId()); }

    /// Gives up the processor; sleeps.
    static void yield() noexcept;
    static void Milli_sleep(unsigned int milliseconds) noexcept;
    static void Sleep(unsigned int seconds) noexcept;

    /// The caller's identifier, with a null handle.
    [[nodiscard]] static KZThread_t GetCurrentThreadID() noexcept;
    /// The object whose body the caller runs in; null elsewhere.
    [[nodiscard]] static KZThread * GetCurrentThreadP();

    /// Waits for the end of a thread and takes it out of the table. `timeout`, in milliseconds, is the length of one look
    /// and not a limit: the call returns when the thread has ended. Of several who wait, one returns.
    ///
    /// Errors: KZException "Invalid Thread ID" for one that isn't in the table, or any more; KZException "A thread can't
    /// wait for its own end" to the body of the thread.
    static void WaitForThread(KZThread_t const & id, int timeout = -1);

    /// As the members, for the thread of that identifier. One that isn't running changes nothing and has no flags.
    static void SetFlag(unsigned long id, int flag);
    [[nodiscard]] static bool IsFlagSet(unsigned long id, int flag);

    /// The number is kept as it is, the system's scheduler is told as far as it allows. False for a number outside -15 to
    /// 15, for an identifier without its handle, and for a thread that isn't in the table.
    static bool SetThreadPriority(KZThread_t const & id, int priority);
    /// 0x7FFFFFFF for a thread that isn't in the table.
    [[nodiscard]] static int GetThreadPriority(KZThread_t const & id);

    /// A key to one pointer a thread, null at first; 0xFFFFFFFF when there are no more.
    [[nodiscard]] static unsigned long AllocateThreadKey() noexcept;
    /// Gives the key back; `key` is left as it was.
    static void ReleaseThreadKey(unsigned long & key) noexcept;
    [[nodiscard]] static void * Get(unsigned long key) noexcept;
    static void Set(unsigned long key, void * value) noexcept;

    /// Set the default for threads that are made later, and return the one before. True is `SingleThreaded`.
    static bool InitializeCOM(bool initialize) noexcept;
    static ComModel InitializeCOM(ComModel model) noexcept;
    /// Tells whether the calling thread runs with `SingleThreaded`.
    [[nodiscard]] static bool IsSingleThreadedCOMApartment() noexcept;

private:
    struct Run;

    static void StartThreadWrapper(void * thread) noexcept;
    static void DeleteThread(void * thread) noexcept;
    struct ExitFunction {
        KZPlatform::ModuleHold hold; // destroyed behind the function
        KZSmartPtr<KZCallback> function;
    };

    bool Launch(std::shared_ptr<KZPlatform::ThreadRecord> const & handle);
    [[nodiscard]] bool IsCurrent() const noexcept;
    void RunBody() noexcept;
    void RunExitFunctions(Run const & run) noexcept;
    void LeaveRun() noexcept;
    void DropCallbacks() noexcept;
    void EndRun() noexcept;

    KZCounter count_;
    std::atomic<bool> deleteOnEnd_{false};
    std::atomic<bool> joined_{false};
    bool isHeldByRun_ = false;
    Run * run_ = nullptr; // what is under way on the thread itself; nobody else looks at it
    std::vector<ExitFunction> exitFunctions_;
    KZSmartPtr<KZCallback> body_;
    std::atomic<int> flags_;
    KZThread_t id_;
    std::shared_ptr<KZPlatform::ThreadRecord> handle_; // null until started
    mutable KZCriticalSection section_; // guards identifier and exit functions; taken before the table's lock
    KZCriticalSection joining_;         // held while somebody joins: questions don't wait for it
};

/// Writes the call stack of every thread in the table to standard error, each thread being stopped for the moment that its
/// stack is read. The caller's own is among them if it stands in the table; ended threads aren't.
KZ_EXPORT void KZDumpAllStacks() noexcept;
