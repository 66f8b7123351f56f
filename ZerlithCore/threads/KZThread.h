/// @file
/// Threads, which run a callback and can be found and waited for by their identifiers.
///
///     int sum = 0;
///     KZThread thread([&] { sum = 1 + 1; });
///     if (KZErrorID const id = thread.Start(); id.Bad()) KZGetConsole() << id.AsString() << std::endl;
///     thread.Join();
#pragma once

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/platform/ModuleHold.h"
#include "ZerlithCore/threads/KZCallback.h"
#include "ZerlithCore/threads/KZCriticalSection.h"
#include "ZerlithCore/threads/KZThread_t.h"
#include "ZerlithCore/threads/detail/WaitTime.h"

#include <atomic>
#include <memory>
#include <utility>
#include <vector>

namespace KZPlatform {
struct ThreadRecord;
}

/// A thread and its callback. It has a reference count, runs once and can't be started again after that.
///
/// A started thread is in a table of the process until somebody has waited for it, through `Join`, `WaitForThread` or the
/// destructor. No two threads get the same identifier.
///
/// A thread can't wait for its own end. If its body tries, the wait throws. If an exit function tries, the thread is removed
/// from the table and the wait returns at once. If the object is destroyed on its own thread, the thread is removed from the
/// table, the body runs to its end, and exit functions that haven't run are dropped.
///
/// Thread safety: all operations may be called from any thread. Only `Join`, `WaitForThread` and the destructor wait for the
/// end of a thread.
class KZ_EXPORT KZThread : public KZCounted<KZThread> {
public:
    /// How the thread uses COM. On this system it is only a mark, which `IsSingleThreadedCOMApartment` reads.
    enum ComModel : int { NoCom = 0, SingleThreaded = 1, MultiThreaded = 2 };

    /// Starts nothing yet. The COM model is the present default of the process (`InitializeCOM`).
    explicit KZThread(KZSmartPtr<KZCallback> const & body);
    /// The body is `KZMakeCallback(function)`.
    template <KZCallable Function>
    explicit KZThread(Function function) : KZThread(KZMakeCallback(std::move(function))) {}
    KZThread(KZThread const &) = delete;
    KZThread & operator=(KZThread const &) = delete;
    /// Waits for the end of the thread first, unless it is the caller's own.
    virtual ~KZThread();

    /// Starts the thread. If the object has a reference, the running thread holds one more until it ends. The size of the stack,
    /// in bytes, is the value of the environment variable KZ_THREAD_STACKSIZE at the first start in the process; the system's
    /// default without one.
    ///
    /// Errors: message 15 if the object was started before; a running thread goes on. The system's error for a `priority`
    /// outside -15 to 15. KZException "_beginthreadex failed in KZThread::Start()" if the system can't make a thread;
    /// std::bad_alloc. After any error but the first nothing has run, and `Start` may be called again.
    KZErrorID Start(int priority = 0);

    /// Waits without limit for the end of the thread. Returns at once if it wasn't started or was waited for already.
    /// Errors: KZException "A thread can't wait for its own end" if the thread's own body calls it.
    void Join();

    /// The identifier, which is 0 before the start.
    [[nodiscard]] KZThread_t GetThreadId() const noexcept;
    [[nodiscard]] bool IsStarted() const noexcept { return GetThreadId() != 0UL; }
    /// Tells whether the thread was started and its body hasn't ended.
    [[nodiscard]] bool IsRunning() const { return IsStarted() && Exists(); }
    /// Tells whether the thread is in the table and its body hasn't ended.
    [[nodiscard]] bool Exists() const;

    /// If set, the object deletes itself shortly after the thread's end. Nobody else may delete or join it then.
    [[nodiscard]] bool GetDeleteOnEnd() const noexcept { return deleteOnEnd_.load(); }
    void SetDeleteOnEnd(bool deleteOnEnd) noexcept { deleteOnEnd_.store(deleteOnEnd); }

    /// Sets the bits of `flag`. Bits 0 to 3 hold the COM model, the others are for callers.
    void SetFlag(int flag) noexcept { flags_.fetch_or(flag); }
    /// Tells whether all bits of `flag` are set.
    [[nodiscard]] bool IsFlagSet(int flag) const noexcept { return (flags_.load() & flag) == flag; }

    /// Adds a function that runs on the thread after the body has returned or thrown. Functions run in the order in which they
    /// were added. If one throws, "unhandled exception" is written to the console. A function that is added after the last one
    /// has run doesn't run. The module of the function's class stays in memory as long as this object.
    /// Errors: std::bad_alloc, and nothing is added.
    void AddExitFunction(KZSmartPtr<KZCallback> const & function);
    template <KZCallable Function>
    void AddExitFunction(Function && function) {
        AddExitFunction(KZMakeCallback(std::forward<Function>(function)));
    }

