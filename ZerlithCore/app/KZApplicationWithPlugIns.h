/// @file
/// The application that finds, loads, initialises, runs and unloads plug-ins. It has the library's main loop.
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

/// A plug-in that has failed, a library from which no plug-in could be made, or a directory or list file that could not be
/// read.
///
/// Thread safety: a plain record.
struct KZFailedPlugIn {
    /// What the host was doing.
    enum Step : int {
        Search = 0,   ///< reading the directory or list file `path`
        Load = 1,     ///< loading the library and calling its entry point
        Register = 2, ///< asking the plug-in for its name, identity and so on
        Dependency =
            3, ///< looking for initialised plug-ins that it depends on, or initialising the members of a container
        Init = 4,
        Run = 5 ///< starting its run or running it
    };

    KZString name;   ///< empty when the plug-in failed before it was asked
    KZGuid id;       ///< null when the plug-in failed before it was asked
    KZString path;   ///< of the library; empty for a plug-in of the program itself
    KZErrorID error; ///< why
    Step step = Load;
};

/// A host of plug-ins. A program constructs it, calls `LoadAndRun` once, and destroys it.
///
/// Plug-ins are initialised and run in one order: the library's own first, then each one after those that it depends on. They
/// are asked to exit and unloaded in the reverse order. Each of these steps is written to the application's console stream.
///
/// A plug-in that throws or faults doesn't end the host, whatever the host has called: its entry point, one of its questions,
/// `Init`, `Run`, `Unload` or its destructor. The text of the exception is written as an error line, and the call counts as
/// failed or ended. A plug-in that throws from one of its questions when it is added isn't accepted.
///
/// A library stays loaded as long as its plug-in, and longer if something of it is still in use at the end.
///
/// Thread safety: the main thread constructs, runs and destroys the host. `RequestExit`, `FindPlugIn`, `GetFailedPlugIns`,
/// `SetPollInterval` and adding a plug-in may be called from any thread. Adding takes the host's lock. While the main loop waits
/// for the plug-ins to end, it looks at all of them in passes and holds that lock during each pass; a thread that asks for the
/// lock during a pass gets it after the pass.
class KZ_EXPORT KZApplicationWithPlugIns : public KZApplication {
public:
    // As those of KZApplication. No plug-in is loaded yet.
    KZApplicationWithPlugIns(int count, char16_t ** arguments, KZLogSubscriberI * subscriber = nullptr);
    KZApplicationWithPlugIns(int count, char ** arguments, KZLogSubscriberI * subscriber = nullptr);
    explicit KZApplicationWithPlugIns(KZString const & commandLine, KZLogSubscriberI * subscriber = nullptr);

    /// Asks every plug-in to exit and waits until it has, unloads the plug-ins in reverse order, releases the objects that they
    /// left with the host and on log channels, and then frees their libraries. A library that is still in use stays in memory,
    /// and a line on the console says why: threads run in it, somebody holds an object of it, or a destructor threw.
    ~KZApplicationWithPlugIns() override;

    /// The options of an application, and "osxpath".
    KZUsageInfo GetUsageInfo() const override;
    /// Asks each running plug-in to exit, in reverse order, and with `wait` waits until each has ended. The host's lock isn't
    /// held while a plug-in is asked.
    void RequestExit(bool wait) override;
    bool IsAppWithPlugIn() const override;
    /// Adds a plug-in of the program itself, checks that the plug-ins it depends on are initialised, and initialises it.
    /// Errors: 12 if another plug-in has its identity, 13 and 14 for a missing dependency, those of the plug-in's `Init`, and an
    /// error with the text of an exception that the plug-in threw.
    virtual KZErrorID LoadPlugIn(KZSmartPtr<KZPlugIn> plugIn);
    /// Loads a library, and adds and initialises the plug-in that its function `entryPoint` makes. A library without that
    /// function is unloaded again; that is written to the console, and isn't an error.
    virtual KZErrorID LoadPlugIn(char16_t const * path, char const * entryPoint);
    /// The main loop: runs the initialised plug-ins, and then waits until the threaded ones have ended. Always returns 1.
    virtual int Run();

    /// The newest application if it is one with plug-ins; else null.
    static KZApplicationWithPlugIns * GetApp();

