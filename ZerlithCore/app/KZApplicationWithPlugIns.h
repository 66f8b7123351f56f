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
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <memory>
#include <vector>

/// A host of plug-ins: built once, `LoadAndRun` once, then destroyed.
///
/// The order is the same throughout: the library's own plug-in first, then the others behind what they depend on, and
/// in the exact reverse at the end. What happens to each is written to the application's console stream.
///
/// A plug-in whose `Init`, `Run` or `Unload` throws or faults doesn't take the host down: the exception's text is
/// written as an error line, and the call counts as failed or ended.
///
/// Thread safety: the main thread constructs, runs and destroys. `RequestExit`, `FindPlugIn` and adding a plug-in may
/// come from any thread; they take the host's lock, which each pass of the main loop's wait holds for its length.
class KZ_EXPORT KZApplicationWithPlugIns : public KZApplication {
public:
    KZApplicationWithPlugIns(int count, char16_t ** arguments, KZLogSubscriberI * subscriber = nullptr);
    KZApplicationWithPlugIns(int count, char ** arguments, KZLogSubscriberI * subscriber = nullptr);
    explicit KZApplicationWithPlugIns(KZString const & commandLine, KZLogSubscriberI * subscriber = nullptr);

    /// Asks every plug-in to exit and waits, unloads them in reverse order, and lets their libraries go.
    ~KZApplicationWithPlugIns() override;

    /// The application's options and "osxpath".
    KZUsageInfo GetUsageInfo() const override;
    /// Asks each running plug-in to exit, in reverse order; waits for each if `wait` is true.
    void RequestExit(bool wait) override;
    bool IsAppWithPlugIn() const override;
    /// Adds a plug-in of the program itself, checks what it depends on, and initialises it.
    /// Errors: 12 for a taken identity, 13 and 14 for a missing dependency, and those of the plug-in's `Init`.
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

    /// The loaded plug-in of that identity; null when there is none.
    [[nodiscard]] KZSmartPtr<KZPlugIn> FindPlugIn(KZGuid const & id) const;
    /// In the order of adding.
    [[nodiscard]] KZSmartPtrVector<KZSmartPtr<KZPlugIn>> const & GetLoadedPlugIns() const { return loaded_; }
    /// The menu to which plug-ins may add test cases; owned by the application.
    [[nodiscard]] KZUnitTest * GetMainMenu() const noexcept { return mainMenu_.get(); }
    /// True, at first: the main loop ends with the menu, if it has test cases.
    [[nodiscard]] bool IsRunWithMenu() const noexcept { return runWithMenu_; }
    void SetIsRunWithMenu(bool runWithMenu) noexcept { runWithMenu_ = runWithMenu; }
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
    void Ctor();
    KZErrorID Register(KZSmartPtr<KZPlugIn> const & plugIn);
    KZErrorID AddMembers(KZPlugIn & container, bool checkDependents);
    KZErrorID Initialise(KZPlugIn & plugIn);
    void RunHere(KZRunPlugIn & plugIn);
    void RunThreaded(KZSmartPtr<KZPlugIn> const & plugIn);
    void WaitForThreads(PlugInVector const & order);
    void UnloadAll();
    static void JoinThread(KZPlugIn & plugIn);

    PlugInVector loaded_;
    PlugInVector running_;
    std::vector<void *> libraries_;
    mutable KZCriticalSection lock_;
    std::unique_ptr<KZUnitTest> mainMenu_;
    bool runWithMenu_ = true;
    bool registerOnly_ =
        false; // during a scan: libraries are registered, and initialised in order afterwards
    unsigned int librariesNamed_ = 0;
};
