/// @file
/// The object that a program makes first.
///
///     int main(int argc, char ** argv) {
///         KZApplication application(argc, argv);
///         if (application.DisplayUsageIfNecessary()) return 0;
///         int const port = application.GetArg(u"port", u"Server", 8080); // /port:80, or port=80 in section [Server]
///         application.GetCout(1) << L"listening on port " << port << std::endl;
///     }
#pragma once

#include "ZerlithCore/app/KZCommandLine.h"
#include "ZerlithCore/app/KZConfigFile.h"
#include "ZerlithCore/app/KZUsageInfo.h"
#include "ZerlithCore/log/KZFileLogSubscriber.h"
#include "ZerlithCore/log/KZLogManager.h"
#include "ZerlithCore/platform/FileHandle.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/threads/KZCriticalSection.h"
#include "ZerlithCore/threads/KZThread_t.h"

#include <iosfwd>
#include <vector>

/// What every program needs: its command line, configuration file, trace level, log channel and error log.
///
/// There may be several applications. `GetApp` returns the newest one until that is destroyed.
///
/// Every program has the options `/config:{filename}`, `/trace:{level}`, `/consoleToFile[:filename]` and `/noConsole`. Section
/// "KZCore" of the configuration file may have the last three, and "DebugPath". The configuration file is the one that
/// `/config` names; without it, the file with the program's name and the extension "ini", beside the program or in the
/// current directory. A program that calls `UseLongOptions` first has them as `--config=file`, `--config file` and so on.
///
/// Thread safety: construct and destroy it on the main thread. `PostExitRequest` and the questions may be called on any thread;
/// other changes need that no other thread uses the object.
class KZ_EXPORT KZApplication {
public:
    /// Takes the arguments of `main`, as units. `arguments` stays the caller's and must exist as long as this object.
    /// A `subscriber` replaces the console. The application holds a reference on it, so pass a new object, or one on which the
    /// caller holds a handle. Errors: std::bad_alloc, and no application is left.
    KZApplication(int count, char16_t ** arguments, KZLogSubscriberI * subscriber = nullptr);
    /// The same from bytes, as the system passes them (UTF-8).
    KZApplication(int count, char ** arguments, KZLogSubscriberI * subscriber = nullptr);
    /// The same from one text, which is split by the rules of KZCommandLine.
    explicit KZApplication(KZString const & commandLine, KZLogSubscriberI * subscriber = nullptr);
    KZApplication(KZApplication const &) = delete;
    KZApplication & operator=(KZApplication const &) = delete;

    /// Removes the application's subscribers from its channel and makes the previous application the current one. If its log
    /// files have lost messages, a line on standard output says how many.
    virtual ~KZApplication();

    /// Makes the applications that are constructed from now on take options as `KZCommandLine::UseLongOptions` describes, with
    /// "config", "trace", "osxpath" and those of `withValue` taking the next argument as their value. They also show their usage
    /// in that form. Without this call there are no long options. Thread safety: any thread may call it.
    ///
    ///     KZApplication::UseLongOptions({u"port"});
    ///     KZApplication application(u"tool --config tool.ini --port 80 --trace=2");
    static void UseLongOptions(std::vector<KZString> const & withValue = {});

    /// The options of the application itself.
    virtual KZUsageInfo GetUsageInfo() const;
    /// Writes the usage of the program to `stream`, or to the application's console if `stream` is null.
    virtual void DisplayUsage(std::wostream * stream = nullptr) const;
    /// Writes the usage and returns true if "help" or "?" is among the options.
    virtual bool DisplayUsageIfNecessary(std::wostream * stream = nullptr) const;
    /// Writes a line for each option of the command line that the usage doesn't name, such as "The option --prot is unknown.",
    /// and returns true if there is one. "help" and "?" are known. The lines go to `stream`, or to the application's console if
    /// `stream` is null. The usage has the application's own options, those of loaded plug-ins, and those of
    /// `AddCustomUsageInfo`; so call it after these.
    bool ReportUnknownOptions(std::wostream * stream = nullptr) const;
    /// Asks the program to end. Does nothing here; derived classes override it.
    virtual void RequestExit(bool wait);
    /// Whether this is a KZApplicationWithPlugIns.
    virtual bool IsAppWithPlugIn() const;

    /// The newest application; null when there is none.
    static KZApplication * GetApp();
    /// The one log manager of the process.
    static KZLogManager & GetLogManager();

