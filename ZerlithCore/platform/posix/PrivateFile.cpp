// In a folder where everybody may make files somebody can put a link, a pipe or a file of their own under the name that
// is going to be opened. So links are followed one at a time, each looked at through a descriptor that stays the same
// thing while others rename; the file is opened without following, emptying or waiting, and looked at before it is used.
#include "ZerlithCore/platform/posix/PrivateFile.h"

#include <climits>

#include <fcntl.h>
#include <sys/stat.h>

namespace KZPlatform {

namespace {

// A link, or a file, that root made could as well be a change of the system's own.
bool IsTrustedOwner(uid_t owner) noexcept { return owner == geteuid() || owner == 0; }

// Others than the folder's owner may make files there, and needn't be trusted: a group that shares a folder without the
// sticky bit may replace each other's files anyway.
bool IsShared(struct stat const & folder) noexcept {
    bool const group = (folder.st_mode & S_IWGRP) != 0 && (folder.st_mode & S_ISVTX) != 0;
    return group || (folder.st_mode & S_IWOTH) != 0;
}

bool IsTrustedFile(int folder, int file) noexcept {
    struct stat place {
    }, state{};
    if (!Succeeded(fstat(folder, &place) == 0 && fstat(file, &state) == 0)) return false;
    if (S_ISDIR(state.st_mode)) return Fail(EISDIR);
    if (!IsShared(place)) return true;
    // A second name of a file may be another's way to have this user write into a file of the user's own.
    bool const isTrusted = IsTrustedOwner(state.st_uid) || state.st_uid == place.st_uid;
    return (S_ISREG(state.st_mode) && isTrusted && state.st_nlink == 1) || Fail(EACCES);
}

/// Makes a file that was opened without waiting ready for use: emptied if `flags` say so, and writes to a pipe wait again.
bool Prepare(int file, int flags) noexcept {
    struct stat state {};
    if (!Succeeded(fstat(file, &state) == 0)) return false;
    if (S_ISREG(state.st_mode)) return (flags & O_TRUNC) == 0 || Succeeded(ftruncate(file, 0) == 0);
    return Succeeded(fcntl(file, F_SETFL, flags & O_APPEND) == 0);
}

/// Puts what the link `name` leads to into `target`.
bool ReadTrustedLink(int folder, std::string const & name, std::string & target) {
    Descriptor const link(openat(folder, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat state {};
    if (!Succeeded(link.IsOpen() && fstat(link.Get(), &state) == 0)) return false;
    if (!S_ISLNK(state.st_mode) || !IsTrustedOwner(state.st_uid)) return Fail(EACCES);
    char text[PATH_MAX];
    ssize_t const length = readlinkat(link.Get(), "", text, sizeof text);
    if (!Succeeded(length >= 0)) return false;
    target.assign(text, static_cast<std::size_t>(length));
    return true;
}

} // namespace

Descriptor OpenPrivateFile(std::string path, int flags) {
    int careful = (flags & ~O_TRUNC) | O_NOFOLLOW | O_NONBLOCK;
    for (int links = 0; links <= mostLinks; ++links) {
        std::string const place(FolderPart(path)), name(NamePart(path));
        Descriptor const folder = OpenFolder(place);
        if (!Succeeded(folder.IsOpen())) return {};
        // The kernel's links can be opened only by following them, and nobody can make one.
        if (IsOfKernel(folder.Get())) careful &= ~O_NOFOLLOW;
        Descriptor file(Repeat([&] { return openat(folder.Get(), name.c_str(), careful, 0600); }));
        if (file.IsOpen()) {
            bool const isUsable = IsTrustedFile(folder.Get(), file.Get()) && Prepare(file.Get(), flags);
            return isUsable ? std::move(file) : Descriptor();
        }
        if (!Succeeded(errno == ELOOP)) return {};
        std::string target;
        if (!ReadTrustedLink(folder.Get(), name, target)) return {};
        path = target.starts_with('/') ? std::move(target) : place + target;
    }
    SetLastErrorNumber(ELOOP);
    return {};
}

} // namespace KZPlatform
