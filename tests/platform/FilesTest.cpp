#include "ZerlithCore/platform/Files.h"

#include "ZerlithCore/platform/Clock.h"
#include "ZerlithCore/platform/Console.h"
#include "ZerlithCore/platform/FileHandle.h"
#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/Process.h"
#include "ZerlithCore/platform/Signals.h"
#include "files/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <sys/stat.h>
#include <tuple>

namespace {

using namespace KZPlatform;

struct FilesTest : testing::Test {
    TemporaryDirectory const place;
    std::u16string const folder = place.Root().u16string(), path = folder + u"/file";
};

TEST_F(FilesTest, LeavesTheReasonOfAFailure) {
    FileHandle file;
    std::size_t count = 0;
    char byte = 0;
    std::vector<DirectoryEntry> entries;
    auto const reason = [](bool success) {
        int const number = LastErrorNumber();
        SetLastErrorNumber(0);
        return success ? -1 : number;
    };
    EXPECT_EQ(reason(file.Open(path, FileAccess::Read, FileCreation::OpenExisting)), ENOENT);
    EXPECT_EQ(reason(file.Open(folder, FileAccess::Read, FileCreation::OpenExisting)), EISDIR);
    EXPECT_EQ(reason(file.Open(u"", FileAccess::Read, FileCreation::OpenExisting)), ENOENT);
    EXPECT_EQ(reason(file.Open(path + u'\0', FileAccess::Write, FileCreation::OpenAlways)), ENOENT);
    EXPECT_EQ(reason(file.Read(&byte, 1, count)), EBADF);
    ASSERT_TRUE(file.Open(u"/dev/full", FileAccess::Write, FileCreation::OpenExisting));
    EXPECT_EQ(reason(file.Write("x", 1)), ENOSPC);
    EXPECT_EQ(reason(file.Read(&byte, 1, count)), EBADF);
    FileHandle other = std::move(file);
    EXPECT_TRUE(other.IsOpen() && !file.IsOpen());
    file = std::move(other);
    EXPECT_TRUE(file.IsOpen() && !other.IsOpen());
    EXPECT_EQ(file.Size(), 0);
    EXPECT_EQ(reason(other.Size() >= 0), EBADF);
    EXPECT_EQ(reason(MakeDirectory(folder)), EEXIST);
    EXPECT_EQ(reason(RemoveEmptyDirectory(path)), ENOENT);
    EXPECT_EQ(reason(ListDirectory(path, entries)), ENOENT);
    errno = EIO; // a failure of before isn't its own
    EXPECT_TRUE(ListDirectory(folder, entries) && entries.empty());
    std::filesystem::create_directory_symlink("/", place.Root() / "link");
    EXPECT_TRUE(ListDirectory(folder, entries) && entries.size() == 1 &&
                entries[0].kind == PathKind::Directory);
    umask(0022);
    EXPECT_TRUE(MakeDirectory(folder + u"/made"));
    EXPECT_EQ(std::filesystem::status(place.Root() / "made").permissions(), std::filesystem::perms(0755));
    EXPECT_EQ(reason(SetEnvironment(u"", u"x")), EINVAL);
    EXPECT_TRUE(KindOfPath(path) == PathKind::Missing && IsDirectory(folder) && MayRead(folder));
}

TEST_F(FilesTest, KnowsTheProcess) {
    std::u16string const before = GetWorkingDirectory();
    {
        WorkingDirectoryChange const change(folder);
        EXPECT_EQ(std::filesystem::current_path(), std::filesystem::canonical(place.Root()));
        EXPECT_EQ(GetWorkingDirectory(), FullPath(u"x/.."));
        EXPECT_TRUE(MakeDirectory(path) && SetWorkingDirectory(path) && RemoveEmptyDirectory(path));
        SetLastErrorNumber(0);
        EXPECT_EQ(GetWorkingDirectory(), u"");
        EXPECT_EQ(LastErrorNumber(), ENOENT);
    }
    EXPECT_EQ(GetWorkingDirectory(), before);
    EXPECT_EQ(GetEnvironment(u"KZ_NO_SUCH_VARIABLE"), std::nullopt);
    EXPECT_TRUE(SetEnvironment(u"KZ_TEST", u"\u00E9\xDCFF"));
    EXPECT_EQ(GetEnvironment(u"KZ_TEST"), u"\u00E9\xDCFF");
    std::u16string const temporary = GetEnvironment(u"TMPDIR").value_or(u"");
    for (auto const & [setting, expected] : {std::pair(u"/x//", u"/x"), {u"/", u"/"}, {u"", u"/tmp"}}) {
        SetEnvironment(u"TMPDIR", setting);
        EXPECT_EQ(GetTemporaryDirectory(), expected);
    }
    SetEnvironment(u"TMPDIR", temporary);
}

TEST(ClockTest, BreaksMomentsDown) {
    CalendarTime const before = ToUtcTime(-1), leap = ToUtcTime(951'782'400'000 + 1'007);
    EXPECT_EQ(std::tie(before.year, before.month, before.day, before.hour, before.second, before.millisecond),
              std::make_tuple(1969, 12, 31, 23, 59, 999));
    EXPECT_EQ(std::tie(leap.year, leap.month, leap.day, leap.weekDay, leap.second, leap.millisecond),
              std::make_tuple(2000, 2, 29, 2, 1, 7));
    EXPECT_EQ(ToUtcTime(INT64_MIN).year, -292275055);
}

TEST(ConsoleTest, WritesToStandardError) {
    testing::internal::CaptureStderr();
    EXPECT_TRUE(WriteToStandardError("bytes"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "bytes");
}

TEST(SignalsTest, QuitSignalsSetAFlag) {
    ASSERT_TRUE(InstallQuitHandlers());
    for (int const signal : {SIGINT, SIGTERM}) {
        EXPECT_FALSE(IsQuitRequested());
        std::raise(signal);
        EXPECT_TRUE(IsQuitRequested());
        RequestQuit(false);
    }
}

} // namespace
