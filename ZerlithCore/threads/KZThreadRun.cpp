// What runs on the thread itself: the body, the exit functions, and the end.
#include "ZerlithCore/errors/KZSignalException.h"
#include "ZerlithCore/threads/KZThread.h"
#include "ZerlithCore/threads/KZThreadTable.h"
#include "ZerlithCore/threads/UnhandledException.h"

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

} // namespace

void KZThread::StartThreadWrapper(void * thread) noexcept { static_cast<KZThread *>(thread)->RunBody(); }

void KZThread::RunBody() noexcept {
    KZInitCatchSignal();
    isSingleThreadedApartment = (flags_.load() & comModelMask) == SingleThreaded;
    bool const finished = Call(body_);
    MarkEnded();
    RunExitFunctions();
    isSingleThreadedApartment = false;
    if (!finished) KZDetail::TellUnhandledException();
    EndRun();
}

void KZThread::MarkEnded() noexcept {
    KZThreadTable & table = KZThreadTable::Get();
    KZGuard<KZMutex> const guard(table.mutex);
    if (KZThreadEntry * const entry = table.Find(KZPlatform::CurrentThreadId())) {
        entry->running = false;
        entry->thread = nullptr;
    }
}

void KZThread::RunExitFunctions() noexcept {
    for (std::size_t next = 0;; ++next) {
        KZSmartPtr<KZCallback> function;
        {
            KZGuard<KZCriticalSection> const guard(section_);
            if (next >= exitFunctions_.size()) return;
            function = exitFunctions_[next];
        }
        if (!Call(function)) KZDetail::TellUnhandledException();
    }
}

void KZThread::EndRun() noexcept {
    if (GetDeleteOnEnd()) {
        KZPlatform::ThreadHandle const deleter = KZPlatform::NewThread(&KZThread::DeleteThread, this, 0);
        if (!deleter) return DeleteThread(this);
        KZPlatform::StartThread(deleter);
        KZPlatform::CloseThread(deleter);
    } else if (isHeldByRun_) {
        Release();
    }
}

void KZThread::DeleteThread(void * thread) noexcept {
    KZPlatform::SleepFor(deleteDelayMilliseconds);
    delete static_cast<KZThread *>(thread);
}

bool KZThread::IsSingleThreadedCOMApartment() noexcept { return isSingleThreadedApartment; }
