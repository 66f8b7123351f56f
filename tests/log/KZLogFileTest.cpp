#include "ZerlithCore/log/KZLogFile.h"

#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/diagnostics/KZDebug.h"
#include "ZerlithCore/log/KZConsoleLogSubscriber.h"
#include "ZerlithCore/log/KZDualLogStream.h"
#include "ZerlithCore/log/KZFileLogSubscriber.h"
#include "ZerlithCore/log/detail/LogStamp.h"
#include "ZerlithCore/platform/Clock.h"

#include "files/TemporaryDirectory.h"
#include "platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

class KZLogFileTest : public testing::Test {
protected:
    /// The content of the file as units in the machine's byte order.
    std::u16string Units() const {
        std::string const bytes = folder.Read(u"x.log");
        EXPECT_EQ(bytes.size() % 2, 0U);
        std::u16string units(bytes.size() / 2, u'\0');
        std::memcpy(units.data(), bytes.data(), units.size() * 2);
        return units;
    }
    std::vector<std::u16string> Lines() const {
        std::u16string const units = Units();
        std::vector<std::u16string> lines;
        for (std::size_t at = 0, end = 0; at < units.size(); at = end + 2) {
            end = units.find(u"\r\n", at);
            if (end == std::u16string::npos) {
                ADD_FAILURE() << "the file ends in mid-line";
                break;
            }
            lines.push_back(units.substr(at, end - at));
        }
        return lines;
    }

    TemporaryDirectory folder;
    KZString const path = folder.Path(u"x.log");
};

TEST(LogStamp, IsLocalTimeToTheSecond) {
    char const * const zone = std::getenv("TZ");
    std::string const before = zone ? zone : "";
    setenv("TZ", "XXX-1", 1); // an hour ahead of UTC
    tzset();
    KZDetail::LogStamp stamp;
    EXPECT_EQ(stamp.At(1'772'420'706'000), u"20260302 040506> ");
    EXPECT_EQ(stamp.At(1'772'420'706'999), u"20260302 040506> ");
    EXPECT_EQ(stamp.At(1'772'420'707'000), u"20260302 040507> ");
    EXPECT_EQ(stamp.At(-1), u"19700101 005959> ");
    EXPECT_EQ(stamp.At(0), u"19700101 010000> ");
    EXPECT_EQ(stamp.At(-62'135'596'800'000), u"00010101 010000> ");
    zone ? setenv("TZ", before.c_str(), 1) : unsetenv("TZ");
    tzset();
}

TEST_F(KZLogFileTest, PutStringKeepsOneCallOnOneLine) {
    std::pair<char16_t const *, char16_t const *> const cases[] = {
        {nullptr, u""},
        {u"", u""},
        {u"a", u"a"},
        {u"a\nb\n", u"a~b\r\n"},
        {u"\nb", u"~b"},
        {u"\n", u"\r\n"},
        {u"\n\n", u"~\r\n"},
        {u"a\r\n", u"a\r\n"},
        {u"a\r\nb\r", u"a\r~b\r"},
        {u"\r\n", u"\r\n"},
        {u"\xD83D\n", u"\xD83D\r\n"},
    };
    std::u16string expected;
    KZLogFile log;
    ASSERT_TRUE(log.Open(path.c_str()));
    for (auto const & [text, written] : cases) {
        log.PutString(text);
        expected += written;
    }
    EXPECT_EQ(Units(), u"");
    log.Flush();
    EXPECT_EQ(Units(), expected);
}

