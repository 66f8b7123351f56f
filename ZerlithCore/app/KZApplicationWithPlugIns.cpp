// Construction, registering and initialising plug-ins, the main loop, and the end. KZPlugInLoading.cpp finds and loads
// libraries, KZPlugInLibraries.cpp frees them.
//
// The loaded list keeps the order of adding. GetPlugInHier makes of it an order in which each plug-in comes after those that it
// depends on. Plug-ins are initialised and run in that order, and asked to exit and unloaded in the reverse order.
//
// Every call of a plug-in may throw or fault, so these calls go through Attempt or CallGuarded. What a plug-in says of itself,
// such as its name, is asked once, when it is added; a plug-in that throws then isn't accepted.

#include "ZerlithCore/app/KZApplicationWithPlugIns.h"

#include "ZerlithCore/app/KZThreadedRunPlugIn.h"
#include "ZerlithCore/app/detail/KZHostState.h"
#include "ZerlithCore/app/detail/KZPlugInGuard.h"
#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/errors/KZSignalException.h"
#include "ZerlithCore/platform/Signals.h"
#include "ZerlithCore/text/detail/OwnErrors.h"
#include "ZerlithCore/threads/KZThread.h"

#include <algorithm>
#include <atomic>
#include <ostream>
#include <utility>

using KZDetail::Attempt;
using KZDetail::CallGuarded;
using KZDetail::OwnError;
using KZDetail::OwnMessage;
using KZDetail::Report;

namespace {

constexpr unsigned int longestStartPoll = 100; // milliseconds
constexpr std::size_t maxFailures = 1000;

// The message about a request to exit is written only once in a process.
std::atomic<bool> glbExitAnnounced{false};

template <class... Parts>
void Write(Parts const &... parts) {
    KZLockedCOUT console;
    (console.GetCout(1) << ... << parts) << std::flush;
}

// The name is asked first, so that it is known if a later question throws.
void Describe(KZPlugIn const & plugIn, KZDetail::PlugInDescription & description) {
    description.name = plugIn.GetName();
    description.id = plugIn.GetId();
    static_cast<void>(plugIn.GetStatus());
    description.isRunning = plugIn.IsRunningPlugIn();
    description.isContainer = plugIn.IsContainerPlugIn();
    description.dependents = plugIn.GetDependentV();
    description.usage = plugIn.GetUsageInfo();
    if (!description.isContainer) return;
    if (auto const container = KZInterfaceOf<KZPlugInContainer>(plugIn); !container.IsNull()) {
        auto const & members = container->GetPlugInList();
        description.members.assign(members.begin(), members.end());
    }
}

// The depth of each loaded plug-in below those it depends on; a container depends on its members.
class Depths {
public:
    explicit Depths(std::deque<KZHostedPlugIn> const & plugIns) {
        for (KZHostedPlugIn const & each : plugIns)
            entries_.push_back({each.plugIn.GetPtr(), &each.description});
    }

    unsigned int Of(KZPlugIn const * plugIn) {
        auto const entry = std::ranges::find(entries_, plugIn, &Entry::plugIn);
        return entry == entries_.end() ? 0 : Of(*entry);
    }

private:
    enum class State { Unknown, Open, Known };
    struct Entry {
        KZPlugIn * plugIn;
        KZDetail::PlugInDescription const * description;
        State state = State::Unknown;
        unsigned int depth = 0;
    };

    // The recursion is as deep as the chain of dependencies, at most the number of plug-ins. In a cycle an entry is met again
    // while its own depth is being computed; it is left out there.
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
        auto const add = [&](auto const & isWanted) {
            auto const found = std::ranges::find_if(entries_, isWanted);
            if (found != entries_.end() && found->plugIn != entry.plugIn) below.push_back(&*found);
        };
        for (KZPlugIn::PlugInIdEx const & dependent : entry.description->dependents)
            add([&](Entry const & other) { return other.description->id == dependent.id; });
        for (KZSmartPtr<KZPlugIn> const & member : entry.description->members)
            add([&](Entry const & other) { return other.plugIn == member.GetPtr(); });
        return below;
    }

    std::vector<Entry> entries_;
};

/// Moves the failures that `isWanted` out of the list, so that they can be released without its lock.
template <class Wanted>
std::list<KZHostState::Failure> Take(std::list<KZHostState::Failure> & failures, Wanted isWanted) {
    std::list<KZHostState::Failure> taken;
    for (auto next = failures.begin(); next != failures.end();) {
        auto const each = next++;
        if (isWanted(*each)) taken.splice(taken.end(), failures, each);
    }
    return taken;
}

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
    state_ = std::make_unique<KZHostState>();
    mainMenu_ = std::make_unique<KZUnitTest>(GetAppName().AsUTF8());
    static_cast<void>(AddPlugIn(KZSmartPtr<KZPlugIn>(new KZLibPlugIn), true));
}