    /// Finds and loads the plug-ins, and then calls `Run`. Returns 0, or 1 when no libraries were named and the current
    /// directory has none.
    ///
    /// The libraries are those that section "PlugIns" of the configuration file names. Without that section they are those of
    /// every "osxpath" on the command line, in order; without that option, those in the current directory.
    int LoadAndRun();
    /// Loads all libraries with `extension` (".osx") in `directory`. If the directory has a list file "osx.lst", it loads those
    /// that the file names; `directory` may also be the path of a list file. If `directory` and `extension` both are
    /// "[FromConfigFile]", it loads those of section "PlugIns".
    /// Errors: with `stopAtFirstError` the first error; without it success, whatever fails to load (`GetFailedPlugIns`).
    KZErrorID LoadPlugInsFromDirectory(char16_t const * directory, char16_t const * extension,
                                       char const * entryPoint, bool stopAtFirstError);

    /// The loaded plug-in of that identity; null when there is none. Doesn't wait for the host's lock.
    [[nodiscard]] KZSmartPtr<KZPlugIn> FindPlugIn(KZGuid const & id) const;
    /// The plug-ins that could not be loaded, added, initialised or started, those whose run ended by an exception or returned an
    /// error, and the directories and list files that could not be read, in the order in which they failed. Each is listed once,
    /// with its last error, and is removed when the same thing works later. Of more than 1,000 the oldest are dropped.
    [[nodiscard]] std::vector<KZFailedPlugIn> GetFailedPlugIns() const;
    /// The loaded plug-ins in the order of adding. Call it only on the thread that adds plug-ins.
    [[nodiscard]] KZSmartPtrVector<KZSmartPtr<KZPlugIn>> const & GetLoadedPlugIns() const { return loaded_; }
    /// The menu to which plug-ins may add test cases; owned by the application.
    [[nodiscard]] KZUnitTest * GetMainMenu() const noexcept { return mainMenu_.get(); }
    /// Whether the main loop shows the menu at its end, if the menu has test cases. True at first.
    [[nodiscard]] bool IsRunWithMenu() const noexcept { return runWithMenu_; }
    void SetIsRunWithMenu(bool runWithMenu) noexcept { runWithMenu_ = runWithMenu; }
    /// Sets how long the main loop rests after each plug-in that it looks at while it waits, in milliseconds: 200 at first, at
    /// least 1. With 5 plug-ins a pass takes 1 second, and a quit signal or the end of the last run is noticed within that time.
    /// A new value is used from the next plug-in on. May be called from any thread.
    void SetPollInterval(unsigned int milliseconds) noexcept;
    [[nodiscard]] unsigned int GetPollInterval() const noexcept { return pollInterval_.load(); }
    /// Changes the working directory to `directory`, where plug-ins then look for their own libraries.
    KZApplicationWithPlugIns & SetCWDAsDllPath(char16_t const * directory);

protected:
    using PlugInVector = KZSmartPtrVector<KZSmartPtr<KZPlugIn>>;

    /// Registers `plugIn` unless it is registered already. With `checkDependents` it also checks that the plug-ins it depends on
    /// are initialised, and initialises it.
    virtual KZErrorID AddPlugIn(KZSmartPtr<KZPlugIn> plugIn, bool checkDependents);
    /// Checks that the plug-ins of `GetDependentV` are initialised. Errors: 13 or 14 for the first one that isn't; with `report`
    /// the error is also written to the console.
    virtual KZErrorID CheckDependents(KZSmartPtrToConst<KZPlugIn> const & plugIn, bool report);
    /// Registers the plug-ins of all libraries that LoadPlugInsFromDirectory would load, and puts them into `found`.
    /// With `changeDirectory` the working directory is `directory` while it does so.
    virtual KZErrorID GetDLLPlugInsFromDirectory(char16_t const * directory, char16_t const * extension,
                                                 char const * entryPoint, PlugInVector & found,
                                                 bool stopAtFirstError, bool changeDirectory);

    /// The plug-ins of `list`, each after those that it depends on. Otherwise they keep the order of adding.
    PlugInVector GetPlugInHier(PlugInVector const & list) const;

private:
    friend class KZThreadedRunPlugIn;

    void Ctor();
    KZErrorID Add(KZHostedPlugIn & candidate, bool checkDependents, KZFailedPlugIn::Step & step);
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
