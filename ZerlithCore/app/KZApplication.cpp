// The constructor does its steps in the order that the header lists: arguments, configuration, trace level, log
// channel, debug directory.
#include "ZerlithCore/app/KZApplication.h"

#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/diagnostics/KZDebug.h"
#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/diagnostics/KZTrace.h"
#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/files/KZFile.h"
#include "ZerlithCore/files/KZPath.h"
#include "ZerlithCore/log/KZConsoleLogSubscriber.h"
#include "ZerlithCore/platform/Files.h"
#include "ZerlithCore/platform/Modules.h"
#include "ZerlithCore/platform/Process.h"
#include "ZerlithCore/platform/Signals.h"
#include "ZerlithCore/threads/KZThread.h"

#include <algorithm>
#include <new>
#include <optional>
#include <ostream>
#include <utility>

namespace {

constexpr char16_t const * coreSection = u"KZCore";
constexpr char16_t const * channelName = u"KZApplicationChannel";

// The options that take the next argument as their value; none when long options aren't asked for. Guarded by the lock of the
// newest application.
std::optional<std::vector<KZString>> glbLongOptions;

std::wostream & ApplicationConsole(unsigned int level) {
    KZApplication const * const application = KZApplication::GetApp();
    return application ? application->GetCout(level) : KZGetConsole();
}

KZString EnvironmentDirectory(char16_t const * variable) {
    KZString const value(KZPlatform::GetEnvironment(variable).value_or(std::u16string()));
    return !value.IsNull() && KZPlatform::IsDirectory(std::u16string_view(value)) ? value : KZString();
}

/// Closes a log file that nobody writes to any more, and reports on the console how many messages it has lost.
void TellLostRecords(KZFileLogSubscriber & log) noexcept {
    try {
        log.Close();
        std::uint64_t const lost = log.GetLostRecordCount();
        if (lost == 0) return;
        KZGetConsole() << L"WARNING: " << lost << L" messages could not be written to " << log.GetFileName()
                       << std::endl;
    } catch (std::bad_alloc const &) {
        // There is no memory for the report either.
    }
}

} // namespace

KZApplication * KZApplication::glbLastAppP_ = nullptr;
constinit KZCriticalSection KZApplication::glbLastAppPCS_;

// --- Construction

