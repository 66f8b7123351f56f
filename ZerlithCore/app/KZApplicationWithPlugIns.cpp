// The host's life: construction, registering and initialising plug-ins, the main loop, teardown. How libraries are
// found and loaded stands in KZPlugInLoading.cpp.
//
// Order is everything here. The loaded list keeps the order of adding; GetPlugInHier turns it into an order in which
// everything comes behind what it depends on; initialising and running follow that order, asking to exit and unloading
// its reverse.

#include "ZerlithCore/app/KZApplicationWithPlugIns.h"

#include "ZerlithCore/app/KZPlugInGuard.h"
#include "ZerlithCore/app/KZThreadedRunPlugIn.h"
#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/errors/KZError.h"
#include "ZerlithCore/errors/KZSignalException.h"
#include "ZerlithCore/platform/Modules.h"
#include "ZerlithCore/platform/Signals.h"
#include "ZerlithCore/threads/KZThread.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <ostream>
#include <utility>

namespace {

// The message of the first exit request is written once in a process.
std::atomic<bool> glbExitAnnounced{false};

template <class... Parts>
void Write(Parts const &... parts) {
    KZLockedCOUT console;
    (console.GetCout(1) << ... << parts) << std::flush;
}

KZErrorID Report(KZErrorID const & error) {
    KZDetail::WriteErrorLine(error.AsString());
    return error;
}

KZErrorID NamedError(long code, KZString const & plugIn, KZString const * dependent = nullptr) {
    auto * const error = new KZErrorWithArgs(glbKZOREMsgSourceP, code, KZErrorI::SeverityError);
    KZErrorID id(error);
    error->AddParam(plugIn);
    if (dependent) error->AddParam(*dependent);
    return id;
}

bool Holds(KZSmartPtrVector<KZSmartPtr<KZPlugIn>> const & list, KZPlugIn const * plugIn) {
    return std::ranges::any_of(list, [=](auto const & each) { return each.GetPtr() == plugIn; });
}

std::vector<KZSmartPtr<KZPlugIn>> Reversed(KZSmartPtrVector<KZSmartPtr<KZPlugIn>> const & list) {
    return {std::make_reverse_iterator(list.end()), std::make_reverse_iterator(list.begin())};
}

// The depth of each loaded plug-in below those it depends on; a container depends on its members.
class Depths {
public:
    explicit Depths(KZSmartPtrVector<KZSmartPtr<KZPlugIn>> const & loaded) {
        for (KZSmartPtr<KZPlugIn> const & plugIn : loaded)
            entries_.push_back({plugIn.GetPtr(), plugIn->GetId()});
    }

    unsigned int Of(KZPlugIn const * plugIn) {
        auto const entry = std::ranges::find(entries_, plugIn, &Entry::plugIn);
        return entry == entries_.end() ? 0 : Of(*entry);
    }

private:
    enum class State { Unknown, Open, Known };
    struct Entry {
        KZPlugIn * plugIn;
        KZGuid id;
        State state = State::Unknown;
        unsigned int depth = 0;
    };

    // The recursion is as deep as the chain of dependencies, at most the number of plug-ins. An entry that is open is
    // met again where a cycle closes: it counts nothing there.
    unsigned int Of(Entry & entry) {
        if (entry.state == State::Known) return entry.depth;
        if (entry.state == State::Open) return 0;
        entry.state = State::Open;
        unsigned int depth = 0;
        for (Entry * below : Below(entry))
            if (below->state != State::Open) depth = std::max(depth, Of(*below) + 1);
        entry.depth = depth;
        entry.state = State::Known;
        return depth;
    }

    std::vector<Entry *> Below(Entry const & entry) {
        std::vector<Entry *> below;
        auto const add = [&](auto const & found) {
            if (found != entries_.end() && found->plugIn != entry.plugIn) below.push_back(&*found);
        };
        for (KZPlugIn::PlugInIdEx const & dependent : entry.plugIn->GetDependentV())
            add(std::ranges::find(entries_, dependent.id, &Entry::id));
        KZSmartPtr<KZObjectI> const object = entry.plugIn->QueryInterface(6);
        if (auto const * const container = dynamic_cast<KZPlugInContainer const *>(object.GetPtr()))
            for (KZSmartPtr<KZPlugIn> const & member : container->GetPlugInList())
                add(std::ranges::find(entries_, member.GetPtr(), &Entry::plugIn));
        return below;
    }

