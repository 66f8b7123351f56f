/// @file
/// The plug-in that runs on a thread of its own.
#pragma once

#include "ZerlithCore/app/KZPlugIn.h"
#include "ZerlithCore/threads/KZCriticalSection.h"
#include "ZerlithCore/threads/KZThread.h"

/// A plug-in whose `Run` has a thread of its own and ends when `StopRequested` asks it to.
///
/// Thread safety: `Run` is on the plug-in's thread; `RequestExit` and `StopRequested` may come from any other.
class KZ_EXPORT KZThreadedRunPlugIn : public KZRunPlugIn {
public:
    ~KZThreadedRunPlugIn() override;

    /// 7.
    int GetIUID() const override;
    KZSmartPtr<KZObjectI> QueryInterface(int iuid) const override;
    /// Calls `StopRequested` if the plug-in runs. With `wait`, returns when the run has ended, however long that takes.
    void RequestExit(bool wait) override;

    /// The plug-in's own way to make `Run` end: sets what `Run` looks at, and returns.
    virtual void StopRequested() = 0;

    /// The body of the thread: marks the run, calls `Run`, marks its end. An exception ends the run and is written to
    /// the console as an error line.
    void RunInThread();

    /// True from the start of the thread's body to its end.
    [[nodiscard]] bool IsInRun() const;

private:
    friend class KZApplicationWithPlugIns;

    void SetRunning(bool running);

    mutable KZCriticalSection lock_;
    bool running_ = false;
    KZApplicationWithPlugIns * host_ = nullptr; // that has started the thread
    KZSmartPtr<KZThread> thread_;
};