TEST_F(KZLogFileTest, LogWritesStampedLines) {
    constexpr std::size_t limit = 16365;
    std::u16string const atLimit(limit, u'x'), beyond(limit + 1, u'x'),
        pair = std::u16string(limit - 1, u'x') + u"\U0001F600";
    struct Case {
        char16_t const *format, *argument;
        std::u16string line;
    };
    Case const cases[] = {
        {u"x=%s\n", u"1", u"x=1"},
        {u"x=%s", u"2", u"x=2"},
        {u"%s", u"a\nb\n", u"a~b~"}, // a missing line end is judged by the format, not by the text
        {u"%s", u"a\r\n", u"a\r~"},
        {u"%s\r\n", u"b", u"b"},
        {u"%s\n", u"", u""},
        {u"%s%s%s", nullptr, u"(null)"},
        {u"%s\n", atLimit.c_str(), atLimit},
        {u"%s\n", beyond.c_str(), atLimit},
        {u"%s", beyond.c_str(), atLimit},
        {u"%s", pair.c_str(), std::u16string(limit - 1, u'x')},
    };
    KZDetail::LogStamp stamp;
    KZLogFile log;
    log.Log(u"closed");
    ASSERT_TRUE(log.Open(path.c_str()));
    std::vector<std::u16string> before, after;
    for (std::size_t i = 0; i < 2 * std::size(cases); ++i) {
        Case const & c = cases[i / 2];
        before.emplace_back(stamp.At(KZPlatform::WallClockMilliseconds()));
        i % 2 == 0 ? log.Log(c.format, c.argument, u"", u"") : log.Log(c.format, c.argument, KZString(), u"");
        after.emplace_back(stamp.At(KZPlatform::WallClockMilliseconds()));
    }
    log.Close();
    log.Log(u"closed");
    EXPECT_FALSE(log.IsOpen());
    std::vector<std::u16string> const lines = Lines();
    ASSERT_EQ(lines.size(), 2 * std::size(cases));
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::u16string const & line = cases[i / 2].line;
        EXPECT_TRUE(lines[i] == before[i] + line || lines[i] == after[i] + line) << "case " << i;
    }
}

TEST_F(KZLogFileTest, AnEmptyFormatLeavesTheLineOpen) {
    KZLogFile log;
    log.SetAutoFlush(true);
    ASSERT_TRUE(log.GetAutoFlush() && log.Open(path.c_str()));
    log.Log(u"");
    EXPECT_EQ(Units().size(), 17U);
    log.PutString(u"x\n");
    log.PutDateTime();
    EXPECT_EQ(Units().substr(17, 3), u"x\r\n");
    EXPECT_EQ(Units().size(), 37U) << "each call has reached the file";
    log.Close();
    ASSERT_TRUE(log.Open(path.c_str()));
    log.PutString(u"y\nz");
    EXPECT_EQ(Units().substr(37), u"y~z") << "its own open line goes on";
    KZLogFile other;
    ASSERT_TRUE(other.Open(path.c_str()));
    other.PutString(u"o\n");
    other.Flush();
    log.PutString(u"z\n");
    EXPECT_EQ(Units().substr(37), u"y~z\r\no\r\nz\r\n");
}

TEST_F(KZLogFileTest, WritesWhatGatheredWhenItMust) {
    {
        KZLogFile log;
        ASSERT_TRUE(log.Open(path.c_str()));
        log.PutString(u"1\n");
        EXPECT_EQ(Units(), u"");
        KZDebug::CallReportHooks(); // as happens at a fault
        EXPECT_EQ(Units(), u"1\r\n");
        std::thread([&log] {
            log.PutString(u"2\n");
            KZLogFile const other;
        }).join();
        EXPECT_TRUE(log.Open(path.c_str())) << "opened again";
        EXPECT_EQ(Units(), u"1\r\n2\r\n");
        log.PutString(u"3\n");
    }
    EXPECT_EQ(Units(), u"1\r\n2\r\n3\r\n") << "the destructor";
    KZLogFile log;
    ASSERT_TRUE(log.Open(path.c_str()));
    std::u16string const huge(100'000, u'x');
    log.PutString(u"4\n");
    log.PutString(huge.c_str());
    EXPECT_EQ(Units(), u"1\r\n2\r\n3\r\n4\r\n" + huge) << "more than the buffer holds";
    EXPECT_FALSE(log.Open(folder.Path(u"no/such").c_str()) || log.IsOpen());
    ASSERT_TRUE(log.Open(u"/dev/full"));
    for (int i = 0; i < 5000; ++i) log.Log(u"lost, but counted");
    log.PutString(u"an open line");
    log.Close();
    log.Close();
    EXPECT_EQ(log.GetLostRecordCount(), 5001U);
    folder.Remove(u"x.log");
    ASSERT_TRUE(log.Open(path.c_str()));
    log.PutString(u"5\n");
    log.Close();
    EXPECT_EQ(Units().substr(17), u"*** records lost: 5001\r\n5\r\n");
}

// Two objects write to one file, one with auto flush and one without, each from two threads.
TEST_F(KZLogFileTest, LinesNeverMix) {
    constexpr int lineCount = 20'000;
    {
        KZLogFile logs[2];
        logs[0].SetAutoFlush(true);
        for (KZLogFile & log : logs) ASSERT_TRUE(log.Open(path.c_str()));
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&log = logs[t / 2], t] {
                for (int i = 0; i < lineCount; ++i)
                    log.Log(u"%d %d %s", t, i, u"some more text to tear apart");
            });
        for (std::thread & thread : threads) thread.join();
    }
    std::map<char16_t, int> next;
    for (std::u16string const & line : Lines()) {
        ASSERT_GT(line.size(), 20U);
        int & number = next[line[17]];
        std::string const digits = std::to_string(number++);
        std::u16string const expected =
            u" " + std::u16string(digits.begin(), digits.end()) + u" some more text to tear apart";
        ASSERT_EQ(line.substr(18), expected);
    }
    EXPECT_EQ(next, (std::map<char16_t, int>{
                        {u'0', lineCount}, {u'1', lineCount}, {u'2', lineCount}, {u'3', lineCount}}));
}