    std::vector<Entry> entries_;
};

} // namespace

// --- Construction

KZApplicationWithPlugIns::KZApplicationWithPlugIns(int count, char16_t ** arguments,
                                                   KZLogSubscriberI * subscriber)
    : KZApplication(count, arguments, subscriber) {
    Ctor();
}

KZApplicationWithPlugIns::KZApplicationWithPlugIns(int count, char ** arguments,
                                                   KZLogSubscriberI * subscriber)
    : KZApplication(count, arguments, subscriber) {
    Ctor();
}

KZApplicationWithPlugIns::KZApplicationWithPlugIns(KZString const & commandLine,
                                                   KZLogSubscriberI * subscriber)
    : KZApplication(commandLine, subscriber) {
    Ctor();
}

void KZApplicationWithPlugIns::Ctor() {
    KZInitCatchSignal(); // so that a plug-in's fault on this thread is an exception
    mainMenu_ = std::make_unique<KZUnitTest>(GetAppName().AsUTF8());
    static_cast<void>(AddPlugIn(KZSmartPtr<KZPlugIn>(new KZLibPlugIn), true));
}

KZApplicationWithPlugIns::~KZApplicationWithPlugIns() {
    KZApplicationWithPlugIns::RequestExit(true);
    UnloadAll();
    running_.clear();
    loaded_.clear();
    // Only now that no plug-in is left may the code that they are made of go.
    for (void * library : libraries_) KZPlatform::FreeModule(library);
    mainMenu_.reset();
    Write(L"Exiting application...\n");
}

void KZApplicationWithPlugIns::UnloadAll() {
    for (KZSmartPtr<KZPlugIn> const & plugIn : Reversed(GetPlugInHier(loaded_))) {
        if (plugIn->GetStatus() == KZPlugIn::NotInitialised) continue;
        JoinThread(*plugIn);
        Write(L">>>> Unloading <", plugIn->GetName(), L">...");
        if (KZDetail::CallGuarded([&] { plugIn->Unload(); })) Write(L" Done.\n");
    }
}

// The thread outlives the run that it is for by its exit functions, which may be code of the plug-in's library.
void KZApplicationWithPlugIns::JoinThread(KZPlugIn & plugIn) {
    KZSmartPtr<KZObjectI> const object = plugIn.QueryInterface(7);
    auto * const threaded = dynamic_cast<KZThreadedRunPlugIn *>(object.GetPtr());
    if (threaded && !threaded->thread_.IsNull()) threaded->thread_->Join();
}

// --- Questions

KZUsageInfo KZApplicationWithPlugIns::GetUsageInfo() const {
    KZUsageInfo usage = KZApplication::GetUsageInfo();
    usage.AddCmdLineArgDesc(
        u"osxpath:{directory}",
        u"Specify to load the plug-ins (.OSX) from a specific directory. This option can be used more than "
        u"once to "
        u"specify several directories. If you have a listfile named OSX.LST in the directory specified, then "
        u"the "
        u".OSX listed in this file will be loaded. If you want to use a different listfile name (rather than "
        u"OSX.LST), you can specify it at then end of the directory statement (ex: "
        u"d:\\\\OvrantPL\\\\myosx.lst).");
    return usage;
}

bool KZApplicationWithPlugIns::IsAppWithPlugIn() const { return true; }

KZApplicationWithPlugIns * KZApplicationWithPlugIns::GetApp() {
    KZApplication * const application = KZApplication::GetApp();
    bool const fits = application && application->IsAppWithPlugIn();
    return fits ? static_cast<KZApplicationWithPlugIns *>(application) : nullptr;
}

KZSmartPtr<KZPlugIn> KZApplicationWithPlugIns::FindPlugIn(KZGuid const & id) const {
    KZGuard<KZCriticalSection> const guard(lock_);
    auto const found = std::ranges::find_if(
        loaded_, [&](KZSmartPtr<KZPlugIn> const & plugIn) { return plugIn->GetId() == id; });
    return found == loaded_.end() ? KZSmartPtr<KZPlugIn>() : *found;
}

