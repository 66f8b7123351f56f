/// @file
/// The plug-in that runs on a thread of its own.
///
///     class Heartbeat : public KZThreadedRunPlugIn {
///     public:
///         KZString GetName() const override { return u"Heartbeat"; }
///         KZGuid GetId() const override { return {0x1, 0x2, 0x3, 0x5}; }
///         KZErrorID Run() override {
///             while (stop_.Wait(1000) != 0) KZLockedCOUT().GetCout(1) << L"alive" << std::endl;
///             return KZErrorID(0);
///         }
///         void StopRequested() override { stop_.Post(); }
///
///     private:
///         KZEventSemaphore stop_;
///     };
#pragma once

#include "ZerlithCore/app/KZPlugIn.h"
#include "ZerlithCore/threads/KZCriticalSection.h"
#include "ZerlithCore/threads/KZThread.h"

/// A plug-in whose `Run` has a thread of its own and ends when `StopRequested` asks it to.
///
/// Thread safety: `Run` is called on the plug-in's thread; `RequestExit` and `StopRequested` may be called on any other.
class KZ_EXPORT KZThreadedRunPlugIn : public KZRunPlugIn {
public:
    static constexpr int Iuid = 7;

    ~KZThreadedRunPlugIn() override;

    /// `Iuid`.
    int GetIUID() const override;
    KZSmartPtr<KZObjectI> QueryInterface(int iuid) const override;
    /// Calls `StopRequested` if the plug-in runs. With `wait` it waits without limit until the run has ended.
    void RequestExit(bool wait) override;

    /// Makes `Run` end: for example posts an event that `Run` waits for. It must not wait itself.
    virtual void StopRequested() = 0;

    /// The body of the thread: sets the state to running, calls `Run`, and sets it to ended. An exception ends the run, and its
    /// text is written to the console as an error line.
    void RunInThread();

    /// True from the start of the thread's body to its end.
    [[nodiscard]] bool IsInRun() const;

private:
    friend class KZApplicationWithPlugIns;

    void SetRunning(bool running);

    mutable KZCriticalSection lock_;
    bool running_ = false;
    KZApplicationWithPlugIns * host_ = nullptr; // the host that has started the thread
    KZSmartPtr<KZThread> thread_;
};