    // As the static functions below, for this thread.
    bool SetThreadPriority(int priority) { return SetThreadPriority(GetThreadId(), priority); }
    [[nodiscard]] int GetThreadPriority() const { return GetThreadPriority(GetThreadId()); }

    /// Lets other threads run.
    static void yield() noexcept;
    /// Sleeps for that time; without end for 0xFFFFFFFF milliseconds.
    static void Milli_sleep(unsigned int milliseconds) noexcept;
    static void Sleep(unsigned int seconds) noexcept;
    /// The same with a duration of `<chrono>`, rounded up to milliseconds; without end if it has more than 32 bits of them.
    template <KZDetail::IsChronoDuration Duration>
    static void SleepFor(Duration const & duration) noexcept {
        Milli_sleep(KZDetail::WaitMilliseconds(duration));
    }

    /// The caller's identifier, with a null handle.
    [[nodiscard]] static KZThread_t GetCurrentThreadID() noexcept;
    /// The object whose body the calling thread runs; null on other threads, and after the body.
    [[nodiscard]] static KZThread * GetCurrentThreadP();

    /// Waits for the end of a thread and removes it from the table. `timeout`, in milliseconds, isn't a limit: after each such
    /// time the call looks at the table again, and it returns only when the thread has ended.
    ///
    /// Errors: KZException "Invalid Thread ID" if the table doesn't have the thread, or has lost it to another waiting caller;
    /// KZException "A thread can't wait for its own end" if the thread's own body calls it.
    static void WaitForThread(KZThread_t const & id, int timeout = -1);

    /// As the members, for the thread with that identifier. If no such thread is running, nothing is set and no flag is found.
    static void SetFlag(unsigned long id, int flag);
    [[nodiscard]] static bool IsFlagSet(unsigned long id, int flag);

    /// Sets the priority. `GetThreadPriority` returns the number unchanged; the system's scheduler gets it as far as it permits.
    /// False for a number outside -15 to 15, for an identifier without its handle, and for a thread that isn't in the table.
    static bool SetThreadPriority(KZThread_t const & id, int priority);
    /// The priority; 0x7FFFFFFF for a thread that isn't in the table.
    [[nodiscard]] static int GetThreadPriority(KZThread_t const & id);

    /// Returns a new key. Under it each thread has a pointer of its own, which is null at first. 0xFFFFFFFF when all keys are in
    /// use.
    [[nodiscard]] static unsigned long AllocateThreadKey() noexcept;
    /// Frees the key; the variable `key` keeps its value.
    static void ReleaseThreadKey(unsigned long & key) noexcept;
    /// The calling thread's pointer under `key`.
    [[nodiscard]] static void * Get(unsigned long key) noexcept;
    static void Set(unsigned long key, void * value) noexcept;

    /// Sets the COM model of KZThread objects that are made later, and returns the former one. True means `SingleThreaded`.
    static bool InitializeCOM(bool initialize) noexcept;
    static ComModel InitializeCOM(ComModel model) noexcept;
    /// Tells whether the calling thread runs with `SingleThreaded`.
    [[nodiscard]] static bool IsSingleThreadedCOMApartment() noexcept;

private:
    struct Run;

    static void StartThreadWrapper(void * thread) noexcept;
    static void DeleteThread(void * thread) noexcept;
    struct ExitFunction {
        KZPlatform::ModuleHold hold; // declared first, so it is destroyed after the function
        KZSmartPtr<KZCallback> function;
    };

    bool Launch(std::shared_ptr<KZPlatform::ThreadRecord> const & handle);
    [[nodiscard]] bool IsCurrent() const noexcept;
    void RunBody() noexcept;
    void RunExitFunctions(Run const & run) noexcept;
    void JoinFromOther() noexcept;
    void LeaveRun() noexcept;
    void DropCallbacks() noexcept;
    void EndRun() noexcept;

    std::atomic<bool> deleteOnEnd_{false};
    std::atomic<bool> joined_{false};
    bool isHeldByRun_ = false;
    Run * run_ = nullptr; // null outside of the run; only the thread itself uses it
    std::vector<ExitFunction> exitFunctions_;
    KZSmartPtr<KZCallback> body_;
    std::atomic<int> flags_;
    KZThread_t id_;
    std::shared_ptr<KZPlatform::ThreadRecord> handle_; // null until started
    mutable KZCriticalSection section_; // guards identifier and exit functions; locked before the table
    KZCriticalSection joining_; // held during a join, and not needed by the questions, which so never wait
};

/// Writes the call stack of every thread in the table to standard error. Each thread is stopped while its stack is read. The
/// caller's stack is included if the caller is in the table; threads that have ended are left out. Without memory the output
/// ends early. Thread safety: callable from any thread.
KZ_EXPORT void KZDumpAllStacks() noexcept;