KZApplicationWithPlugIns::PlugInVector
KZApplicationWithPlugIns::GetPlugInHier(PlugInVector const & list) const {
    KZGuard<KZCriticalSection> const guard(lock_);
    Depths depths(loaded_);
    std::vector<std::pair<unsigned int, KZSmartPtr<KZPlugIn>>> order;
    for (KZSmartPtr<KZPlugIn> const & plugIn : list) order.emplace_back(depths.Of(plugIn.GetPtr()), plugIn);
    std::ranges::stable_sort(order, {}, [](auto const & entry) { return entry.first; });
    PlugInVector result;
    for (auto const & entry : order) result.push_back(entry.second);
    return result;
}

// --- Adding and initialising

KZErrorID KZApplicationWithPlugIns::LoadPlugIn(KZSmartPtr<KZPlugIn> plugIn) {
    return AddPlugIn(plugIn, true);
}

KZErrorID KZApplicationWithPlugIns::AddPlugIn(KZSmartPtr<KZPlugIn> plugIn, bool checkDependents) {
    if (plugIn.IsNull()) return KZErrorID(0);
    KZGuard<KZCriticalSection> const guard(lock_);
    KZErrorID error = Register(plugIn);
    if (error.Bad()) return error;
    if (plugIn->IsContainerPlugIn()) {
        error = AddMembers(*plugIn, checkDependents);
        if (error.Bad()) return error;
    }
    // Each plug-in is initialised once, also a member that stood in the order of a scan by itself.
    if (!checkDependents || plugIn->GetStatus() != KZPlugIn::NotInitialised) return error;
    error = CheckDependents(plugIn, true);
    return error.Bad() ? error : Initialise(*plugIn);
}

KZErrorID KZApplicationWithPlugIns::Register(KZSmartPtr<KZPlugIn> const & plugIn) {
    if (Holds(loaded_, plugIn.GetPtr())) return KZErrorID(0);
    if (!FindPlugIn(plugIn->GetId()).IsNull()) return Report(NamedError(12, plugIn->GetName()));
    loaded_.push_back(plugIn);
    if (plugIn->IsRunningPlugIn()) running_.push_back(plugIn);
    AddCustomUsageInfo(plugIn->GetUsageInfo());
    return KZErrorID(0);
}

KZErrorID KZApplicationWithPlugIns::AddMembers(KZPlugIn & container, bool checkDependents) {
    KZSmartPtr<KZObjectI> const object = container.QueryInterface(6);
    auto const * const members = dynamic_cast<KZPlugInContainer const *>(object.GetPtr());
    if (!members) return KZErrorID(0);
    for (KZSmartPtr<KZPlugIn> const & member : members->GetPlugInList()) {
        KZErrorID const error = AddPlugIn(member, checkDependents);
        if (error.Bad()) return error;
        // It may have failed before, in its own place in the order.
        if (checkDependents && member->GetStatus() < KZPlugIn::Initialised)
            return Report(NamedError(13, container.GetName()));
    }
    return KZErrorID(0);
}

KZErrorID KZApplicationWithPlugIns::CheckDependents(KZSmartPtrToConst<KZPlugIn> const & plugIn, bool report) {
    for (KZPlugIn::PlugInIdEx const & dependent : plugIn->GetDependentV()) {
        KZSmartPtr<KZPlugIn> const found = FindPlugIn(dependent.id);
        if (!found.IsNull() && found->GetStatus() >= KZPlugIn::Initialised) continue;
        KZErrorID const error = dependent.name.IsNull() ? NamedError(13, plugIn->GetName())
                                                        : NamedError(14, plugIn->GetName(), &dependent.name);
        return report ? Report(error) : error;
    }
    return KZErrorID(0);
}

