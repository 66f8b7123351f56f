/// @file
/// The base classes of plug-ins: a plug-in, one that runs, and a container of several. KZThreadedRunPlugIn.h has the one that
/// runs on a thread of its own.
///
/// A plug-in library exports one function that makes the plug-in:
///
///     class Greeter : public KZRunPlugIn {
///     public:
///         KZString GetName() const override { return u"Greeter"; }
///         KZGuid GetId() const override { return {0x1, 0x2, 0x3, 0x4}; }
///         KZErrorID Run() override {
///             KZLockedCOUT().GetCout(1) << L"hello" << std::endl;
///             return KZErrorID(0);
///         }
///     };
///     extern "C" KZ_EXPORT KZPlugIn * GetPlugInObject() { return new Greeter; }
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

/// A part of a program that a host loads, initialises, runs and unloads.
///
/// Errors: a call that throws or faults counts as failed (KZApplicationWithPlugIns).
///
/// Thread safety: the host calls everything on its main thread, except `RequestExit`, which may be called on another one, and
/// the `Run` of a threaded plug-in.
class KZ_EXPORT KZPlugIn : public KZCounted<KZPlugIn, KZObjectI> {
public:
    /// The number of this interface, as `QueryInterface` takes it.
    static constexpr int Iuid = 4;

    /// The state of a plug-in in the host.
    enum Status : int {
        NotInitialised = 0,
        InitFailed = 1,
        Initialised = 2, ///< ready to run
        Running = 3,
        Ended = 4 ///< its run has ended
    };

    /// The identity of a plug-in that another one depends on, and the name that the host prints when it isn't found.
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

    /// `Iuid`.
    int GetIUID() const override;
    bool IsKindOf(int iuid) const override;
    /// The plug-in itself for its `Iuid`; otherwise as KZObjectI.
    KZSmartPtr<KZObjectI> QueryInterface(int iuid) const override;

    /// The state that the host has set.
    virtual Status GetStatus() const;
    /// The name that the host prints.
    virtual KZString GetName() const = 0;
    /// The identity; two plug-ins with one identity can't be loaded together.
    virtual KZGuid GetId() const = 0;
    /// Whether this is a KZRunPlugIn.
    virtual bool IsRunningPlugIn() const;
    /// Whether this is a KZPlugInContainer.
    virtual bool IsContainerPlugIn() const;
    /// The command-line options of the plug-in, for the host's usage display.
    virtual KZUsageInfo GetUsageInfo() const;
    /// The plug-ins that must have been initialised before this one.
    virtual std::vector<PlugInIdEx> GetDependentV() const;
    /// Prepares the plug-in. After an error neither it nor the plug-ins that depend on it are run.
    virtual KZErrorID Init(KZApplicationWithPlugIns const & application) = 0;
    /// Undoes `Init`. The host calls it before it frees the library, unless the status is `NotInitialised`.
    virtual void Unload();
    /// Asks the plug-in to end its run, and with `wait` waits for the end.
    virtual void RequestExit(bool wait);

private:
    friend class KZApplicationWithPlugIns;
    friend class KZThreadedRunPlugIn;

    std::atomic<Status> status_{NotInitialised};
};

/// A plug-in that the host runs on the host's main thread.
///
/// Thread safety: as KZPlugIn.
class KZ_EXPORT KZRunPlugIn : public KZPlugIn {
public:
    static constexpr int Iuid = 5;

    ~KZRunPlugIn() override;

    /// `Iuid`.
    int GetIUID() const override;
    KZSmartPtr<KZObjectI> QueryInterface(int iuid) const override;
    bool IsRunningPlugIn() const override;
    /// Does nothing and succeeds.
    KZErrorID Init(KZApplicationWithPlugIns const & application) override;
    /// The plug-in's work. When it returns, the host runs the next plug-in, whatever the result is.
    virtual KZErrorID Run() = 0;
};

/// Several plug-ins from one library. The host adds the members first, and then initialises the container.
///
/// Thread safety: as KZPlugIn.
class KZ_EXPORT KZPlugInContainer : public KZPlugIn {
public:
    static constexpr int Iuid = 6;

    ~KZPlugInContainer() override;

    /// `Iuid`.
    int GetIUID() const override;
    KZSmartPtr<KZObjectI> QueryInterface(int iuid) const override;
    bool IsContainerPlugIn() const override;
    /// Does nothing and succeeds.
    KZErrorID Init(KZApplicationWithPlugIns const & application) override;
    /// The members.
    virtual KZSmartPtrVector<KZSmartPtr<KZPlugIn>> const & GetPlugInList() const;

protected:
    /// Puts a plug-in into the container; for the constructor of the derived class.
    void AddMember(KZSmartPtr<KZPlugIn> const & member);

private:
    KZSmartPtrVector<KZSmartPtr<KZPlugIn>> members_;
};

/// The library's own plug-in, which every host loads first. It adds the library's options to the usage text.
///
/// Thread safety: as KZPlugIn.
class KZ_EXPORT KZLibPlugIn : public KZPlugIn {
public:
    static constexpr KZGuid Id{0xB861C917, 0x11D3A414, 0x0400FE9A, 0xAB8796AC};

    ~KZLibPlugIn() override;

    /// Always "ZerlithCore PlugIn".
    KZString GetName() const override;
    KZGuid GetId() const override;
    KZUsageInfo GetUsageInfo() const override;
    KZErrorID Init(KZApplicationWithPlugIns const & application) override;
};
