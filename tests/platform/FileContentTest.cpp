#include "ZerlithCore/platform/FileContent.h"

#include "ZerlithCore/platform/FileHandle.h"
#include "ZerlithCore/platform/LastError.h"

#include "files/TemporaryDirectory.h"
#include "platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <set>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace {

using namespace KZPlatform;
namespace fs = std::filesystem;

constexpr uid_t stranger = 12345;
constexpr auto ways = {ReplaceFileContent, OverwriteFileContent};

std::u16string OfDescriptor(int descriptor) {
    return fs::path("/proc/self/fd/" + std::to_string(descriptor)).u16string();
}

/// The state of a name itself; links aren't followed.
struct stat StateOf(fs::path const & path) {
    struct stat state {};
    EXPECT_EQ(lstat(path.c_str(), &state), 0) << path;
    return state;
}

class FileContentTest : public testing::Test {
protected:
    [[nodiscard]] std::u16string Path(char const * name) const { return (folder.Root() / name).u16string(); }

    /// Names and contents of everything in the folder; for a link its target.
    [[nodiscard]] std::set<std::string> Everything() const {
        std::set<std::string> all;
        for (fs::directory_entry const & entry : fs::directory_iterator(folder.Root())) {
            fs::path const name = entry.path().filename();
            all.insert(entry.is_symlink() ? name.string() + " -> " + fs::read_symlink(entry).string()
                                          : name.string() + ": " + folder.Read(name.u16string().c_str()));
        }
        return all;
    }

    /// Makes a file in the folder, and a chain of two links to it.
    void Prepare(std::string const & content, mode_t mode, uid_t owner = geteuid()) const {
        for (fs::directory_entry const & entry : fs::directory_iterator(folder.Root())) fs::remove(entry);
        folder.Write(u"file", content);
        ASSERT_EQ(chown((folder.Root() / "file").c_str(), owner, getegid()), 0);
        ASSERT_EQ(chmod((folder.Root() / "file").c_str(), mode), 0);
        fs::create_symlink("file", folder.Root() / "one");
        fs::create_symlink(folder.Root() / "one", folder.Root() / "two");
    }

    TemporaryDirectory folder;
};

