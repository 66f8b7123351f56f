// Opens a private file in a folder in which others may make files, such as /tmp. There somebody may have put
// something under the name that is going to be opened:
//
// - A link /tmp/log -> /home/me/.profile would have us overwrite our own file. So a link is followed only if this
//   user or root made it.
// - A link could be exchanged between the check and the use. So each link is opened first, without following it, and
//   its owner and target are read from that descriptor, which stays the same thing whatever others rename.
// - A pipe would make us wait for ever. So the file is opened without waiting.
// - A file of somebody else, or a second name of one of our own, would be emptied or written to. So the file is
//   opened without emptying it, and checked through its descriptor before it is used.
#include "ZerlithCore/platform/posix/PrivateFile.h"

#include <climits>

#include <fcntl.h>
#include <sys/stat.h>

namespace KZPlatform {

namespace {

// Root is trusted because root could change this program or its files anyway.
bool IsTrustedOwner(uid_t owner) noexcept { return owner == geteuid() || owner == 0; }

// True when users other than the folder's owner may make files there and aren't trusted. A group with write access
// and no sticky bit counts as trusted: its members may replace each other's files anyway.
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
    // A second name (hard link) could be that of a file of this user's, made by somebody else to have it overwritten.
    bool const isTrusted = IsTrustedOwner(state.st_uid) || state.st_uid == place.st_uid;
    return (S_ISREG(state.st_mode) && isTrusted && state.st_nlink == 1) || Fail(EACCES);
}

/// Makes a file that was opened without waiting ready for use: empties it if `flags` say so, and makes writes to a
/// pipe wait again.
bool Prepare(int file, int flags) noexcept {
    struct stat state {};
    if (!Succeeded(fstat(file, &state) == 0)) return false;
    if (S_ISREG(state.st_mode)) return (flags & O_TRUNC) == 0 || Succeeded(ftruncate(file, 0) == 0);
    return Succeeded(fcntl(file, F_SETFL, flags & O_APPEND) == 0);
}

/// Sets `target` to what the link `name` leads to, if its owner is trusted.
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
        // Links in /proc can't be opened without following them, and no user can make one there.
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
