// What runs on the thread itself: the body, the exit functions, and the end.
#include "ZerlithCore/errors/KZSignalException.h"
#include "ZerlithCore/threads/KZThread.h"
#include "ZerlithCore/threads/detail/KZThreadTable.h"
#include "ZerlithCore/threads/detail/UnhandledException.h"

#include <utility>

namespace {

constexpr int comModelMask = 0xF;

// Others may still look at an object that deletes itself, for this long after its end.
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

/// Takes a thread that nobody can wait for any more out of the table.
void Forget(unsigned long id) noexcept {
    KZThreadTable & table = KZThreadTable::Get();
    KZGuard<KZMutex> const guard(table.mutex);
    table.entries.erase(KZThread_t(id, nullptr));
}

} // namespace

/// What lives as long as the thread, whatever becomes of the object.
struct KZThread::Run {
    bool hasObject = true;
    KZSmartPtr<KZCallback> body; // of an object that is gone
};

void KZThread::StartThreadWrapper(void * thread) noexcept { static_cast<KZThread *>(thread)->RunBody(); }

void KZThread::RunBody() noexcept {
    Run run;
    run_ = &run;
    KZInitCatchSignal(); // throws on foreign threads only
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

// The object ends on its own thread. What is under way there goes on without it.
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

// As long as a thread stands in the table, nobody unloads the module that it began in. So when the object ends with the run,
// its callbacks are let go here, in front of the entry in the table.
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
