// Replacing works on descriptors of the folder and of the new file, so that whatever others do to names meanwhile, nothing
// but the new file is given away, changed or removed. It is open to its owner only until it is complete.
//
// Overwriting puts the new content over the old, from the front, and cuts the file last of all, when the disk has the
// content: nothing that fails before that has made the file shorter.
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

/// Looks at what `path` leads to; `Unknown` for a failure.
Target Inspect(std::string const & path, struct stat & state) noexcept {
    if (stat(path.c_str(), &state) == 0) return S_ISREG(state.st_mode) ? Target::Regular : Target::Other;
    return Succeeded(errno == ENOENT) ? Target::Missing : Target::Unknown;
}

/// Replaces `path` by the name at the end of its links, under which nothing need stand. Stops at a link of the kernel
/// and sets `isKernelLink`.
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

/// A new file in a folder under a name of its own; removed by the destructor unless it has taken another.
class NewFile {
public:
    explicit NewFile(int folder) noexcept : folder_(folder) {}
    ~NewFile() {
        if (!name_.empty()) unlinkat(folder_, name_.c_str(), 0);
    }
    NewFile(NewFile const &) = delete;
    NewFile & operator=(NewFile const &) = delete;

    /// Makes the file, with a name that starts with `prefix` and rights as `mode`.
    [[nodiscard]] bool Make(std::string_view prefix, mode_t mode);
    [[nodiscard]] int Get() const noexcept { return file_.Get(); }
    /// Closes the file and gives it the name `name`, whose former file goes.
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

/// Gives the new file the access list of the old one, or none. False when it can't be given.
bool KeepAccessList(int file, std::string const & former) noexcept {
    constexpr char const * attribute = "system.posix_acl_access";
    char list[4096]; // some five hundred entries
    ssize_t const size = lgetxattr(former.c_str(), attribute, list, sizeof list);
    if (size >= 0) return fsetxattr(file, attribute, list, static_cast<std::size_t>(size), 0) == 0;
    bool const isNone = errno == ENODATA || errno == EOPNOTSUPP;
    fremovexattr(file, attribute); // The folder may give new files a list.
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
    // A file system without rights has the same for all its files, and refuses to change them.
    if (!Succeeded(fstat(file, &made) == 0)) return false;
    return (made.st_mode & 07777) == mode || Succeeded(fchmod(file, mode) == 0);
}

/// Has the disk confirm the names in a folder, if this user may open it.
bool SyncFolder(int folder) noexcept {
    Descriptor const readable(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return !readable.IsOpen() || WaitForDisk(readable.Get());
}

/// `path` isn't a link; `former` is null when nothing stands there.
bool ReplaceNamed(std::string const & path, struct stat const * former, std::string_view bytes) {
    constexpr std::size_t shownBytes = 100; // of the name: with all of it, the new one could be too long
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

/// Gives the file its length and the first `touched` bytes of its content back. The thread's error stays, with more text
/// if this fails.
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
    // Nothing can fail any more when the file is closed: the disk has all of it.
    if (isPlaced && (!isCut || (file.Truncate(size) && file.Sync()))) return true;
    PutBack(file, old, isCut ? old.size() : std::min(written, old.size()));
    return false;
}

/// Makes a file that was missing, and removes it again after a failure.
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
        // Somebody else may have made it at this moment.
        if (LastErrorNumber() != EEXIST) return false;
        target = Inspect(name, state);
    }
    if (target == Target::Missing || target == Target::Unknown) return false;
    if (target == Target::Other) return WriteTo(path, bytes);
    FileHandle file;
    return file.Open(path, FileAccess::ReadWrite, FileCreation::OpenExisting) && OverwriteOpened(file, bytes);
}

} // namespace KZPlatform