    [[nodiscard]] KZCommandLine const & GetCmdLine() const noexcept { return commandLine_; }
    /// The configuration file; null when the program runs without one.
    [[nodiscard]] KZSmartPtr<KZConfigFile> const & GetConfigFile() const noexcept { return configFile_; }
    [[nodiscard]] unsigned int GetTraceLevel() const noexcept { return traceLevel_; }
    /// Sets the level of this application, of the process, and of the application's own console subscriber.
    void SetTraceLevel(unsigned int level);
    /// The directory that was current at construction.
    [[nodiscard]] KZString const & GetStartPath() const noexcept { return startPath_; }
    /// The directory of debug output and temporary files.
    [[nodiscard]] KZString const & GetTmpDirectory() const noexcept { return debugPath_; }
    /// The directory of the program, without a separator at its end.
    [[nodiscard]] KZString GetAppPath() const;
    /// The name of the program.
    [[nodiscard]] KZString GetAppName(bool withPath = false, bool withExtension = false) const;
    /// The thread that built the application.
    [[nodiscard]] KZThread_t const & GetMainThread() const noexcept { return mainThread_; }
    [[nodiscard]] unsigned int GetChannelIndex() const noexcept { return channel_; }
    /// The stream of the application's channel at `level`. If several threads write, each holds a KZLockedCOUT meanwhile.
    [[nodiscard]] std::wostream & GetCout(unsigned int level) const;

    /// True if `name` is an option of the command line, or a line of `section` in the configuration file.
    [[nodiscard]] bool IsArgPresent(KZString const & name, KZString const & section = KZString()) const;
    /// The value of an option from the command line. If it isn't there, the value of the line in `section` of the configuration
    /// file; if that is missing, too, `fallback`. As a bool, an option without a value is true.
    [[nodiscard]] KZString GetArg(KZString const & name, KZString const & section,
                                  KZString const & fallback) const;
    [[nodiscard]] KZString GetArg(KZString const & name, KZString const & section,
                                  char16_t const * fallback) const;
    [[nodiscard]] int GetArg(KZString const & name, KZString const & section, int fallback) const;
    [[nodiscard]] bool GetArg(KZString const & name, KZString const & section, bool fallback) const;
    [[nodiscard]] unsigned int GetArg(KZString const & name, KZString const & section,
                                      unsigned int fallback) const;

    /// Appends a directory to the search path of the process (the environment variable PATH).
    void AddToPath(char16_t const * directory);
    /// Makes the main loop end, as a quit signal does. Doesn't wait for that.
    void PostExitRequest();
    /// Writes the channel to `fileName` as well. Without `keepConsole` the channel isn't written to the console any more.
    void StartLoggingToFile(KZString const & fileName, bool keepConsole);
    /// The same with a file in the debug directory that has the program's name and the extension "log". Other users may share
    /// that directory and know the name in advance, so the file is private: only this user can read it, and nothing is
    /// written if another user has put a link or a file of their own there (KZPlatform::FileProtection::Private).
    void StartLoggingToFile(bool keepConsole);
    /// Adds the options of a part of the program to the usage.
    void AddCustomUsageInfo(KZUsageInfo const & usage);

protected:
    /// Subscribes `subscriber`, or a new console subscriber if it is null, to the application's channel.
    void AddLogSubscriber(KZSmartPtr<KZLogSubscriberI> subscriber);

private:
    void AddFileLog(KZString const & fileName, bool keepConsole, KZPlatform::FileProtection protection);
    // The arguments of `main` as units; the command line points to them.
    struct UnitArguments {
        UnitArguments() = default;
        UnitArguments(int count, char ** arguments);
        std::vector<std::u16string> texts;
        std::vector<char16_t *> pointers;
    };

    void Construct(KZLogSubscriberI * subscriber);
    void SetUp(KZSmartPtr<KZLogSubscriberI> const & given);
    void Withdraw() noexcept;
    void LoadConfiguration();
    [[nodiscard]] KZString FindConfiguration() const;
    void ChooseDebugDirectory();
    void StartFileLogIfAsked(bool noConsole);
    void Publish();
    [[nodiscard]] std::vector<KZUsageInfo> AllUsage() const;

    static KZApplication * glbLastAppP_;
    static KZCriticalSection glbLastAppPCS_;

    UnitArguments units_;
    KZCommandLine commandLine_;
    KZString programPath_;
    KZString startPath_;
    KZString debugPath_;
    KZSmartPtr<KZConfigFile> configFile_;
    unsigned int traceLevel_ = 1;
    unsigned int channel_ = 0;
    KZThread_t mainThread_;
    std::vector<KZSmartPtr<KZLogSubscriberI>> subscribers_;
    std::vector<KZSmartPtr<KZFileLogSubscriber>> fileLogs_;
    KZSmartPtr<KZLogSubscriberI> console_;
    std::vector<KZUsageInfo> customUsage_;
    KZApplication * previous_ = nullptr;
};