TEST_F(FileContentTest, IsTheNewOneOrTheOldOne) {
    std::string const chain = "two -> " + (folder.Root() / "one").string();
    for (auto const write : ways) {
        for (std::size_t const size : {0U, 3000U, 9000U, 20'000U}) {
            SCOPED_TRACE(size);
            Prepare(std::string(size, 'o'), 0640, geteuid() == 0 ? stranger : geteuid());
            fs::create_symlink("missing", folder.Root() / "dangling");
            auto const former = Everything();
            struct stat const before = StateOf(folder.Root() / "file");
            // A limit on the size of files acts like a full disk: the system takes what fits and refuses the rest.
            EXPECT_EQ(RunWithSmallFiles(5000,
                                        [&] {
                                            for (char const * name : {"two", "dangling"})
                                                if (write(Path(name), std::string(10'000, 'n')) ||
                                                    LastErrorNumber() != EFBIG)
                                                    return 2;
                                            return 0;
                                        }),
                      0);
            EXPECT_EQ(Everything(), former);
            EXPECT_TRUE(write(Path("two"), "new") && write(Path("dangling"), "new"));
            EXPECT_EQ(Everything(), (std::set<std::string>{"file: new", "one -> file", chain,
                                                           "dangling -> missing", "missing: new"}));
            struct stat const after = StateOf(folder.Root() / "file");
            EXPECT_EQ(after.st_mode, before.st_mode);
            EXPECT_EQ(after.st_uid, before.st_uid);
            EXPECT_EQ(after.st_ino == before.st_ino, write == OverwriteFileContent);
        }
    }
}

TEST_F(FileContentTest, GoesWhereThereIsNoNameToReplace) {
    char bytes[32];
    int ends[2];
    int const sealed = memfd_create("sealed", MFD_ALLOW_SEALING);
    ASSERT_TRUE(write(sealed, "the old content", 15) == 15 && pipe(ends) == 0);
    ASSERT_EQ(fcntl(sealed, F_ADD_SEALS, F_SEAL_SHRINK), 0);
    int const nameless = memfd_create("nameless", 0);
    for (auto const write : ways) {
        EXPECT_TRUE(write(OfDescriptor(nameless), "bytes"));
        EXPECT_EQ(lseek(nameless, 0, SEEK_END), 5) << "the text of its link is no path";
        ASSERT_EQ(ftruncate(nameless, 0), 0);
        EXPECT_TRUE(write(OfDescriptor(ends[1]), "bytes"));
        EXPECT_EQ(read(ends[0], bytes, sizeof bytes), 5);
        EXPECT_FALSE(write(OfDescriptor(sealed), "new"));
        auto const size = static_cast<std::size_t>(pread(sealed, bytes, sizeof bytes, 0));
        EXPECT_EQ(std::string(bytes, size), "the old content") << "put back, since it can't be cut";
        EXPECT_TRUE(!write(u"/dev/full", "bytes") && LastErrorNumber() == ENOSPC);
        EXPECT_TRUE(!write(Path(""), "bytes") && LastErrorNumber() == EISDIR);
        EXPECT_TRUE(!write(Path("no/file"), "bytes") && LastErrorNumber() == ENOENT);
    }
    for (int const descriptor : {sealed, nameless, ends[0], ends[1]}) close(descriptor);
}

TEST_F(FileContentTest, IsWrittenByNobodyWhoMayNot) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can be somebody else";
    ASSERT_EQ(chmod(folder.Root().c_str(), 0777), 0);
    for (auto const write : ways) {
        for (mode_t const mode : {0644U, 0676U}) {
            Prepare("old", mode);
            bool const mayWrite = mode == 0676;
            ChildProcess child([&] {
                if (setgid(stranger) != 0 || setuid(stranger) != 0) return 1;
                return write(Path("file"), "new") == mayWrite ? 0 : 2;
            });
            EXPECT_EQ(child.Status(), 0) << mode;
            EXPECT_EQ(folder.Read(u"file"), mayWrite ? "new" : "old");
            // If the group can't be kept, the new group gets no more rights than everybody has.
            EXPECT_EQ(StateOf(folder.Root() / "file").st_mode & 0777U,
                      mayWrite && write == ReplaceFileContent ? 0666U : mode);
        }
    }
}

TEST_F(FileContentTest, PrivateFilesAreNobodyElses) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can make what belongs to somebody else";
    struct Case {
        char const * what;
        char kind; // what has this name: (f)ile, (l)ink, (h)ard link, (p)ipe, (d)irectory or nothing
        uid_t owner;
        mode_t folder;
        int error; // 0 if the file is opened and emptied
    };
    constexpr uid_t own = 0;
    constexpr mode_t shared = 01777, closed = 0755;
    constexpr Case cases[] = {
        {"missing", '-', own, shared, 0},
        {"own", 'f', own, shared, 0},
        {"another's among all", 'f', stranger, shared, EACCES},
        {"another's among friends", 'f', stranger, closed, 0},
        {"own link", 'l', own, shared, 0},
        {"another's link", 'l', stranger, closed, EACCES},
        {"another's link behind an own one", 'c', stranger, closed, EACCES},
        {"a link to itself", 's', own, closed, ELOOP},
        {"a second name", 'h', own, shared, EACCES},
        {"pipe", 'p', own, shared, EACCES},
        {"pipe that nobody reads", 'p', own, closed, ENXIO},
        {"directory", 'd', own, closed, EISDIR},
    };
    fs::path const file = folder.Root() / "file", name = folder.Root() / "name";
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        Prepare("precious", 0600);
        switch (c.kind) {
        case 'f': folder.Write(u"name", "old"); break;
        case 'l': fs::create_symlink("file", name); break;
        case 'c': fs::create_symlink("one", name); break;
        case 's': fs::create_symlink("name", name); break;
        case 'h': fs::create_hard_link(file, name); break;
        case 'p': ASSERT_EQ(mkfifo(name.c_str(), 0600), 0); break;
        case 'd': fs::create_directory(name); break;
        default: break;
        }
        fs::path const owned = c.kind == 'c' ? folder.Root() / "one" : name;
        EXPECT_TRUE(c.kind == '-' || lchown(owned.c_str(), c.owner, own) == 0);
        ASSERT_EQ(chmod(folder.Root().c_str(), c.folder), 0);
        FileHandle handle;
        auto const access = c.error == EACCES ? FileAccess::ReadWrite : FileAccess::Write;
        bool const isOpen = handle.Open(Path("name"), access, FileCreation::CreateAlways,
                                        FileShare::ReadWrite, FileProtection::Private);
        EXPECT_EQ(isOpen ? 0 : LastErrorNumber(), c.error);
        EXPECT_EQ(folder.Read(u"file"), isOpen && c.kind == 'l' ? "" : "precious");
        EXPECT_TRUE(!isOpen || c.kind == 'l' || StateOf(name).st_size == 0);
        EXPECT_TRUE(c.kind != '-' || (StateOf(name).st_mode & 0777U) == 0600);
    }
    // In another's folder that all share, own files are one's own.
    Prepare("old", 0600);
    ASSERT_TRUE(chmod(folder.Root().c_str(), shared) == 0 &&
                chown(folder.Root().c_str(), stranger, own) == 0);
    EXPECT_TRUE(FileHandle().Open(Path("file"), FileAccess::Write, FileCreation::CreateAlways,
                                  FileShare::ReadWrite, FileProtection::Private));
}

} // namespace
