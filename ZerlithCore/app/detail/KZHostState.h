/// @file
/// What a host knows about its plug-ins. Not installed.
#pragma once

#include "ZerlithCore/app/KZApplicationWithPlugIns.h"
#include "ZerlithCore/app/KZPlugIn.h"
#include "ZerlithCore/app/detail/KZFairLock.h"
#include "ZerlithCore/app/detail/KZPlugInLibraries.h"

#include <cstddef>
#include <deque>
#include <list>
#include <utility>
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

class KZPlugInScan;

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
    /// Records why a plug-in has failed, in place of an earlier record about it. Call it without `listLock`: the earlier error
    /// is released, and its class may be in a plug-in.
    void NoteFailure(KZFailedPlugIn const & failed, KZPlugIn const * plugIn = nullptr);
    void NoteFailure(KZHostedPlugIn const & candidate, KZErrorID const & error, KZFailedPlugIn::Step step);
    void ForgetFailure(KZPlugIn const * plugIn);
    /// Forgets the failures of a library from which no plug-in was made, or of a place that could not be searched.
    void ForgetFailure(KZString const & path);

    KZFairLock lock;
    KZCriticalSection listLock;
    std::deque<KZHostedPlugIn> plugIns; // in the order of adding
    std::list<Failure> failures;        // a list, so that records leave it without allocating

    // Guarded by `lock`.
    KZPlugInLibraries libraries;
    KZString loadingPath;           // the path of the library that is being loaded
    KZPlugInScan * scan = nullptr;  // the scan under way; null when a program loads a library by itself
    std::size_t librariesNamed = 0; // by all scans so far
};

/// A search for libraries, for as long as this object exists. A plug-in that is loaded meanwhile is registered but not
/// initialised, because it may depend on one that is found later. Whoever makes the scan initialises the plug-ins it has found.
///
/// Requires: the host's lock, from construction to destruction.
class KZPlugInScan {
public:
    /// `libraries` is the number of libraries that are about to be loaded.
    KZPlugInScan(KZHostState & host, std::size_t libraries)
        : host_(host), outer_(std::exchange(host.scan, this)), first_(host.plugIns.size()) {
        host.librariesNamed += libraries;
    }
    ~KZPlugInScan() { host_.scan = outer_; }
    KZPlugInScan(KZPlugInScan const &) = delete;
    KZPlugInScan & operator=(KZPlugInScan const &) = delete;

    /// Appends the plug-ins that were registered since the scan began to `found`, in the order of adding.
    void AppendFound(KZSmartPtrVector<KZSmartPtr<KZPlugIn>> & found) const {
        for (std::size_t i = first_; i < host_.plugIns.size(); ++i) found.push_back(host_.plugIns[i].plugIn);
    }

private:
    KZHostState & host_;
    KZPlugInScan * outer_; // a library may start a scan while it is being loaded
    std::size_t first_;
};
