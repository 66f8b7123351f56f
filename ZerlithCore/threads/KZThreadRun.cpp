// The part of KZThread that runs on the thread itself: the body, the exit functions, and the end.
#include "ZerlithCore/errors/KZSignalException.h"
#include "ZerlithCore/threads/KZThread.h"
#include "ZerlithCore/threads/detail/KZThreadTable.h"
#include "ZerlithCore/threads/detail/UnhandledException.h"

#include <utility>

namespace {

constexpr int comModelMask = 0xF;

// An object that deletes itself waits so long after the thread's end, since others may still be looking at it.
constexpr std::uint64_t deleteDelayMilliseconds = 100;

thread_local bool isSingleThreadedApartment = false;

/// Runs `callback`; false if it threw.
bool Call(KZSmartPtr<KZCallback> const & callback) noexcept {
    try {
        if (!callback.IsNull()) (*callback)();
        return true;
    } catch (...) {
        return false;
    }
}

void MarkEnded() noexcept {
    KZThreadTable & table = KZThreadTable::Get();
    KZGuard<KZMutex> const guard(table.mutex);
    if (KZThreadEntry * const entry = table.Find(KZPlatform::CurrentThreadId())) {
        entry->running = false;
        entry->thread = nullptr;
    }
}

/// Removes a thread from the table that nobody can wait for any more.
void Forget(unsigned long id) noexcept {
    KZThreadTable & table = KZThreadTable::Get();
    KZGuard<KZMutex> const guard(table.mutex);
    table.entries.erase(KZThread_t(id, nullptr));
}

} // namespace

/// State of the running thread. It outlives the KZThread object if that is destroyed on its own thread.
struct KZThread::Run {
    bool hasObject = true;
    KZSmartPtr<KZCallback> body; // taken over from an object that was destroyed
};

void KZThread::StartThreadWrapper(void * thread) noexcept { static_cast<KZThread *>(thread)->RunBody(); }

void KZThread::RunBody() noexcept {
    Run run;
    run_ = &run;
    KZInitCatchSignal(); // throws only on threads that the library didn't start
    isSingleThreadedApartment = (flags_.load() & comModelMask) == SingleThreaded;
    bool const finished = Call(body_);
    MarkEnded();
    if (run.hasObject) RunExitFunctions(run);
    isSingleThreadedApartment = false;
    if (!finished) KZDetail::TellUnhandledException();
    if (run.hasObject) {
        run_ = nullptr;
        EndRun();
    } else {
        run.body.Clear();
        Forget(KZPlatform::CurrentThreadId());
    }
}

void KZThread::RunExitFunctions(Run const & run) noexcept {
    for (std::size_t next = 0; run.hasObject; ++next) {
        KZSmartPtr<KZCallback> function;
        {
            KZGuard<KZCriticalSection> const guard(section_);
            if (next >= exitFunctions_.size()) return;
            function = exitFunctions_[next].function;
        }
        if (!Call(function)) KZDetail::TellUnhandledException();
    }
}

// Called when the object is destroyed on its own thread. The body, if it is still running, goes on without the object.
void KZThread::LeaveRun() noexcept {
    if (run_) {
        run_->hasObject = false;
        run_->body = std::move(body_);
        KZThreadTable & table = KZThreadTable::Get();
        KZGuard<KZMutex> const guard(table.mutex);
        if (KZThreadEntry * const entry = table.Find(id_)) entry->thread = nullptr;
    } else {
        DropCallbacks();
        Forget(id_);
    }
}

// A module isn't unloaded while the table has a thread that began in it. So when the object ends together with the thread, its
// callbacks are released here, before the entry is removed from the table.
void KZThread::DropCallbacks() noexcept {
    std::vector<ExitFunction> functions;
    {
        KZGuard<KZCriticalSection> const guard(section_);
        functions.swap(exitFunctions_);
    }
    body_.Clear();
}

void KZThread::EndRun() noexcept {
    if (GetDeleteOnEnd()) {
        DropCallbacks();
        KZPlatform::ThreadHandle const deleter = KZPlatform::NewThread(&KZThread::DeleteThread, this, 0);
        bool const isDeleting = deleter && KZPlatform::StartThread(deleter);
        KZPlatform::CloseThread(deleter);
        if (!isDeleting) DeleteThread(this);
    } else if (isHeldByRun_) {
        Release();
    }
}

void KZThread::DeleteThread(void * thread) noexcept {
    KZPlatform::SleepFor(deleteDelayMilliseconds);
    delete static_cast<KZThread *>(thread);
}

bool KZThread::IsSingleThreadedCOMApartment() noexcept { return isSingleThreadedApartment; }
