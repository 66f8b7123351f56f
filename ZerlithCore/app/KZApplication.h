/// @file
/// The object that a program makes first.
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

/// The frame of a program: its command line, configuration file, trace level, log channel and error log.
///
/// Applications nest: the newest is the one that `GetApp` gives, until it is destroyed.
///
/// The command line's own options: `/config:{filename}`, `/trace:{level}`, `/consoleToFile[:filename]`, `/noConsole`.
/// The last three may stand in the configuration file's section "KZCore" as well, "DebugPath" with them. The
/// configuration file is the one named by `/config`, else the program's name with the extension "ini", beside the
/// program or in the current directory.
///
/// Thread safety: construction and destruction belong to the main thread; the questions may then be asked on any.
class KZ_EXPORT KZApplication {
public:
    /// Builds the frame from the arguments of `main`, as units. `arguments` stays the caller's and must live as long.
    /// A `subscriber` takes the place of the console; it is counted, so pass a new one or hold a handle on it.
    KZApplication(int count, char16_t ** arguments, KZLogSubscriberI * subscriber = nullptr);
    /// The same from the bytes that the system passes (UTF-8).
    KZApplication(int count, char ** arguments, KZLogSubscriberI * subscriber = nullptr);
    /// The same from one text, which is split as a command line.
    explicit KZApplication(KZString const & commandLine, KZLogSubscriberI * subscriber = nullptr);
    KZApplication(KZApplication const &) = delete;
    KZApplication & operator=(KZApplication const &) = delete;

    /// Takes the application's subscribers off its channel and makes the previous application the current one. When its log
    /// files could not take all, a line on standard output tells how many messages are missing.
    virtual ~KZApplication();

    /// The options of the application itself.
    virtual KZUsageInfo GetUsageInfo() const;
    /// Writes the usage of the program to `stream`, or to the application's console if it is null.
    virtual void DisplayUsage(std::wostream * stream = nullptr) const;
    /// Writes the usage and returns true if "help" or "?" is among the options.
    virtual bool DisplayUsageIfNecessary(std::wostream * stream = nullptr) const;
    /// Asks the program to end; does nothing at this level.
    virtual void RequestExit(bool wait);
    virtual bool IsAppWithPlugIn() const;

    /// The newest application; null when there is none.
    static KZApplication * GetApp();
    /// The one log manager of the process.
    static KZLogManager & GetLogManager();

    [[nodiscard]] KZCommandLine const & GetCmdLine() const noexcept { return commandLine_; }
    /// Null when the program runs without one.
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
    /// The stream of the application's channel at `level`. Writers from several threads go through KZLockedCOUT.
    [[nodiscard]] std::wostream & GetCout(unsigned int level) const;

    /// True if `name` is an option of the command line, or a line of `section` in the configuration file.
    [[nodiscard]] bool IsArgPresent(KZString const & name, KZString const & section = KZString()) const;
    /// The value of an option: from the command line, else from `section` of the configuration file, else `fallback`.
    /// As a bool, an option without a value is true.
    [[nodiscard]] KZString GetArg(KZString const & name, KZString const & section,
                                  KZString const & fallback) const;
    [[nodiscard]] KZString GetArg(KZString const & name, KZString const & section,
                                  char16_t const * fallback) const;
    [[nodiscard]] int GetArg(KZString const & name, KZString const & section, int fallback) const;
    [[nodiscard]] bool GetArg(KZString const & name, KZString const & section, bool fallback) const;
    [[nodiscard]] unsigned int GetArg(KZString const & name, KZString const & section,
                                      unsigned int fallback) const;

    /// Appends a directory to the process's search path (the environment variable PATH).
    void AddToPath(char16_t const * directory);
    /// Has the main loop end as a quit signal would.
    void PostExitRequest();
    /// Has the channel written to `fileName` as well; the console goes on only if `keepConsole` is true.
    void StartLoggingToFile(KZString const & fileName, bool keepConsole);
    /// The same to a file in the debug directory, named by the program with the extension "log". Others may know that name
    /// before and share the directory, so the file is private: it is made for this user only, and not written where
    /// somebody else has put a link or a file of theirs (KZPlatform::FileProtection::Private).
    void StartLoggingToFile(bool keepConsole);
    /// Adds the options of a part of the program to the usage.
    void AddCustomUsageInfo(KZUsageInfo const & usage);

protected:
    /// Subscribes `subscriber`, or a new console subscriber if it is null, to the application's channel.
    void AddLogSubscriber(KZSmartPtr<KZLogSubscriberI> subscriber);

private:
    void AddFileLog(KZString const & fileName, bool keepConsole, KZPlatform::FileProtection protection);
    // The bytes of `main`, as the units that the command line refers to.
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
