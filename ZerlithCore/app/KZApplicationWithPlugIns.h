/// @file
/// The application that finds, loads, initialises, runs and unloads plug-ins: the library's main loop.
///
///     int main(int argc, char ** argv) {
///         KZApplicationWithPlugIns application(argc, argv);
///         return application.LoadAndRun();
///     }
#pragma once

#include "ZerlithCore/app/KZApplication.h"
#include "ZerlithCore/app/KZPlugIn.h"
#include "ZerlithCore/app/KZUnitTest.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/foundation/KZSmartPtrVector.h"

#include <atomic>
#include <memory>
#include <vector>

struct KZHostedPlugIn;
struct KZHostState;
class KZThreadedRunPlugIn;

/// A plug-in that can't do its work, or a library that gave none.
struct KZFailedPlugIn {
    KZString name;   ///< empty when the plug-in didn't come to tell it
    KZGuid id;       ///< null likewise
    KZString path;   ///< of the library; empty for a plug-in of the program itself
    KZErrorID error; ///< why
};

/// A host of plug-ins: built once, `LoadAndRun` once, then destroyed.
///
/// The order is the same throughout: the library's own plug-in first, then the others behind what they depend on, and
/// in the exact reverse at the end. What happens to each is written to the application's console stream.
///
/// A plug-in that throws or faults doesn't take the host down, whatever the host calls: its entry point, its questions, `Init`,
/// `Run`, `Unload`, its destructor. The exception's text is written as an error line, and the call counts as failed or
/// ended. A plug-in that can't answer a question when it is added isn't taken.
///
/// A library stays loaded as long as its plug-in, and longer if something of it is still in use at the end.
///
/// Thread safety: the main thread constructs, runs and destroys. `RequestExit`, `FindPlugIn`, `GetFailedPlugIns` and adding a
/// plug-in may come from any thread. Adding takes the host's lock, which each pass of the main loop's wait holds for its
/// length; who asks for the lock during a pass gets it after that.
class KZ_EXPORT KZApplicationWithPlugIns : public KZApplication {
public:
    KZApplicationWithPlugIns(int count, char16_t ** arguments, KZLogSubscriberI * subscriber = nullptr);
    KZApplicationWithPlugIns(int count, char ** arguments, KZLogSubscriberI * subscriber = nullptr);
    explicit KZApplicationWithPlugIns(KZString const & commandLine, KZLogSubscriberI * subscriber = nullptr);

    /// Asks every plug-in to exit and waits, unloads them in reverse order, lets go of what they left with the host and on log
    /// channels, and then of their libraries. A library that is still in use stays in memory, and a line tells why:
    /// threads run in it, somebody holds an object of it, or a destructor didn't come to its end.
    ~KZApplicationWithPlugIns() override;

    /// The application's options and "osxpath".
    KZUsageInfo GetUsageInfo() const override;
    /// Asks each running plug-in to exit, in reverse order; waits for each if `wait` is true. The host's lock isn't held
    /// while a plug-in is asked.
    void RequestExit(bool wait) override;
    bool IsAppWithPlugIn() const override;
    /// Adds a plug-in of the program itself, checks what it depends on, and initialises it.
    /// Errors: 12 for a taken identity, 13 and 14 for a missing dependency, those of the plug-in's `Init`, and an error with the
    /// text of an exception that the plug-in threw.
    virtual KZErrorID LoadPlugIn(KZSmartPtr<KZPlugIn> plugIn);
    /// Loads a library and the plug-in that its function `entryPoint` makes. A library without that function is let go
    /// again, with a message, and is no error.
    virtual KZErrorID LoadPlugIn(char16_t const * path, char const * entryPoint);
    /// The main loop: runs the plug-ins that are ready, then waits until the threaded ones have ended. Always 1.
    virtual int Run();

    /// The newest application, if it is one with plug-ins; else null.
    static KZApplicationWithPlugIns * GetApp();

    /// Finds and loads the plug-ins, then calls `Run`. 0, or 1 when nothing was named and nothing found.
    ///
    /// The libraries are those of section "PlugIns" of the configuration file; without that section those of every
    /// "osxpath" on the command line, in order; without one those in the current directory.
    int LoadAndRun();
    /// Loads all libraries with `extension` (".osx") in `directory`, or those that its list file "osx.lst" names, or
    /// those that the list file at the end of `directory` names. "[FromConfigFile]" twice: those of section "PlugIns".
    /// Errors: the first one, if `stopAtFirstError` is true; otherwise success whatever loads.
    KZErrorID LoadPlugInsFromDirectory(char16_t const * directory, char16_t const * extension,
                                       char const * entryPoint, bool stopAtFirstError);

