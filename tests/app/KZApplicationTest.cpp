#include "ZerlithCore/app/KZApplicationWithPlugIns.h"
#include "ZerlithCore/diagnostics/KZDebug.h"
#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/diagnostics/KZTrace.h"
#include "app/HostProcess.h"
#include "platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

namespace {

// Collects the messages of the application's channel, and keeps them off the console.
class Capture : public KZLogSubscriberI {
public:
    explicit Capture(std::string & text) : KZLogSubscriberI(9), text_(text) {}
    void OnFlush(int level, KZString const & text) override {
        text_ += std::to_string(level) + ':' + text.AsUTF8();
    }

private:
    std::string & text_;
};

KZString Units(std::string const & text) {
    KZString units;
    static_cast<void>(units.SetFromUTF8(text));
    return units;
}

struct Fixture : testing::Test {
    TestDirectory place;
    std::string told;
    KZSmartPtr<KZLogSubscriberI> capture{new Capture(told)};
    KZString Line(std::string const & options) const { return Units("tool " + options); }
    std::string Config(std::string const & text) const {
        return "/config:" + place.Write("tool.ini", text) + ' ';
    }
};

using KZApplicationTest = Fixture;

TEST_F(KZApplicationTest, WithoutConfigurationTheEnvironmentNamesTheDebugDirectory) {
    setenv("TMP", "/no/such/directory", 1);
    setenv("TMPDIR", place.Path().c_str(), 1);
    KZApplication const application(Line(""), capture);
    EXPECT_TRUE(application.GetConfigFile().IsNull());
    EXPECT_EQ(application.GetTraceLevel(), 1U);
    EXPECT_EQ(application.GetTmpDirectory(), Units(place.Path()));
    EXPECT_EQ(application.GetAppName(), u"test_app");
    EXPECT_EQ(KZDebug::GetErrorLogFileName(), Units(place.Path("test_app-ERROR.LOG")));
    EXPECT_EQ(application.GetAppName(true), application.GetAppPath() + u"/test_app");
    unsetenv("TMP");
    unsetenv("TMPDIR");
}

TEST_F(KZApplicationTest, AsksTheCommandLineThenTheConfigurationThenTheDefault) {
    KZApplication const application(
        Line(Config("[KZCore]\ntrace=3\nDebugPath=/var/tmp\n[A]\nboth=file\nfile=7\nyes=on\nno=off\n") +
             "/both:line /flag /off:no /hex:12"),
        capture);
    EXPECT_EQ(application.GetTraceLevel(), 3U);
    EXPECT_EQ(GlbGetTraceLevel(), 3U);
    EXPECT_EQ(application.GetTmpDirectory(), u"/var/tmp");
    EXPECT_EQ(application.GetArg(u"both", u"A", u"default"), u"line");
    EXPECT_EQ(application.GetArg(u"BOTH", u"a", u"default"), u"line");
    EXPECT_EQ(application.GetArg(u"file", u"A", 1), 7);
    EXPECT_EQ(application.GetArg(u"hex", u"A", 1U), 12U);
    EXPECT_EQ(application.GetArg(u"none", u"A", u"default"), u"default");
    EXPECT_EQ(application.GetArg(u"none", u"A", -5), -5);
    EXPECT_TRUE(application.GetArg(u"flag", u"A", false));
    EXPECT_FALSE(application.GetArg(u"off", u"A", true));
    EXPECT_TRUE(application.GetArg(u"yes", u"A", false));
    EXPECT_FALSE(application.GetArg(u"no", u"A", true));
    EXPECT_TRUE(application.GetArg(u"none", u"A", true) && application.IsArgPresent(u"file", u"A"));
    EXPECT_FALSE(application.IsArgPresent(u"file", u"B"));
    GlbSetTraceLevel(1);
}

TEST_F(KZApplicationTest, ApplicationsNestAndLeaveTheirChannelsSilent) {
    EXPECT_EQ(KZApplication::GetApp(), nullptr);
    auto outer = std::make_unique<KZApplication>(Line(Config("")), capture);
    std::string inner;
    unsigned int channel = 0;
    {
        KZApplication const application(Line(Config("")), new Capture(inner));
        channel = application.GetChannelIndex();
        EXPECT_EQ(KZApplication::GetApp(), &application);
        KZLockedCOUT().GetCout(2) << L"to the newest" << std::flush;
        EXPECT_EQ(KZApplicationWithPlugIns::GetApp(), nullptr);
    }
    EXPECT_EQ(KZApplication::GetApp(), outer.get());
    (*KZApplication::GetLogManager().GetChannel(channel))->GetStream().GetStream(1)
        << L"nobody" << std::flush;
    KZLockedCOUT().GetCout(0) << L"to the other" << std::flush;
    EXPECT_EQ(inner, "2:to the newest");
    EXPECT_EQ(told, "0:to the other");
    outer.reset();
    EXPECT_EQ(KZApplication::GetApp(), nullptr);
}

TEST_F(KZApplicationTest, LogsToAFileBesideOrInPlaceOfTheConsole) {
    std::string const path = place.Path("test_app.log"), secret = place.Write("secret", "precious");
    auto const log = [&](char const * name) {
        KZApplication const application(Line(
            Config("[KZCore]\nDebugPath=" + place.Path() + "\nNoConsole=yes\nConsoleToFile=" + name + "\n")));
        KZLockedCOUT().GetCout(1) << L"in the file" << std::endl;
    };
    log("");
    EXPECT_EQ(place.Read("test_app.log"), "in the file\n");
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));

    std::filesystem::remove(path);
    std::filesystem::create_symlink(secret, path);
    if (lchown(path.c_str(), 12345, 12345) != 0) GTEST_SKIP() << "only root can make somebody else's link";
    log("");
    EXPECT_EQ(place.Read("secret"), "precious") << "somebody else's link isn't followed";
}