KZErrorID KZApplicationWithPlugIns::Initialise(KZPlugIn & plugIn) {
    bool const own = plugIn.GetId() == KZLibPlugIn::Id;
    KZString const name = plugIn.GetName();
    if (!own) Write(L">>>> Initializing <", name, L">...");
    KZErrorID error;
    bool const returned = KZDetail::CallGuarded([&] { error = plugIn.Init(*this); });
    if (!returned) error = KZErrorID(new KZErrorString(name + u": Init failed"));
    plugIn.status_ = error.Good() ? KZPlugIn::Initialised : KZPlugIn::InitFailed;
    if (error.Bad())
        Write(L"Failed.\n");
    else if (own)
        Write(L">>>> Initializing <", name, L">... Done.\n");
    else
        Write(L" Done.\n");
    return error;
}

// --- The main loop

int KZApplicationWithPlugIns::Run() {
    KZPlatform::InstallQuitHandlers();
    PlugInVector const order = GetPlugInHier(running_);
    for (KZSmartPtr<KZPlugIn> const & plugIn : order) {
        if (plugIn->GetStatus() != KZPlugIn::Initialised) continue;
        Write(L"RUN> Running <", plugIn->GetName(), L">...");
        KZSmartPtr<KZObjectI> const object = plugIn->QueryInterface(5);
        if (plugIn->IsKindOf(7))
            RunThreaded(plugIn);
        else if (auto * const runner = dynamic_cast<KZRunPlugIn *>(object.GetPtr()))
            RunHere(*runner);
    }
    WaitForThreads(order);
    KZSmartPtr<KZTestCase> const last = mainMenu_->GetLastTestCase();
    if (runWithMenu_ && !last.IsNull()) mainMenu_->DisplayMenuAndExecuteUserChoice();
    return 1;
}

void KZApplicationWithPlugIns::RunHere(KZRunPlugIn & plugIn) {
    Write(L"\n");
    plugIn.status_ = KZPlugIn::Running;
    KZDetail::CallGuarded([&] { static_cast<void>(plugIn.Run()); });
    plugIn.status_ = KZPlugIn::Ended;
}

void KZApplicationWithPlugIns::RunThreaded(KZSmartPtr<KZPlugIn> const & plugIn) {
    Write(L"(threaded)\n");
    KZSmartPtr<KZObjectI> const object = plugIn->QueryInterface(7);
    auto * const threaded = dynamic_cast<KZThreadedRunPlugIn *>(object.GetPtr());
    if (!threaded) return;
    bool const started = KZDetail::CallGuarded([&] {
        KZSmartPtr<KZCallback> const body(
            new KZCallbackMethVoid<KZThreadedRunPlugIn>(u"", threaded, &KZThreadedRunPlugIn::RunInThread));
        threaded->thread_ = new KZThread(body);
        KZErrorID const error = threaded->thread_->Start();
        if (error.Bad()) throw KZException(error.AsString(), true);
    });
    if (!started) {
        threaded->SetRunning(false);
        return;
    }
    // The next plug-in may count on this one's thread being there. A short run may have ended by the first look.
    while (threaded->GetStatus() == KZPlugIn::Initialised) {
        KZThread::yield();
        KZThread::Milli_sleep(100);
    }
}

void KZApplicationWithPlugIns::WaitForThreads(PlugInVector const & order) {
    for (bool running = true; running;) {
        running = false;
        {
            KZGuard<KZCriticalSection> const guard(lock_);
            for (KZSmartPtr<KZPlugIn> const & plugIn : order) {
                if (plugIn->GetStatus() < KZPlugIn::Running) continue;
                KZThread::yield();
                KZSmartPtr<KZObjectI> const object = plugIn->QueryInterface(7);
                auto const * const threaded = dynamic_cast<KZThreadedRunPlugIn const *>(object.GetPtr());
                if (threaded && threaded->IsInRun()) running = true;
                KZThread::Milli_sleep(200);
            }
        }
        if (KZPlatform::IsQuitRequested()) RequestExit(false);
    }
}

void KZApplicationWithPlugIns::RequestExit(bool wait) {
    KZGuard<KZCriticalSection> const guard(lock_);
    if (!glbExitAnnounced.exchange(true))
        Write(L">>>> Quit signal received. Requesting exit to all plug-ins...\n");
    for (KZSmartPtr<KZPlugIn> const & plugIn : Reversed(GetPlugInHier(running_)))
        KZDetail::CallGuarded([&] { plugIn->RequestExit(wait); });
}