    /// The loaded plug-in of that identity; null when there is none. Waits for nothing that plug-ins do.
    [[nodiscard]] KZSmartPtr<KZPlugIn> FindPlugIn(KZGuid const & id) const;
    /// The plug-ins that could not be loaded, added, initialised or started, or whose run an exception has ended; each with
    /// the last error, in the order of failing. One that is initialised after all isn't among them.
    [[nodiscard]] std::vector<KZFailedPlugIn> GetFailedPlugIns() const;
    /// In the order of adding. For the thread that adds plug-ins.
    [[nodiscard]] KZSmartPtrVector<KZSmartPtr<KZPlugIn>> const & GetLoadedPlugIns() const { return loaded_; }
    /// The menu to which plug-ins may add test cases; owned by the application.
    [[nodiscard]] KZUnitTest * GetMainMenu() const noexcept { return mainMenu_.get(); }
    /// True, at first: the main loop ends with the menu, if it has test cases.
    [[nodiscard]] bool IsRunWithMenu() const noexcept { return runWithMenu_; }
    void SetIsRunWithMenu(bool runWithMenu) noexcept { runWithMenu_ = runWithMenu; }
    /// How long the main loop's wait rests behind each plug-in that it looks at, in milliseconds: 200 at first, at least 1. So a
    /// pass takes that time for each plug-in that was run, and a quit signal, or the end of the last run, is noticed within a
    /// pass. May be called from any thread, and holds from the next plug-in on.
    void SetPollInterval(unsigned int milliseconds) noexcept;
    [[nodiscard]] unsigned int GetPollInterval() const noexcept { return pollInterval_.load(); }
    /// Makes `directory` the current one, where plug-ins then look for their own libraries.
    KZApplicationWithPlugIns & SetCWDAsDllPath(char16_t const * directory);

protected:
    using PlugInVector = KZSmartPtrVector<KZSmartPtr<KZPlugIn>>;

    /// Registers `plugIn` if it isn't yet; with `checkDependents` also checks what it depends on and initialises it.
    virtual KZErrorID AddPlugIn(KZSmartPtr<KZPlugIn> plugIn, bool checkDependents);
    /// Errors: 13 or 14 for the first plug-in of `GetDependentV` that isn't initialised; written out if `report`.
    virtual KZErrorID CheckDependents(KZSmartPtrToConst<KZPlugIn> const & plugIn, bool report);
    /// Registers the plug-ins of all libraries that LoadPlugInsFromDirectory would load, and puts them into `found`.
    /// With `changeDirectory` the working directory is `directory` meanwhile.
    virtual KZErrorID GetDLLPlugInsFromDirectory(char16_t const * directory, char16_t const * extension,
                                                 char const * entryPoint, PlugInVector & found,
                                                 bool stopAtFirstError, bool changeDirectory);

    /// The plug-ins of `list`, each behind those it depends on; those of one depth in the order of adding.
    PlugInVector GetPlugInHier(PlugInVector const & list) const;

private:
    friend class KZThreadedRunPlugIn;

    void Ctor();
    KZErrorID Add(KZHostedPlugIn & candidate, bool checkDependents);
    KZErrorID Register(KZHostedPlugIn const & candidate);
    KZErrorID AddMembers(KZHostedPlugIn const & container, bool checkDependents);
    KZErrorID Initialise(KZHostedPlugIn const & hosted);
    [[nodiscard]] KZString NameOf(KZPlugIn const & plugIn) const;
    [[nodiscard]] static KZPlugIn::Status StatusOf(KZPlugIn const & plugIn) noexcept;
    void Start(KZPlugIn & plugIn);
    void RunHere(KZRunPlugIn & plugIn);
    void RunThreaded(KZThreadedRunPlugIn & plugIn);
    void WaitForThreads(PlugInVector const & order);
    void NoteRunFailure(KZPlugIn const & plugIn, KZErrorID const & error);
    KZErrorID TakePlugIn(void * library, KZString const & file, char const * entryPoint,
                         KZSmartPtr<KZPlugIn> & plugIn);
    void Unload(KZPlugIn & plugIn);
    void UnloadAll() noexcept;
    void LetGoOfAll() noexcept;

    PlugInVector loaded_;
    PlugInVector running_;
    std::unique_ptr<KZHostState> state_;
    std::unique_ptr<KZUnitTest> mainMenu_;
    std::atomic<unsigned int> pollInterval_{200};
    bool runWithMenu_ = true;
};
