/// @file
/// The base class of objects whose `Run` is the body of a thread.
///
///     class Listener : public KZThreadObject {
///     public:
///         void Run() override { stop_.Wait(); }
///         void Stop() override { stop_.Post(); }
///
///     private:
///         KZEventSemaphore stop_;
///     } listener;
///     using Body = KZCallbackMethVoid<KZThreadObject>;
///     KZSmartPtr<KZCallback> const body(new Body(u"listener", &listener, &KZThreadObject::Run));
///     KZSmartPtr<KZThread> thread(new KZThread(body));
///     if (thread->Start().Bad()) return;
///     listener.Stop();
///     thread->Join();
#pragma once

#include "ZerlithCore/KZExport.h"

/// An object whose `Run` is a thread's body. It must outlive the thread.
///
/// Thread safety: `Run` is called on its thread, `Stop` on others; the derived class makes that safe.
class KZ_EXPORT KZThreadObject {
public:
    /// The body. An exception that leaves it ends the thread, and "unhandled exception" is written to the console.
    virtual void Run() = 0;
    /// Asks the body to end. Does nothing here: a body that can be stopped overrides it.
    virtual void Stop();

    virtual ~KZThreadObject();
};
