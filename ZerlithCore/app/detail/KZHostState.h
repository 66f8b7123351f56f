/// @file
/// What a host knows of its plug-ins.
#pragma once

#include "ZerlithCore/app/KZApplicationWithPlugIns.h"
#include "ZerlithCore/app/KZPlugIn.h"
#include "ZerlithCore/app/detail/KZFairLock.h"
#include "ZerlithCore/app/detail/KZPlugInLibraries.h"

#include <deque>
#include <vector>

namespace KZDetail {

/// What a plug-in says of itself. The host asks when it adds the plug-in, and then goes by the answers: a plug-in that
/// can't answer isn't taken.
struct PlugInDescription {
    KZString name;
    KZGuid id;
    bool isRunning = false;
    bool isContainer = false;
    std::vector<KZPlugIn::PlugInIdEx> dependents;
    std::vector<KZSmartPtr<KZPlugIn>> members;
    KZUsageInfo usage;
};

/// The plug-in as what `QueryInterface(iuid)` gives; null when it isn't that.
template <class Interface>
KZSmartPtr<Interface> As(KZPlugIn const & plugIn, int iuid) {
    KZSmartPtr<KZObjectI> const object = plugIn.QueryInterface(iuid);
    return KZSmartPtr<Interface>(dynamic_cast<Interface *>(object.GetPtr()));
}

} // namespace KZDetail

/// A registered plug-in.
struct KZHostedPlugIn {
    KZSmartPtr<KZPlugIn> plugIn;
    KZString path; // of its library
    KZDetail::PlugInDescription description;
};

/// Two locks keep it. `lock` is the host's own: one operation at a time, taken before any lock of a plug-in's. `listLock` is
/// taken behind it, by who changes the lists, and alone by who only looks: for moments, while no code of plug-ins runs.
struct KZHostState {
    struct Failure {
        KZPlugIn const * plugIn; // null for one that isn't registered
        KZFailedPlugIn report;
    };

    /// Null when it isn't registered. Requires: the caller holds one of the locks.
    [[nodiscard]] KZHostedPlugIn * Find(KZPlugIn const * plugIn) noexcept;
    /// Notes why a plug-in can't do its work, in the place of what was noted of it before.
    void NoteFailure(KZFailedPlugIn const & failed, KZPlugIn const * plugIn = nullptr);
    void NoteFailure(KZHostedPlugIn const & candidate, KZErrorID const & error);
    void ForgetFailure(KZPlugIn const * plugIn);
    /// Forgets those of a library that gave no plug-in.
    void ForgetFailure(KZString const & path);

    KZFairLock lock;
    KZCriticalSection listLock;
    std::deque<KZHostedPlugIn> plugIns; // in the order of adding
    std::vector<Failure> failures;

    // Under the host's own lock.
    KZPlugInLibraries libraries;
    KZString loadingPath;      // of the library that is being loaded
    bool registerOnly = false; // during a scan: libraries are registered, and initialised in order afterwards
    unsigned int librariesNamed = 0;
};
