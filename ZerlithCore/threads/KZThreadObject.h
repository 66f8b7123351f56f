/// @file
/// The base of objects that are the body of a thread.
///
///     class Listener : public KZThreadObject { void Run() override; ... };
///     thread = new KZThread(new KZCallbackMethVoid<KZThreadObject>(u"listener", &listener, &KZThreadObject::Run));
#pragma once

#include "ZerlithCore/KZExport.h"

/// An object whose `Run` is a thread's body. It must outlive the thread.
class KZ_EXPORT KZThreadObject {
public:
    /// The body.
    virtual void Run() = 0;
    /// Asks the body to end. Does nothing here: a body that can be stopped overrides it.
    virtual void Stop();

    virtual ~KZThreadObject();
};
