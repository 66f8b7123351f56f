/// @file
/// What a host knows about its plug-ins. Not installed.
#pragma once

#include "ZerlithCore/app/KZApplicationWithPlugIns.h"
#include "ZerlithCore/app/KZPlugIn.h"
#include "ZerlithCore/app/detail/KZFairLock.h"
#include "ZerlithCore/app/detail/KZPlugInLibraries.h"

#include <deque>
#include <vector>

namespace KZDetail {

/// What a plug-in says about itself. The host asks once, when it adds the plug-in, and uses these answers from then on. A
/// plug-in that throws instead of answering isn't accepted.
struct PlugInDescription {
    KZString name;
    KZGuid id;
    bool isRunning = false;
    bool isContainer = false;
    std::vector<KZPlugIn::PlugInIdEx> dependents;
    std::vector<KZSmartPtr<KZPlugIn>> members;
    KZUsageInfo usage;
};

} // namespace KZDetail

/// A registered plug-in.
struct KZHostedPlugIn {
    KZSmartPtr<KZPlugIn> plugIn;
    KZString path; // of its library
    KZDetail::PlugInDescription description;
};

/// Two locks guard it. `lock` is the host's lock: it allows one operation at a time, and is taken before any lock of a plug-in.
/// `listLock` guards the lists. A thread that changes them takes it after `lock`; a thread that only reads them takes it alone.
/// It is held for moments only, and never while code of a plug-in runs.
struct KZHostState {
    struct Failure {
        KZPlugIn const * plugIn; // null for one that isn't registered
        KZFailedPlugIn report;
    };

    /// The entry of a plug-in; null when it isn't registered. Requires: the caller holds one of the locks.
    [[nodiscard]] KZHostedPlugIn * Find(KZPlugIn const * plugIn) noexcept;
    /// Records why a plug-in has failed, in place of an earlier record about it.
    void NoteFailure(KZFailedPlugIn const & failed, KZPlugIn const * plugIn = nullptr);
    void NoteFailure(KZHostedPlugIn const & candidate, KZErrorID const & error);
    void ForgetFailure(KZPlugIn const * plugIn);
    /// Forgets the failures of a library from which no plug-in was made.
    void ForgetFailure(KZString const & path);

    KZFairLock lock;
    KZCriticalSection listLock;
    std::deque<KZHostedPlugIn> plugIns; // in the order of adding
    std::vector<Failure> failures;

    // Guarded by `lock`.
    KZPlugInLibraries libraries;
    KZString loadingPath;      // the path of the library that is being loaded
    bool registerOnly = false; // true during a scan, which initialises all plug-ins at its end
    unsigned int librariesNamed = 0;
};