TEST_F(KZApplicationTest, ShowsItsUsageInColumns) {
    KZApplicationWithPlugIns application(Line(Config("") + "/help"), capture);
    KZUsageInfo own;
    own.SetGeneralInfo(u"Counts things.");
    own.AddCmdLineArgDesc(u"much-too-long-for-the-column:{value}", u"What it is for.");
    application.AddCustomUsageInfo(own);
    std::wostringstream out;
    EXPECT_FALSE(KZApplication(Line(Config("")), capture).DisplayUsageIfNecessary(&out));
    EXPECT_TRUE(KZApplication(Line(Config("") + "/?"), capture).DisplayUsageIfNecessary(&out));
    out.str({});
    EXPECT_TRUE(application.DisplayUsageIfNecessary(&out));
    std::wstring const text = out.str(), banner(78, L'*');
    EXPECT_EQ(text.find(banner + L'\n' + banner + L"\nUSAGE: test_app [options list] \n" + banner +
                        L"\nOptions list: \n"),
              0U)
        << testing::PrintToString(text);
    EXPECT_NE(text.find(L"   /noConsole            Write nothing to the console."), std::wstring::npos);
    EXPECT_NE(text.find(L"   /osxpath:{directory}  Specify to load"), std::wstring::npos);
    EXPECT_NE(text.find(L"   /much-too-long-for-the-column:{value}\n"), std::wstring::npos);
    EXPECT_LT(text.find(L"noConsole"), text.find(L"Counts things."));
}

TEST_F(KZApplicationTest, TellsUnknownOptions) {
    KZApplicationWithPlugIns application(Line(Config("") + "/Trace:1 /osxpath:x /?  /help /-a:b /c file"),
                                         capture);
    std::wostringstream out;
    EXPECT_TRUE(application.ReportUnknownOptions(&out));
    EXPECT_EQ(out.str(), L"The option /-a is unknown.\nThe option /c is unknown.\n"
                         L"The options are listed by /help.\n");
    KZUsageInfo own;
    own.AddCmdLineArgDesc("-a:{x}", "");
    own.AddCmdLineArgDesc("C", "");
    application.AddCustomUsageInfo(own);
    EXPECT_FALSE(application.ReportUnknownOptions(&out));
}

// In a process of its own, since long options are asked for until the process ends.
TEST_F(KZApplicationTest, TakesLongOptionsWhenAskedBefore) {
    auto const body = [&] {
        KZApplication const before(Line(Config("[KZCore]\nDebugPath=/var/tmp\n") + "--trace=4"), capture);
        KZApplication::UseLongOptions({u"port"});
        EXPECT_EQ(before.GetTraceLevel(), 1U);
        std::string const config = "--config " + place.Path("tool.ini");
        KZApplicationWithPlugIns const application(Line(config + " --port 80 --trace=2 --prot"), capture);
        EXPECT_EQ(application.GetTmpDirectory(), u"/var/tmp");
        EXPECT_EQ(application.GetTraceLevel(), 2U);
        EXPECT_EQ(application.GetArg(u"port", KZString(), 0), 80);
        std::wostringstream out;
        EXPECT_TRUE(application.ReportUnknownOptions(&out));
        EXPECT_EQ(out.str(), L"The option --port is unknown.\nThe option --prot is unknown.\n"
                             L"The options are listed by --help.\n");
        application.DisplayUsage(&out);
        EXPECT_NE(out.str().find(L"\n  --consoleToFile[=filename]\n"), std::wstring::npos);
        return HasFailure() ? 1 : 0;
    };
    EXPECT_EQ(ChildProcess(body).Status(), 0);
}

} // namespace