// --- State

KZHostedPlugIn * KZHostState::Find(KZPlugIn const * plugIn) noexcept {
    auto const found = std::ranges::find_if(
        plugIns, [=](KZHostedPlugIn const & each) { return each.plugIn.GetPtr() == plugIn; });
    return found == plugIns.end() ? nullptr : &*found;
}

void KZHostState::NoteFailure(KZFailedPlugIn const & failed, KZPlugIn const * plugIn) {
    auto const isReplaced = [&](Failure const & each) {
        if (plugIn || each.plugIn) return each.plugIn == plugIn;
        return each.report.name == failed.name && each.report.id == failed.id &&
               each.report.path == failed.path;
    };
    std::list<Failure> noted{{plugIn, failed}}, gone;
    KZGuard<KZCriticalSection> const guard(listLock);
    gone = Take(failures, isReplaced);
    if (failures.size() == maxFailures) gone.splice(gone.end(), failures, failures.begin());
    failures.splice(failures.end(), noted);
}

void KZHostState::NoteFailure(KZHostedPlugIn const & candidate, KZErrorID const & error,
                              KZFailedPlugIn::Step step) {
    KZPlugIn const * const plugIn = candidate.plugIn.GetPtr();
    bool isRegistered = false;
    {
        KZGuard<KZCriticalSection> const guard(listLock);
        isRegistered = Find(plugIn) != nullptr;
    }
    NoteFailure({candidate.description.name, candidate.description.id, candidate.path, error, step},
                isRegistered ? plugIn : nullptr);
}

void KZHostState::ForgetFailure(KZPlugIn const * plugIn) {
    std::list<Failure> gone;
    KZGuard<KZCriticalSection> const guard(listLock);
    gone = Take(failures, [=](Failure const & each) { return each.plugIn == plugIn; });
}

void KZHostState::ForgetFailure(KZString const & path) {
    std::list<Failure> gone;
    KZGuard<KZCriticalSection> const guard(listLock);
    gone = Take(failures, [&](Failure const & each) { return !each.plugIn && each.report.path == path; });
}

std::vector<KZFailedPlugIn> KZApplicationWithPlugIns::GetFailedPlugIns() const {
    KZGuard<KZCriticalSection> const guard(state_->listLock);
    std::vector<KZFailedPlugIn> failed;
    for (KZHostState::Failure const & each : state_->failures) failed.push_back(each.report);
    return failed;
}

void KZApplicationWithPlugIns::NoteRunFailure(KZPlugIn const & plugIn, KZErrorID const & error) {
    KZFailedPlugIn failed{{}, {}, {}, error, KZFailedPlugIn::Run};
    {
        KZGuard<KZCriticalSection> const guard(state_->listLock);
        KZHostedPlugIn const * const hosted = state_->Find(&plugIn);
        if (!hosted) return;
        failed.name = hosted->description.name;
        failed.id = hosted->description.id;
        failed.path = hosted->path;
    }
    state_->NoteFailure(failed, &plugIn);
}

// --- The end

KZApplicationWithPlugIns::~KZApplicationWithPlugIns() {
    CallGuarded([this] { KZApplicationWithPlugIns::RequestExit(true); });
    UnloadAll();
    LetGoOfAll();
    mainMenu_.reset();
    CallGuarded([] { Write(L"Exiting application...\n"); });
}

void KZApplicationWithPlugIns::UnloadAll() noexcept {
    PlugInVector order;
    bool const isOrdered = CallGuarded([&] { order = GetPlugInHier(loaded_); });
    PlugInVector const & plugIns = isOrdered ? order : loaded_;
    for (std::uint32_t i = plugIns.size(); i-- > 0;) CallGuarded([&] { Unload(*plugIns[i]); });
}

void KZApplicationWithPlugIns::Unload(KZPlugIn & plugIn) {
    if (StatusOf(plugIn) == KZPlugIn::NotInitialised) return;
    // After `Run` the thread still runs exit functions, which may be code of the plug-in's library. So its end is awaited.
    CallGuarded([&] {
        auto const threaded = KZInterfaceOf<KZThreadedRunPlugIn>(plugIn);
        if (!threaded.IsNull() && !threaded->thread_.IsNull()) threaded->thread_->Join();
    });
    // The plug-in is unloaded even if there is no memory for the message.
    CallGuarded([&] { Write(L">>>> Unloading <", NameOf(plugIn), L">..."); });
    if (CallGuarded([&] { plugIn.Unload(); })) Write(L" Done.\n");
}

