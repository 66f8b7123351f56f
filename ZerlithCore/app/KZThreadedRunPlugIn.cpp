// Requests the exit of a running plug-in and, if asked to, waits until its Run has ended.
#include "ZerlithCore/app/KZThreadedRunPlugIn.h"

#include "ZerlithCore/app/KZApplicationWithPlugIns.h"
#include "ZerlithCore/app/detail/KZPlugInGuard.h"

KZThreadedRunPlugIn::~KZThreadedRunPlugIn() = default;

int KZThreadedRunPlugIn::GetIUID() const { return Iuid; }

KZSmartPtr<KZObjectI> KZThreadedRunPlugIn::QueryInterface(int iuid) const {
    if (iuid == Iuid) return KZSmartPtr<KZObjectI>(const_cast<KZThreadedRunPlugIn *>(this));
    return KZRunPlugIn::QueryInterface(iuid);
}

void KZThreadedRunPlugIn::RequestExit(bool wait) {
    if (IsInRun()) StopRequested();
    if (!wait) return;
    while (IsInRun()) {
        KZThread::yield();
        KZThread::Milli_sleep(200);
    }
}

void KZThreadedRunPlugIn::RunInThread() {
    struct RunningMark {
        KZThreadedRunPlugIn & plugIn;
        explicit RunningMark(KZThreadedRunPlugIn & of) : plugIn(of) { plugIn.SetRunning(true); }
        ~RunningMark() { plugIn.SetRunning(false); } // also after an exception, since the host waits for it
    } const mark(*this);
    KZErrorID const error = KZDetail::Attempt([this] {
        KZErrorID const result = Run();
        if (result.Bad() && host_) host_->NoteRunFailure(*this, result);
    });
    if (error.Good()) return;
    KZDetail::Report(error);
    if (host_) host_->NoteRunFailure(*this, error);
}

bool KZThreadedRunPlugIn::IsInRun() const {
    KZGuard<KZCriticalSection> const guard(lock_);
    return running_;
}

void KZThreadedRunPlugIn::SetRunning(bool running) {
    KZGuard<KZCriticalSection> const guard(lock_);
    running_ = running;
    status_ = running ? Running : Ended;
}