KZApplication::UnitArguments::UnitArguments(int count, char ** arguments) {
    for (int i = 0; i < count; ++i)
        texts.push_back(KZEncoding::Utf8ToUnits(arguments[i], KZEncoding::Utf8Mode::Escape));
    for (std::u16string & text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
}

KZApplication::KZApplication(int count, char16_t ** arguments, KZLogSubscriberI * subscriber)
    : commandLine_(static_cast<unsigned int>(std::max(count, 0)), arguments, u"/-", u":", false) {
    Construct(subscriber);
}

KZApplication::KZApplication(int count, char ** arguments, KZLogSubscriberI * subscriber)
    : units_(count, arguments)
    , commandLine_(static_cast<unsigned int>(units_.texts.size()), units_.pointers.data(), u"/-", u":",
                   false) {
    Construct(subscriber);
}

KZApplication::KZApplication(KZString const & commandLine, KZLogSubscriberI * subscriber)
    : commandLine_(commandLine, u"/-", u":", false) {
    Construct(subscriber);
}

void KZApplication::Construct(KZLogSubscriberI * subscriber) {
    try {
        SetUp(KZSmartPtr<KZLogSubscriberI>(subscriber));
    } catch (...) {
        Withdraw();
        throw;
    }
}

void KZApplication::UseLongOptions(std::vector<KZString> const & withValue) {
    std::vector<KZString> names{u"config", u"trace", u"osxpath"};
    names.insert(names.end(), withValue.begin(), withValue.end());
    KZGuard<KZCriticalSection> const guard(glbLastAppPCS_);
    glbLongOptions = std::move(names);
}

void KZApplication::SetUp(KZSmartPtr<KZLogSubscriberI> const & given) {
    {
        KZGuard<KZCriticalSection> const guard(glbLastAppPCS_);
        if (glbLongOptions) commandLine_.UseLongOptions(*glbLongOptions);
    }
    programPath_ = KZString(KZPlatform::GetExecutablePath());
    LoadConfiguration();
    SetTraceLevel(GetArg(u"trace", coreSection, 1U));
    bool const noConsole = GetArg(u"NoConsole", coreSection, false);
    startPath_ = KZString(KZPlatform::GetWorkingDirectory());

    KZLogManager & manager = GetLogManager();
    manager.Init();
    channel_ = manager.AddChannel(channelName);
    if (!given.IsNull() || !noConsole) AddLogSubscriber(given);
    Publish();

    ChooseDebugDirectory();
    KZDebug::ChangeErrorLogFileName(debugPath_, GetAppName() + u"-ERROR.LOG");
    StartFileLogIfAsked(noConsole);
    mainThread_ = KZThread::GetCurrentThreadID();
}

KZString KZApplication::FindConfiguration() const {
    if (commandLine_.ArgPresent(u"config")) return commandLine_.GetArg(u"config", KZString());
    KZString const name = GetAppName() + u".ini";
    KZString const beside = KZPath::Join(GetAppPath(), name);
    for (KZString const & candidate : {beside, name})
        if (KZFile::IsReadable(candidate)) return candidate;
    return {};
}

void KZApplication::LoadConfiguration() {
    KZString const name = FindConfiguration();
    if (!name.IsNull()) configFile_ = KZConfigFile::Load(name);
    // Straight to standard output: the application has no channel yet.
    if (configFile_.IsNull())
        KZGetConsole() << L"\nWARNING: attempting to run without a configuration file!" << std::endl;
}

void KZApplication::ChooseDebugDirectory() {
    debugPath_ = u".";
    if (!configFile_.IsNull()) {
        debugPath_ = configFile_->GetString(coreSection, u"DebugPath", u".");
        return;
    }
    for (char16_t const * variable : {u"TMP", u"TMPDIR"}) {
        KZString const directory = EnvironmentDirectory(variable);
        if (directory.IsNull()) continue;
        debugPath_ = directory;
        return;
    }
}

void KZApplication::StartFileLogIfAsked(bool noConsole) {
    constexpr char16_t const * option = u"ConsoleToFile";
    if (!IsArgPresent(option, coreSection)) return;
    KZString const fileName = GetArg(option, coreSection, u"");
    if (fileName.IsNull())
        StartLoggingToFile(!noConsole);
    else
        StartLoggingToFile(fileName, !noConsole);
}

void KZApplication::Publish() {
    KZLockedCOUT::SetStreamSource(&ApplicationConsole);
    KZGuard<KZCriticalSection> const guard(glbLastAppPCS_);
    previous_ = glbLastAppP_;
    glbLastAppP_ = this;
}

KZApplication::~KZApplication() {
    // Not the stream's own flush: that throws if the program has switched exceptions on.
    GetCout(0).rdbuf()->pubsync();
    Withdraw();
    for (KZSmartPtr<KZFileLogSubscriber> const & log : fileLogs_) TellLostRecords(*log);
}

void KZApplication::Withdraw() noexcept {
    for (KZSmartPtr<KZLogSubscriberI> const & subscriber : subscribers_)
        GetLogManager().UnSubscribe(channel_, subscriber);

    KZGuard<KZCriticalSection> const guard(glbLastAppPCS_);
    // This application may not be the newest, so it is looked for in the chain.
    KZApplication ** link = &glbLastAppP_;
    while (*link && *link != this) link = &(*link)->previous_;
    if (*link) *link = previous_;
}

// --- Usage

KZUsageInfo KZApplication::GetUsageInfo() const {
    KZUsageInfo usage;
    usage.AddCmdLineArgDesc(
        u"config:{filename}",
        u"Specify the configuration file. The default is the name of the program with the "
        u"extension INI, beside the program or in the current directory.");
    usage.AddCmdLineArgDesc(
        u"trace:{tracelevel}",
        u"Specify how much the program tells: 0 for nothing but errors, 1 for the usual course, "
        u"more for more.");
    usage.AddCmdLineArgDesc(
        u"consoleToFile[:filename]",
        u"Write the console output to a file as well. The default is the name of the program "
        u"with the extension LOG, in the debug directory.");
    usage.AddCmdLineArgDesc(u"noConsole", u"Write nothing to the console.");
    return usage;
}

std::vector<KZUsageInfo> KZApplication::AllUsage() const {
    std::vector<KZUsageInfo> all{GetUsageInfo()};
    all.insert(all.end(), customUsage_.begin(), customUsage_.end());
    return all;
}

void KZApplication::DisplayUsage(std::wostream * stream) const {
    KZLockedCOUT console;
    KZWriteUsage(stream ? *stream : console.GetCout(0), GetAppName(), AllUsage(),
                 commandLine_.UsesLongOptions());
}

bool KZApplication::DisplayUsageIfNecessary(std::wostream * stream) const {
    if (!commandLine_.ArgPresent(u"help") && !commandLine_.ArgPresent(u"?")) return false;
    DisplayUsage(stream);
    return true;
}

bool KZApplication::ReportUnknownOptions(std::wostream * stream) const {
    std::vector<KZString> known{u"help", u"?"}, unknown;
    for (KZUsageInfo const & info : AllUsage())
        for (KZString const & name : info.GetCmdLineArgNames()) known.push_back(name);
    if (commandLine_.GetInvalidArguments(known, unknown) == 0) return false;
    KZLockedCOUT console;
    std::wostream & out = stream ? *stream : console.GetCout(0);
    char16_t const * const lead = commandLine_.UsesLongOptions() ? u"--" : u"/";
    for (KZString const & name : unknown) out << L"The option " << (lead + name) << L" is unknown.\n";
    out << L"The options are listed by " << KZString(lead) << L"help." << std::endl;
    return true;
}

void KZApplication::AddCustomUsageInfo(KZUsageInfo const & usage) { customUsage_.push_back(usage); }

// --- Life

void KZApplication::RequestExit(bool) {}

bool KZApplication::IsAppWithPlugIn() const { return false; }

void KZApplication::PostExitRequest() { KZPlatform::RequestQuit(); }

KZApplication * KZApplication::GetApp() {
    KZGuard<KZCriticalSection> const guard(glbLastAppPCS_);
    return glbLastAppP_;
}

KZLogManager & KZApplication::GetLogManager() {
    static KZLogManager manager;
    return manager;
}

// --- Questions

void KZApplication::SetTraceLevel(unsigned int level) {
    traceLevel_ = level;
    GlbSetTraceLevel(level);
    if (!console_.IsNull())
        GetLogManager().ChangeSubscriptionLevel(channel_, console_, static_cast<int>(level));
}

KZString KZApplication::GetAppPath() const { return KZPath(programPath_).GetDirectory(); }

KZString KZApplication::GetAppName(bool withPath, bool withExtension) const {
    KZPath const path(programPath_);
    KZString const name = withExtension ? path.GetFileName() : path.GetBaseName();
    return withPath ? KZPath::Join(path.GetDirectory(), name) : name;
}

std::wostream & KZApplication::GetCout(unsigned int level) const {
    return (*GetLogManager().GetChannel(channel_))->GetStream().GetStream(static_cast<int>(level));
}

bool KZApplication::IsArgPresent(KZString const & name, KZString const & section) const {
    return commandLine_.ArgPresent(name) ||
           (!configFile_.IsNull() && configFile_->IsLinePresent(section, name));
}

KZString KZApplication::GetArg(KZString const & name, KZString const & section,
                               KZString const & fallback) const {
    if (commandLine_.ArgPresent(name)) return commandLine_.GetArg(name, fallback);
    return configFile_.IsNull() ? fallback : configFile_->GetString(section, name, fallback);
}

KZString KZApplication::GetArg(KZString const & name, KZString const & section,
                               char16_t const * fallback) const {
    return GetArg(name, section, KZString(fallback));
}

int KZApplication::GetArg(KZString const & name, KZString const & section, int fallback) const {
    return IsArgPresent(name, section) ? GetArg(name, section, KZString()).AsInt() : fallback;
}

bool KZApplication::GetArg(KZString const & name, KZString const & section, bool fallback) const {
    if (!commandLine_.ArgPresent(name))
        return configFile_.IsNull() ? fallback : configFile_->GetBool(section, name, fallback);
    KZConfigLine line;
    line.SetValue(commandLine_.GetArg(name, KZString()));
    return line.GetValue().IsNull() || line.GetValueAsBool();
}

unsigned int KZApplication::GetArg(KZString const & name, KZString const & section,
                                   unsigned int fallback) const {
    return IsArgPresent(name, section) ? GetArg(name, section, KZString()).AsUint() : fallback;
}

// --- Environment and logging

void KZApplication::AddToPath(char16_t const * directory) {
    KZString const added(directory);
    if (added.IsNull()) return;
    KZString path(KZPlatform::GetEnvironment(u"PATH").value_or(std::u16string()));
    if (!path.IsNull()) path += KZPlatform::pathListSeparator;
    path += added;
    KZPlatform::SetEnvironment(u"PATH", std::u16string_view(path));
}

void KZApplication::AddLogSubscriber(KZSmartPtr<KZLogSubscriberI> subscriber) {
    if (subscriber.IsNull()) {
        subscriber = new KZConsoleLogSubscriber(static_cast<int>(traceLevel_));
        console_ = subscriber;
    }
    subscribers_.push_back(subscriber);
    if (!GetLogManager().Subscribe(channel_, subscriber)) subscribers_.pop_back();
}

void KZApplication::AddFileLog(KZString const & fileName, bool keepConsole,
                               KZPlatform::FileProtection protection) {
    constexpr bool autoFlush = true;
    constexpr bool append = false;
    fileLogs_.emplace_back(
        new KZFileLogSubscriber(fileName, static_cast<int>(traceLevel_), autoFlush, append, protection));
    AddLogSubscriber(fileLogs_.back());
    if (keepConsole || console_.IsNull()) return;
    GetLogManager().UnSubscribe(channel_, console_);
    std::erase(subscribers_, console_);
    console_.Clear();
}

void KZApplication::StartLoggingToFile(KZString const & fileName, bool keepConsole) {
    AddFileLog(fileName, keepConsole, KZPlatform::FileProtection::Usual);
}

void KZApplication::StartLoggingToFile(bool keepConsole) {
    AddFileLog(KZPath::Join(debugPath_, GetAppName() + u".log"), keepConsole,
               KZPlatform::FileProtection::Private);
}