// A library may be freed only when none of its objects is left. If there is no memory to gather the objects, they are
// released one by one and the libraries stay in memory.
void KZApplicationWithPlugIns::LetGoOfAll() noexcept {
    KZUnitTest::TestList tests = mainMenu_->TakeTestCases();
    std::list<KZHostState::Failure> failures;
    {
        KZGuard<KZCriticalSection> const guard(state_->listLock);
        failures.swap(state_->failures);
        state_->plugIns.clear();
        running_.clear();
    }
    KZPlugInLibraries::Objects objects;
    bool const isGathered =
        CallGuarded([&] { objects.reserve(tests.size() + failures.size() + loaded_.size()); });
    auto const take = [&](auto & handle) {
        KZSmartPtr<KZRefCountI> object(handle.GetPtr());
        handle.Clear();
        if (!isGathered)
            state_->libraries.LetGo(object);
        else if (std::ranges::find(objects, object) == objects.end())
            objects.push_back(std::move(object));
    };
    for (KZSmartPtr<KZTestCase> & test : tests) take(test);
    for (KZHostState::Failure & failure : failures) {
        KZSmartPtrToConst<KZErrorI> error = failure.report.error.operator->();
        failure.report.error = KZErrorID();
        take(error);
    }
    for (KZSmartPtr<KZPlugIn> & plugIn : loaded_) take(plugIn);
    loaded_.clear();
    if (isGathered) state_->libraries.LetGo(std::move(objects));
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

void KZApplicationWithPlugIns::SetPollInterval(unsigned int milliseconds) noexcept {
    pollInterval_.store(std::max(milliseconds, 1U));
}

KZSmartPtr<KZPlugIn> KZApplicationWithPlugIns::FindPlugIn(KZGuid const & id) const {
    KZGuard<KZCriticalSection> const guard(state_->listLock);
    auto const found = std::ranges::find_if(
        state_->plugIns, [&](KZHostedPlugIn const & each) { return each.description.id == id; });
    return found == state_->plugIns.end() ? KZSmartPtr<KZPlugIn>() : found->plugIn;
}

KZApplicationWithPlugIns::PlugInVector
KZApplicationWithPlugIns::GetPlugInHier(PlugInVector const & list) const {
    KZGuard<KZFairLock> const guard(state_->lock);
    Depths depths(state_->plugIns);
    std::vector<std::pair<unsigned int, KZSmartPtr<KZPlugIn>>> order;
    for (KZSmartPtr<KZPlugIn> const & plugIn : list) order.emplace_back(depths.Of(plugIn.GetPtr()), plugIn);
    std::ranges::stable_sort(order, {}, [](auto const & entry) { return entry.first; });
    PlugInVector result;
    for (auto const & entry : order) result.push_back(entry.second);
    return result;
}

// The present name; if the plug-in throws, the one that it had when it was added.
KZString KZApplicationWithPlugIns::NameOf(KZPlugIn const & plugIn) const {
    KZString name;
    if (CallGuarded([&] { name = plugIn.GetName(); })) return name;
    KZGuard<KZCriticalSection> const guard(state_->listLock);
    KZHostedPlugIn const * const hosted = state_->Find(&plugIn);
    return hosted ? hosted->description.name : KZString();
}

// The status by the plug-in's own answer; if that throws, the one that the host has recorded.
KZPlugIn::Status KZApplicationWithPlugIns::StatusOf(KZPlugIn const & plugIn) noexcept {
    KZPlugIn::Status status = plugIn.status_;
    CallGuarded([&] { status = plugIn.GetStatus(); });
    return status;
}

// --- Adding and initialising

KZErrorID KZApplicationWithPlugIns::LoadPlugIn(KZSmartPtr<KZPlugIn> plugIn) {
    return AddPlugIn(plugIn, true);
}

KZErrorID KZApplicationWithPlugIns::AddPlugIn(KZSmartPtr<KZPlugIn> plugIn, bool checkDependents) {
    if (plugIn.IsNull()) return KZErrorID(0);
    KZGuard<KZFairLock> const guard(state_->lock);
    KZHostedPlugIn const * const known = state_->Find(plugIn);
    KZHostedPlugIn candidate{plugIn, known ? known->path : state_->loadingPath, {}};
    KZFailedPlugIn::Step step = KZFailedPlugIn::Register;
    KZErrorID const error = Add(candidate, checkDependents, step);
    if (error.Bad()) state_->NoteFailure(candidate, error, step);
    return error;
}

/// Sets `step` to each step that it begins, so that the caller knows which one has failed.
KZErrorID KZApplicationWithPlugIns::Add(KZHostedPlugIn & candidate, bool checkDependents,
                                        KZFailedPlugIn::Step & step) {
    KZErrorID error = Attempt([&] { Describe(*candidate.plugIn, candidate.description); });
    if (error.Bad()) return Report(error);
    error = Register(candidate);
    if (error.Bad()) return error;
    step = KZFailedPlugIn::Dependency;
    error = AddMembers(candidate, checkDependents);
    // A plug-in is initialised only once. A member of a container may have been initialised before, by itself during a scan.
    bool const isDue = checkDependents && StatusOf(*candidate.plugIn) == KZPlugIn::NotInitialised;
    if (error.Bad() || !isDue) return error;
    error = CheckDependents(candidate.plugIn, true);
    if (error.Bad()) return error;
    step = KZFailedPlugIn::Init;
    return Initialise(candidate);
}

// The plug-in is registered wholly or not at all, so everything that allocates comes first.
KZErrorID KZApplicationWithPlugIns::Register(KZHostedPlugIn const & candidate) {
    KZHostedPlugIn * const known = state_->Find(candidate.plugIn);
    if (known) {
        KZDetail::PlugInDescription description = candidate.description;
        KZGuard<KZCriticalSection> const guard(state_->listLock);
        std::swap(known->description, description);
        return KZErrorID(0);
    }
    if (!FindPlugIn(candidate.description.id).IsNull())
        return Report(OwnError(OwnMessage::IdentityInUse, {candidate.description.name}));
    AddCustomUsageInfo(candidate.description.usage);
    KZGuard<KZCriticalSection> const guard(state_->listLock);
    loaded_.reserve(loaded_.size() + 1);
    running_.reserve(running_.size() + 1);
    state_->plugIns.push_back(candidate);
    loaded_.push_back(candidate.plugIn);
    if (candidate.description.isRunning) running_.push_back(candidate.plugIn);
    return KZErrorID(0);
}

KZErrorID KZApplicationWithPlugIns::AddMembers(KZHostedPlugIn const & container, bool checkDependents) {
    for (KZSmartPtr<KZPlugIn> const & member : container.description.members) {
        KZErrorID const error = AddPlugIn(member, checkDependents);
        if (error.Bad()) return error;
        // The member may have failed already, when its own turn came.
        if (checkDependents && StatusOf(*member) < KZPlugIn::Initialised)
            return Report(OwnError(OwnMessage::DependencyFailed, {container.description.name}));
    }
    return KZErrorID(0);
}

KZErrorID KZApplicationWithPlugIns::CheckDependents(KZSmartPtrToConst<KZPlugIn> const & plugIn, bool report) {
    KZDetail::PlugInDescription description;
    KZErrorID error = Attempt([&] {
        description.name = plugIn->GetName();
        description.dependents = plugIn->GetDependentV();
    });
    for (KZPlugIn::PlugInIdEx const & dependent : description.dependents) {
        KZSmartPtr<KZPlugIn> const found = FindPlugIn(dependent.id);
        if (!found.IsNull() && StatusOf(*found) >= KZPlugIn::Initialised) continue;
        error = dependent.name.IsNull()
                    ? OwnError(OwnMessage::DependencyFailed, {description.name})
                    : OwnError(OwnMessage::NoSuchDependency, {description.name, dependent.name});
        break;
    }
    return error.Bad() && report ? Report(error) : error;
}

KZErrorID KZApplicationWithPlugIns::Initialise(KZHostedPlugIn const & hosted) {
    KZPlugIn & plugIn = *hosted.plugIn;
    KZString const & name = hosted.description.name;
    bool const own = hosted.description.id == KZLibPlugIn::Id;
    if (!own) Write(L">>>> Initializing <", name, L">...");
    KZErrorID error;
    KZErrorID const thrown = Attempt([&] { error = plugIn.Init(*this); });
    if (thrown.Bad()) error = thrown;
    plugIn.status_ = error.Good() ? KZPlugIn::Initialised : KZPlugIn::InitFailed;
    if (error.Bad()) {
        Write(L"Failed.\n");
        return Report(error);
    }
    state_->ForgetFailure(&plugIn);
    if (own)
        Write(L">>>> Initializing <", name, L">... Done.\n");
    else
        Write(L" Done.\n");
    return error;
}

// --- The main loop

int KZApplicationWithPlugIns::Run() {
    KZPlatform::InstallQuitHandlers();
    PlugInVector const order = GetPlugInHier(running_);
    for (KZSmartPtr<KZPlugIn> const & plugIn : order)
        if (StatusOf(*plugIn) == KZPlugIn::Initialised) Start(*plugIn);
    WaitForThreads(order);
    KZSmartPtr<KZTestCase> const last = mainMenu_->GetLastTestCase();
    if (runWithMenu_ && !last.IsNull()) mainMenu_->DisplayMenuAndExecuteUserChoice();
    return 1;
}

void KZApplicationWithPlugIns::Start(KZPlugIn & plugIn) {
    KZSmartPtr<KZRunPlugIn> runner;
    KZSmartPtr<KZThreadedRunPlugIn> threaded;
    KZErrorID const error = Attempt([&] {
        runner = KZInterfaceOf<KZRunPlugIn>(plugIn);
        threaded = KZInterfaceOf<KZThreadedRunPlugIn>(plugIn);
    });
    if (error.Bad()) return NoteRunFailure(plugIn, Report(error));
    Write(L"RUN> Running <", NameOf(plugIn), L">...");
    if (!threaded.IsNull())
        RunThreaded(*threaded);
    else if (!runner.IsNull())
        RunHere(*runner);
}

void KZApplicationWithPlugIns::RunHere(KZRunPlugIn & plugIn) {
    Write(L"\n");
    plugIn.status_ = KZPlugIn::Running;
    KZErrorID const error = Attempt([&] {
        KZErrorID const result = plugIn.Run();
        if (result.Bad()) NoteRunFailure(plugIn, result);
    });
    plugIn.status_ = KZPlugIn::Ended;
    if (error.Bad()) NoteRunFailure(plugIn, Report(error));
}

void KZApplicationWithPlugIns::RunThreaded(KZThreadedRunPlugIn & plugIn) {
    Write(L"(threaded)\n");
    plugIn.host_ = this;
    KZErrorID error;
    KZErrorID const thrown = Attempt([&] {
        plugIn.thread_ = new KZThread(KZSmartPtr<KZCallback>(
            new KZCallbackMethVoid<KZThreadedRunPlugIn>(u"", &plugIn, &KZThreadedRunPlugIn::RunInThread)));
        error = plugIn.thread_->Start();
    });
    if (thrown.Bad()) error = thrown;
    if (error.Bad()) {
        plugIn.SetRunning(false);
        return NoteRunFailure(plugIn, Report(error));
    }
    // Waits until the thread has begun its run, because the next plug-in may rely on that. A short run may be over already.
    while (plugIn.status_ == KZPlugIn::Initialised) {
        KZThread::yield();
        KZThread::Milli_sleep(std::min(longestStartPoll, GetPollInterval()));
    }
}

// The lock is held during each pass, rests included. A thread that waits for it gets it between two passes.
void KZApplicationWithPlugIns::WaitForThreads(PlugInVector const & order) {
    std::vector<KZSmartPtr<KZThreadedRunPlugIn>> started; // null for one that ran here
    for (KZSmartPtr<KZPlugIn> const & plugIn : order) {
        if (StatusOf(*plugIn) < KZPlugIn::Running) continue;
        started.emplace_back();
        CallGuarded([&] { started.back() = KZInterfaceOf<KZThreadedRunPlugIn>(*plugIn); });
    }
    for (bool running = true; running;) {
        running = false;
        {
            KZGuard<KZFairLock> const guard(state_->lock);
            for (KZSmartPtr<KZThreadedRunPlugIn> const & threaded : started) {
                KZThread::yield();
                if (!threaded.IsNull() && threaded->IsInRun()) running = true;
                KZThread::Milli_sleep(GetPollInterval());
            }
        }
        if (KZPlatform::IsQuitRequested()) RequestExit(false);
    }
}

// The host's lock isn't held here: with `wait` the plug-in's own thread may need that lock before it can end.
void KZApplicationWithPlugIns::RequestExit(bool wait) {
    if (!glbExitAnnounced.exchange(true))
        Write(L">>>> Quit signal received. Requesting exit to all plug-ins...\n");
    PlugInVector order;
    {
        KZGuard<KZFairLock> const guard(state_->lock);
        order = GetPlugInHier(running_);
    }
    for (std::uint32_t i = order.size(); i-- > 0;) CallGuarded([&] { order[i]->RequestExit(wait); });
}
