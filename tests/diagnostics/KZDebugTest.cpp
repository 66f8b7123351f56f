#include "ZerlithCore/diagnostics/KZDebug.h"
#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/diagnostics/KZStackDump.h"
#include "ZerlithCore/diagnostics/KZTrace.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/platform/Faults.h"

#include "files/TemporaryDirectory.h"
#include "platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <iostream>
#include <locale>
#include <regex>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

#include <unistd.h>

namespace {

TEST(KZDebug, AppendsReportsToTheFileThatWasChosen) {
    KZDebug::ChangeErrorLogFileName(u"", u"");
    EXPECT_FALSE(KZDebug::AppendToErrorLog(u"nowhere to go"));
    KZDebug::ChangeErrorLogFileName(u"/no/such/directory", u"x-ERROR.LOG");
    EXPECT_EQ(KZDebug::GetErrorLogFileName(), u"/no/such/directory/x-ERROR.LOG");
    KZDebug::ChangeErrorLogFileName(u"/no/such/directory/", u"x-ERROR.LOG");
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

TEST(KZDebug, ComposesTheReportLineByLine) {
    EXPECT_TRUE(
        std::regex_match(KZDebug::ComposeReport(u"what", u"where").AsUTF8(),
                         std::regex("The application .* assistance\\.\nDATE:      "
                                    "\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\nTHREAD:    [1-9]\\d*\n"
                                    "EXCEPTION: what\nSTACK:\nwhere\n\n")));
}

unsigned glbHooked = 0;

template <int number>
void Hook() noexcept {
    glbHooked |= 1U << number;
}

TEST(KZDebug, CallsEachOfEightHooks) {
    for (auto const hook : {Hook<0>, Hook<1>, Hook<2>, Hook<3>, Hook<4>, Hook<5>, Hook<6>, Hook<7>, Hook<0>})
        EXPECT_TRUE(KZDebug::AddReportHook(hook));
    EXPECT_FALSE(KZDebug::AddReportHook(Hook<8>));
    KZDebug::CallReportHooks();
    EXPECT_EQ(glbHooked, 0xFFU);
}

TEST(GlbTraceLevel, IsOneUntilItIsSet) {
    EXPECT_EQ(GlbGetTraceLevel(), 1U);
    GlbSetTraceLevel(3);
    EXPECT_EQ(GlbGetTraceLevel(), 3U);
    GlbSetTraceLevel(1);
}

TEST(KZStackDump, NamesFunctionModuleAndOffset) {
    EXPECT_EQ(KZStackDump().GetCode(), 0U);
    std::string const text = KZStackDump().GetStackText();
    EXPECT_TRUE(std::regex_search(
        text, std::regex("(^|\n)  0x[0-9a-f]+ .*NamesFunctionModuleAndOffset.*\\+0x[0-9a-f]+ "
                         "\\[test_diagnostics\\+0x[0-9a-f]+\\]\n")))
        << text;
}

TEST(KZStackDump, TellsAFault) {
    using enum KZPlatform::FaultAccess;
    auto const at = [](std::uintptr_t number) { return reinterpret_cast<void *>(number); };
    void * stack[] = {at(0x10)};
    std::pair<KZPlatform::Fault, char const *> const cases[] = {
        {{0xC0000005, Read, at(0xA), at(0x1F), stack}, "Access violation (0xc0000005) at 0x1f reading 0xa"},
        {{0xC0000005, Write, at(0), at(0x1F), stack}, "Access violation (0xc0000005) at 0x1f writing 0x0"},
        {{0xC0000005, Execute, at(2), at(2), stack}, "Access violation (0xc0000005) at 0x2 executing 0x2"},
        {{0xC0000094, None, at(0), at(0x1F), stack}, "Integer division by zero (0xc0000094) at 0x1f"},
        {{7, None, at(0), at(0x1F), stack}, "Fault (0x7) at 0x1f"},
    };
    for (auto const & [fault, text] : cases) {
        KZStackDump const dump(fault);
        EXPECT_EQ(dump.GetExceptionText(), text);
        EXPECT_EQ(dump.GetStackText(), "  0x10 ?\n");
        EXPECT_EQ(dump.GetCode(), fault.code);
        EXPECT_NE(dump.GetReport().find(text + std::string("\nSTACK:\n  0x10 ?\n")), std::string::npos);
    }
}

struct Grouped : std::numpunct<wchar_t> {
    std::string do_grouping() const override { return "\1"; }
};

TEST(KZConsole, KeepsItsPlaceBetweenTheOtherWaysToStandardOutput) {
    std::locale const former = std::locale::global(std::locale(std::locale(), new Grouped));
    testing::internal::CaptureStdout();
    std::printf("a");
    KZGetConsole() << L"\u00e9\U0001F600" << wchar_t(0xD800) << L'\n' << std::flush;
    std::printf("b");
    std::cout << "c" << std::flush;
    KZGetConsole() << 42 << KZString(u"\u20AC\U0001F600");
    EXPECT_EQ(KZGetConsole().rdbuf()->pubsync(), 0);
    EXPECT_TRUE(KZWriteToConsole(u"\xDE00" + std::u16string(2000, u'x')));
    std::locale::global(former);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "a\xC3\xA9\xF0\x9F\x98\x80\xEF\xBF\xBD\nbc42\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD" +
                  std::string(2000, 'x'));
}

TEST(KZConsole, TellsWhatStandardOutputDoesNotTake) {
    ChildProcess child([] {
        if (!std::freopen("/dev/full", "w", stdout)) return 1;
        bool const isFlushed = (KZGetConsole() << L"x" << std::flush).good();
        std::setvbuf(stdout, nullptr, _IONBF, 0);
        return isFlushed || (KZLockedCOUT::GetCout(1) << L"y").good() ? 2 : 0;
    });
    EXPECT_EQ(child.Status(), 0);
}

TEST(KZLockedCOUT, KeepsTheLinesOfThreadsWhole) {
    testing::internal::CaptureStdout();
    std::vector<std::thread> threads;
    for (wchar_t const letter : {L'x', L'y', L'z'})
        threads.emplace_back([letter] {
            for (int line = 0; line < 200; ++line) {
                KZLockedCOUT const console;
                EXPECT_TRUE(KZLockedCOUT::IsHeldByCaller());
                KZLockedCOUT const again; // the owner may take it twice
                for (int i = 0; i < 20; ++i) KZLockedCOUT::GetCout(1) << letter;
                KZLockedCOUT::GetCout(1) << std::endl;
                KZLockedCOUT::GetCout(1)
                    << static_cast<wchar_t const *>(nullptr); // must not stop the output of the others
            }
        });
    for (std::thread & thread : threads) thread.join();
    EXPECT_FALSE(KZLockedCOUT::IsHeldByCaller());
    std::string const text = testing::internal::GetCapturedStdout();
    ASSERT_EQ(text.size(), 3U * 200 * 21);
    for (std::size_t at = 0; at < text.size(); at += 21)
        EXPECT_EQ(text.substr(at, 21), std::string(20, text[at]) + '\n') << at;
}

TEST(KZLockedCOUT, TakesItsStreamFromTheSource) {
    static std::wostringstream streams[2];
    KZLockedCOUT::SetStreamSource([](unsigned int level) -> std::wostream & { return streams[level]; });
    KZLockedCOUT::GetCout(1) << L"told";
    KZLockedCOUT::SetStreamSource(nullptr);
    EXPECT_EQ(streams[1].str(), L"told");
    KZLockedCOUT const console;
    std::thread([] { EXPECT_FALSE(KZLockedCOUT::IsHeldByCaller()); }).join();
}

} // namespace
