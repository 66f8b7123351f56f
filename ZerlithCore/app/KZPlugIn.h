/// @file
/// What a plug-in writer derives from: the plug-in, the one that runs, the one that runs on a thread of its own, and
/// the container of several.
///
/// A plug-in library exports one function that makes the plug-in:
///
///     class Counter : public KZRunPlugIn {
///     public:
///         KZString GetName() const override { return u"Counter"; }
///         KZGuid GetId() const override { return {0x1, 0x2, 0x3, 0x4}; }
///         KZErrorID Run() override { ...; return KZErrorID(0); }
///     };
///     extern "C" KZ_EXPORT KZPlugIn * GetPlugInObject() { return new Counter; }
#pragma once

#include "ZerlithCore/app/KZUsageInfo.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/foundation/KZGuid.h"
#include "ZerlithCore/foundation/KZObject.h"
#include "ZerlithCore/foundation/KZSmartPtrVector.h"
#include "ZerlithCore/text/KZString.h"

#include <atomic>
#include <vector>

class KZApplicationWithPlugIns;

/// The unit of work that a host loads, initialises, runs and unloads.
///
/// Thread safety: the host calls everything on its main thread, but `RequestExit`, which may come on another one, and
/// the `Run` of a threaded plug-in.
class KZ_EXPORT KZPlugIn : public KZObjectI {
public:
    /// How far the host has come with a plug-in.
    enum Status : int {
        NotInitialised = 0,
        InitFailed = 1,
        Initialised = 2, ///< ready to run
        Running = 3,
        Ended = 4 ///< its run has ended
    };

    /// The identity of a plug-in that another one depends on, with the name to show when it isn't found.
    struct PlugInIdEx {
        PlugInIdEx(KZGuid const & plugInId, KZString const & plugInName = KZString())
            : id(plugInId), name(plugInName) {}

        KZGuid id;
        KZString name;
    };

    KZPlugIn();
    KZPlugIn(KZPlugIn const &) = delete;
    KZPlugIn & operator=(KZPlugIn const &) = delete;
    ~KZPlugIn() override;

    unsigned long AddRef() const override;
    unsigned long Release() const override;
    unsigned long NbRef() const noexcept { return count_.Get(); }
    /// 4.
    int GetIUID() const override;
    bool IsKindOf(int iuid) const override;
    /// Serves 4.
    KZSmartPtr<KZObjectI> QueryInterface(int iuid) const override;

    virtual Status GetStatus() const;
    /// The name that the host prints.
    virtual KZString GetName() const = 0;
    /// The identity; two plug-ins with one identity can't be loaded together.
    virtual KZGuid GetId() const = 0;
    virtual bool IsRunningPlugIn() const;
    virtual bool IsContainerPlugIn() const;
    /// The command-line options of the plug-in, for the host's usage display.
    virtual KZUsageInfo GetUsageInfo() const;
    /// The plug-ins that must have been initialised before this one.
    virtual std::vector<PlugInIdEx> GetDependentV() const;
    /// Makes the plug-in ready. An error keeps it, and what depends on it, from running.
    virtual KZErrorID Init(KZApplicationWithPlugIns const & application) = 0;
    /// Undoes `Init`; called on a plug-in whose status isn't `NotInitialised`, before its library is let go.
    virtual void Unload();
    /// Asks the plug-in to end its run; waits for the end if `wait` is true.
    virtual void RequestExit(bool wait);

private:
    friend class KZApplicationWithPlugIns;
    friend class KZThreadedRunPlugIn;

    KZCounter count_;
    std::atomic<Status> status_{NotInitialised};
};

/// A plug-in that the host runs, on its own thread.
class KZ_EXPORT KZRunPlugIn : public KZPlugIn {
public:
    ~KZRunPlugIn() override;

    /// 5.
    int GetIUID() const override;
    KZSmartPtr<KZObjectI> QueryInterface(int iuid) const override;
    bool IsRunningPlugIn() const override;
    /// Success.
    KZErrorID Init(KZApplicationWithPlugIns const & application) override;
    /// The plug-in's work. The host runs the next plug-in when it returns; it doesn't look at the result.
    virtual KZErrorID Run() = 0;
};

/// Several plug-ins from one library. The host adds the members, then initialises the container.
class KZ_EXPORT KZPlugInContainer : public KZPlugIn {
public:
    ~KZPlugInContainer() override;

    /// 6.
    int GetIUID() const override;
    KZSmartPtr<KZObjectI> QueryInterface(int iuid) const override;
    bool IsContainerPlugIn() const override;
    /// Success.
    KZErrorID Init(KZApplicationWithPlugIns const & application) override;
    virtual KZSmartPtrVector<KZSmartPtr<KZPlugIn>> const & GetPlugInList() const;

protected:
    /// Puts a plug-in into the container; for the constructor of the derived class.
    void AddMember(KZSmartPtr<KZPlugIn> const & member);

private:
    KZSmartPtrVector<KZSmartPtr<KZPlugIn>> members_;
};

/// The library's own plug-in, which every host loads first; it brings the library's options to the usage text.
class KZ_EXPORT KZLibPlugIn : public KZPlugIn {
public:
    static constexpr KZGuid Id{0xB861C917, 0x11D3A414, 0x0400FE9A, 0xAB8796AC};

    ~KZLibPlugIn() override;

    /// "ZerlithCore PlugIn".
    KZString GetName() const override;
    KZGuid GetId() const override;
    KZUsageInfo GetUsageInfo() const override;
    KZErrorID Init(KZApplicationWithPlugIns const & application) override;
};