TEST_F(KZLogFileTest, FileSubscribersWriteUtf8AndTryAgain) {
    KZSmartPtr<KZFileLogSubscriber> const append(new KZFileLogSubscriber(path, 2, true, true));
    EXPECT_FALSE(append->IsValid() || folder.Exists(u"x.log"));
    append->OnFlush(3, u"not wanted");
    EXPECT_FALSE(append->IsValid() || folder.Exists(u"x.log"));
    append->OnFlush(2, u"\u00E9\U0001F600\n");
    EXPECT_TRUE(append->IsValid());
    append->Close();
    append->OnFlush(0, u"more");
    EXPECT_EQ(folder.Read(u"x.log"), "\xC3\xA9\xF0\x9F\x98\x80\nmore");

    KZSmartPtr<KZFileLogSubscriber> truncating(new KZFileLogSubscriber(path, 0, false, false));
    truncating->OnFlush(0, u"new");
    EXPECT_EQ(folder.Read(u"x.log"), "") << "emptied, and gathering";
    truncating.Clear();
    EXPECT_EQ(folder.Read(u"x.log"), "new");

    KZFileLogSubscriber retrying(folder.Path(u"later/x.log"), 1, true, false);
    retrying.OnFlush(0, u"lost");
    EXPECT_FALSE(retrying.IsValid());
    std::filesystem::create_directory(folder.Root() / "later");
    retrying.OnFlush(0, u"kept");
    EXPECT_EQ(folder.Read(u"later/x.log"), "kept");
}

TEST_F(KZLogFileTest, ConsoleAndDualStreamsReachTheConsole) {
    testing::internal::CaptureStdout();
    KZConsoleLogSubscriber subscriber(1);
    subscriber.OnFlush(1, u"\u00E9 heard\n");
    subscriber.OnFlush(2, u"not heard\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\xC3\xA9 heard\n") << "at once";
    std::wostringstream elsewhere;
    std::wstreambuf * const own = KZGetConsole().rdbuf(elsewhere.rdbuf());
    subscriber.OnFlush(1, u"\U0001F600");
    KZGetConsole().rdbuf(own);
    EXPECT_EQ(elsewhere.str(), L"\U0001F600");
    ChildProcess child([this] {
        bool const isOpen = std::freopen((folder.Root() / "out").c_str(), "w", stdout) != nullptr;
        KZConsoleLogSubscriber(1).OnFlush(1, u"heard\n");
        return isOpen && folder.Read(u"out") == "heard\n" ? 0 : 1; // before anybody else flushes
    });
    EXPECT_EQ(child.Status(), 0);
    testing::internal::CaptureStdout();
    KZDualLogStream consoleOnly, broken(folder.Path(u"no/such")), both(path);
    EXPECT_TRUE(consoleOnly.IsGood() && both.IsGood() && !broken.IsGood());
    consoleOnly << L"one" << std::endl;
    broken << L"two" << std::endl;
    both << 3 << KZString(u" \U0001F600") << std::endl;
    both.OnChar(u'\xD83D');
    both.OnChar(u'\xDE00');
    both.OnEOL();
    KZDualLogStream(folder.Path(u"rest.log")) << L"rest";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "one\ntwo\n3 \xF0\x9F\x98\x80\n\xF0\x9F\x98\x80rest");
    EXPECT_EQ(folder.Read(u"rest.log"), "rest");
    EXPECT_EQ(folder.Read(u"x.log"), "3 \xF0\x9F\x98\x80\n\xF0\x9F\x98\x80");
    testing::internal::CaptureStdout();
    both << KZString(u'\xDC80', 40000);
    EXPECT_GT(folder.Read(u"x.log").size(), 30000U) << "bytes that are no text don't wait for a flush either";
    static_cast<void>(testing::internal::GetCapturedStdout());
}

} // namespace
