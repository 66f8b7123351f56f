#include "ZerlithCore/diagnostics/KZDebug.h"
#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/diagnostics/KZStackDump.h"
#include "ZerlithCore/errors/KZErrorID.h"

#include "files/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <iostream>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

TEST(KZDebug, AppendsReportsToTheFileThatWasChosen) {
    KZDebug::ChangeErrorLogFileName(u"", u"");
    EXPECT_FALSE(KZDebug::AppendToErrorLog(u"nowhere to go"));
    KZDebug::ChangeErrorLogFileName(u"/no/such/directory", u"x-ERROR.LOG");
    EXPECT_EQ(KZDebug::GetErrorLogFileName(), u"/no/such/directory/x-ERROR.LOG");
    EXPECT_FALSE(KZDebug::AppendToErrorLog(u"can't be opened"));

    TemporaryDirectory const folder;
    std::string const path = folder.Root() / "debug-ERROR.LOG", secret = folder.Root() / "secret";
    KZDebug::ChangeErrorLogFileName(folder.Path(u""), u"debug-ERROR.LOG");
    EXPECT_TRUE(KZDebug::AppendToErrorLog(u"one \u20ac\n") && KZDebug::AppendToErrorLog(u"two\n"));
    std::ofstream(path, std::ios::app) << "a piece";
    EXPECT_TRUE(KZDebug::AppendToErrorLog(u"three\n"));
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));
    EXPECT_EQ(folder.Read(u"debug-ERROR.LOG"), "one \xE2\x82\xAC\ntwo\na piece\nthree\n");

    folder.Remove(u"debug-ERROR.LOG");
    std::filesystem::permissions(folder.Root(), std::filesystem::perms(01777));
    ASSERT_EQ(symlink(secret.c_str(), path.c_str()), 0);
    if (lchown(path.c_str(), 12345, 12345) == 0) {
        EXPECT_FALSE(KZDebug::AppendToErrorLog(u"through a link of somebody else's"));
        EXPECT_FALSE(folder.Exists(u"secret"));
    }
    KZDebug::ChangeErrorLogFileName(u"", u"");
}

std::atomic<int> glbHooked{0};

TEST(KZDebug, CallsEachHookOnce) {
    KZDebug::ReportHook const hook = []() noexcept { ++glbHooked; };
    EXPECT_TRUE(KZDebug::AddReportHook(hook) && KZDebug::AddReportHook(hook));
    KZDebug::CallReportHooks();
    EXPECT_EQ(glbHooked, 1);
}

TEST(KZStackDump, NamesFunctionModuleAndOffset) {
    std::string const text = KZStackDump().GetStackText();
    EXPECT_NE(text.find("NamesFunctionModuleAndOffset"), std::string::npos) << text;
    EXPECT_NE(text.find("[test_diagnostics+0x"), std::string::npos) << text;
}

TEST(KZConsole, KeepsItsPlaceBetweenTheOtherWaysToStandardOutput) {
    testing::internal::CaptureStdout();
    std::printf("a");
    KZGetConsole() << L"\u00e9\U0001F600" << wchar_t(0xD800) << L'\n' << std::flush;
    std::printf("b");
    std::cout << "c" << std::flush;
    KZGetConsole() << 42 << KZString(u"\u20AC\U0001F600");
    EXPECT_TRUE(KZWriteToConsole(u"\xDE00" + std::u16string(2000, u'x')));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "a\xC3\xA9\xF0\x9F\x98\x80\xEF\xBF\xBD\nbc42\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD" +
                  std::string(2000, 'x'));
}

TEST(KZLockedCOUT, KeepsTheLinesOfThreadsWhole) {
    testing::internal::CaptureStdout();
    std::vector<std::thread> threads;
    for (wchar_t const letter : {L'x', L'y', L'z'})
        threads.emplace_back([letter] {
            for (int line = 0; line < 200; ++line) {
                KZLockedCOUT const console;
                KZLockedCOUT const again; // the owner may take it twice
                EXPECT_TRUE(KZLockedCOUT::IsHeldByCaller());
                for (int i = 0; i < 20; ++i) KZLockedCOUT::GetCout(1) << letter;
                KZLockedCOUT::GetCout(1) << std::endl;
                KZLockedCOUT::GetCout(1)
                    << static_cast<wchar_t const *>(nullptr); // mustn't silence the others
            }
        });
    for (std::thread & thread : threads) thread.join();
    EXPECT_FALSE(KZLockedCOUT::IsHeldByCaller());
    std::string const text = testing::internal::GetCapturedStdout();
    ASSERT_EQ(text.size(), 3U * 200 * 21);
    for (std::size_t at = 0; at < text.size(); at += 21)
        EXPECT_EQ(text.substr(at, 21), std::string(20, text[at]) + '\n') << at;
}

} // namespace
