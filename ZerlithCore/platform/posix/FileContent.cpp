// Replacing writes a new file beside the old one and renames it:
//
// 1. Open the folder, and create a file with a random name in it. If there is an old file, only its owner may open
//    the new one for now.
// 2. Write the content, give the file the owner, group and rights of the old one, and wait for the disk.
// 3. Rename it to the name of the old one, and have the disk confirm the folder.
//
// All steps use the descriptors of the folder and of the new file. So if others rename things meanwhile, no file but
// the new one is given away, changed or removed.
//
// Overwriting writes the new content over the old, from the start, and shortens the file last, when the disk has the
// content. So no failure before that has made the file shorter.
#include "ZerlithCore/platform/FileContent.h"

#include "ZerlithCore/platform/FileHandle.h"
#include "ZerlithCore/platform/Files.h"
#include "ZerlithCore/platform/posix/Descriptor.h"
#include "ZerlithCore/platform/posix/Path.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <new>
#include <string>

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace KZPlatform {

namespace {

// --- What stands under a name

enum class Target : unsigned char { Missing, Regular, Other, Unknown };

/// Looks at what `path` leads to; `Unknown` when that fails.
Target Inspect(std::string const & path, struct stat & state) noexcept {
    if (stat(path.c_str(), &state) == 0) return S_ISREG(state.st_mode) ? Target::Regular : Target::Other;
    return Succeeded(errno == ENOENT) ? Target::Missing : Target::Unknown;
}

/// Replaces `path` by the name at the end of its links; nothing needs to exist there. Stops at a link of the kernel
/// (see `IsOfKernel`) and sets `isKernelLink`.
bool FollowLinks(std::string & path, bool & isKernelLink) {
    isKernelLink = false;
    for (int links = 0; links <= mostLinks; ++links) {
        char text[PATH_MAX];
        ssize_t const length = readlink(path.c_str(), text, sizeof text);
        if (length < 0) return Succeeded(errno == EINVAL || errno == ENOENT);
        Descriptor const folder = OpenFolder(FolderPart(path));
        isKernelLink = folder.IsOpen() && IsOfKernel(folder.Get());
        if (isKernelLink) return true;
        std::string const target(text, static_cast<std::size_t>(length));
        if (target.starts_with('/'))
            path = target;
        else
            path.replace(FolderPart(path).size(), std::string::npos, target);
    }
    return Fail(ELOOP);
}

bool WriteTo(std::u16string_view path, std::string_view bytes) {
    FileHandle file;
    return file.Open(path, FileAccess::Write, FileCreation::OpenExisting) &&
           file.Write(bytes.data(), bytes.size()) && file.Sync() && file.Close();
}

// --- Replacing

/// A new file with a name of its own in a folder. The destructor removes it unless it was renamed.
class NewFile {
public:
    explicit NewFile(int folder) noexcept : folder_(folder) {}
    ~NewFile() {
        if (!name_.empty()) unlinkat(folder_, name_.c_str(), 0);
    }
    NewFile(NewFile const &) = delete;
    NewFile & operator=(NewFile const &) = delete;

    /// Creates the file with rights `mode` and a name that starts with `prefix`.
    [[nodiscard]] bool Make(std::string_view prefix, mode_t mode);
    [[nodiscard]] int Get() const noexcept { return file_.Get(); }
    /// Closes the file and renames it to `name`, which replaces the file of that name.
    [[nodiscard]] bool Rename(std::string const & name) noexcept;

private:
    int folder_;
    Descriptor file_;
    std::string name_;
};

bool NewFile::Make(std::string_view prefix, mode_t mode) {
    constexpr int attempts = 100;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        std::uint64_t number = 0;
        if (!Succeeded(getrandom(&number, sizeof number, 0) == sizeof number)) return false;
        char digits[24];
        std::snprintf(digits, sizeof digits, "%016llx.tmp", static_cast<unsigned long long>(number));
        std::string name = std::string(prefix) + digits;
        constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
        file_ = Descriptor(Repeat([&] { return openat(folder_, name.c_str(), flags, mode); }));
        if (file_.IsOpen()) {
            name_ = std::move(name);
            return true;
        }
        if (!Succeeded(errno == EEXIST)) return false;
    }
    return Fail(EEXIST);
}

bool NewFile::Rename(std::string const & name) noexcept {
    int const descriptor = file_.Release();
    if (!Succeeded(close(descriptor) == 0 || errno == EINTR)) return false;
    if (!Succeeded(renameat(folder_, name_.c_str(), folder_, name.c_str()) == 0)) return false;
    name_.clear();
    return true;
}

/// Gives the new file the access list of the old one, or removes its list when the old one has none. False when that
/// fails.
bool KeepAccessList(int file, std::string const & former) noexcept {
    constexpr char const * attribute = "system.posix_acl_access";
    char list[4096]; // holds some five hundred entries
    ssize_t const size = lgetxattr(former.c_str(), attribute, list, sizeof list);
    if (size >= 0) return fsetxattr(file, attribute, list, static_cast<std::size_t>(size), 0) == 0;
    bool const isNone = errno == ENODATA || errno == EOPNOTSUPP;
    fremovexattr(file, attribute); // the folder may give its new files a list
    return isNone;
}

bool KeepRights(int file, std::string const & former, struct stat const & state) noexcept {
    struct stat made {};
    if (!Succeeded(fstat(file, &made) == 0)) return false;
    bool const hasGroup =
        made.st_gid == state.st_gid || fchown(file, static_cast<uid_t>(-1), state.st_gid) == 0;
    bool const hasOwner =
        made.st_uid == state.st_uid || fchown(file, state.st_uid, static_cast<gid_t>(-1)) == 0;
    bool const hasList = KeepAccessList(file, former);
    mode_t mode = state.st_mode & 0777;
    if (!hasGroup || !hasList) mode = (mode & ~mode_t{070}) | (mode & 07) << 3;
    if (hasGroup && hasOwner) mode |= state.st_mode & 07000;
    // A file system without rights has the same ones for all its files, and refuses to change them.
    if (!Succeeded(fstat(file, &made) == 0)) return false;
    return (made.st_mode & 07777) == mode || Succeeded(fchmod(file, mode) == 0);
}

/// Waits until the disk has the names in a folder, if this user may open it.
bool SyncFolder(int folder) noexcept {
    Descriptor const readable(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return !readable.IsOpen() || WaitForDisk(readable.Get());
}

/// Requires: `path` isn't a link. `former` is null when nothing exists there.
bool ReplaceNamed(std::string const & path, struct stat const * former, std::string_view bytes) {
    constexpr std::size_t shownBytes = 100; // of the old name: with all of it the new name could be too long
    std::string const name(NamePart(path));
    if (name.empty()) return Fail(path.empty() ? ENOENT : EISDIR);
    if (former && !Succeeded(faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0)) return false;
    Descriptor const folder = OpenFolder(FolderPart(path));
    if (!Succeeded(folder.IsOpen())) return false;

    NewFile file(folder.Get());
    std::size_t written = 0;
    return file.Make("." + name.substr(0, shownBytes) + ".", former ? 0600 : 0666) &&
           WriteAll(file.Get(), bytes, written) && (!former || KeepRights(file.Get(), path, *former)) &&
           WaitForDisk(file.Get()) && file.Rename(name) && SyncFolder(folder.Get());
}

// --- Overwriting

bool ReadAll(FileHandle & file, std::string & bytes) {
    constexpr std::size_t blockBytes = 65536;
    bytes.reserve(static_cast<std::size_t>(std::max<std::int64_t>(file.Size(), 0)) + blockBytes);
    std::size_t size = 0, count = 0;
    do {
        bytes.resize(size + blockBytes);
        if (!file.Read(bytes.data() + size, blockBytes, count)) return false;
        size += count;
    } while (count != 0);
    bytes.resize(size);
    return true;
}

/// Writes the first `touched` bytes of the old content back and restores the file's length. The thread's last error
/// stays; if this fails too, it becomes a text that says so.
void PutBack(FileHandle & file, std::string_view old, std::size_t touched) {
    int const reason = LastErrorNumber();
    bool const isBack = file.Truncate(static_cast<std::int64_t>(old.size())) &&
                        (touched == 0 || (file.Seek(0, FileOrigin::Begin) == 0 &&
                                          file.Write(old.data(), touched) && file.Sync()));
    if (isBack) return SetLastErrorNumber(reason);
    try {
        auto const text = [](int number) { return ErrorText(number).value_or(u"unknown error"); };
        SetLastErrorText(text(reason) + u"; the old content of the file can't be written back: " +
                         text(LastErrorNumber()));
    } catch (std::bad_alloc const &) {
        SetLastErrorNumber(reason);
    }
}

bool OverwriteOpened(FileHandle & file, std::string_view bytes) {
    std::string old;
    if (!ReadAll(file, old)) return false;
    auto const size = static_cast<std::int64_t>(bytes.size());
    std::size_t written = 0;
    bool const isPlaced = (bytes.size() <= old.size() || file.Reserve(size)) &&
                          file.Seek(0, FileOrigin::Begin) == 0 &&
                          file.Write(bytes.data(), bytes.size(), written) && file.Sync();
    bool const isCut = isPlaced && bytes.size() < old.size();
    // The disk has all of it, so closing the file can't fail any more.
    if (isPlaced && (!isCut || (file.Truncate(size) && file.Sync()))) return true;
    PutBack(file, old, isCut ? old.size() : std::min(written, old.size()));
    return false;
}

/// Creates a file that was missing, and removes it again after a failure.
bool WriteNew(std::string const & path, std::string_view bytes) {
    FileHandle file;
    if (!file.Open(PathUnits(path), FileAccess::Write, FileCreation::CreateNew)) return false;
    if (file.Write(bytes.data(), bytes.size()) && file.Sync() && file.Close()) return true;
    unlink(path.c_str());
    return false;
}

} // namespace

bool ReplaceFileContent(std::u16string_view path, std::string_view bytes) {
    std::string name = PathBytes(path);
    struct stat state {};
    Target const target = Inspect(name, state);
    bool isKernelLink = false;
    if (target == Target::Unknown) return false;
    if (target == Target::Other) return WriteTo(path, bytes);
    if (!FollowLinks(name, isKernelLink)) return false;
    if (isKernelLink) return OverwriteFileContent(path, bytes);
    return ReplaceNamed(name, target == Target::Regular ? &state : nullptr, bytes);
}

bool OverwriteFileContent(std::u16string_view path, std::string_view bytes) {
    std::string name = PathBytes(path);
    struct stat state {};
    Target target = Inspect(name, state);
    if (target == Target::Missing) {
        bool isKernelLink = false;
        if (!FollowLinks(name, isKernelLink)) return false;
        if (WriteNew(name, bytes)) return true;
        // Somebody else may have created it since we looked.
        if (LastErrorNumber() != EEXIST) return false;
        target = Inspect(name, state);
    }
    if (target == Target::Missing || target == Target::Unknown) return false;
    if (target == Target::Other) return WriteTo(path, bytes);
    FileHandle file;
    return file.Open(path, FileAccess::ReadWrite, FileCreation::OpenExisting) && OverwriteOpened(file, bytes);
}

} // namespace KZPlatform
