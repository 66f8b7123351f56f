// Directories and paths through the calls of POSIX. Paths are bytes there; Path.h converts them.
#include "ZerlithCore/platform/Files.h"

#include "ZerlithCore/platform/Process.h"
#include "ZerlithCore/platform/posix/Descriptor.h"
#include "ZerlithCore/platform/posix/Path.h"

#include <algorithm>
#include <memory>

#include <dirent.h>
#include <sys/stat.h>

namespace KZPlatform {

namespace {

PathKind KindOfMode(mode_t mode) noexcept { return S_ISDIR(mode) ? PathKind::Directory : PathKind::File; }

} // namespace

PathKind KindOfPath(std::u16string_view path) {
    struct stat state {};
    if (!Succeeded(stat(PathBytes(path).c_str(), &state) == 0)) return PathKind::Missing;
    return KindOfMode(state.st_mode);
}

bool IsDirectory(std::u16string_view path) { return KindOfPath(path) == PathKind::Directory; }

bool MayRead(std::u16string_view path) { return Succeeded(access(PathBytes(path).c_str(), R_OK) == 0); }

bool MayWrite(std::u16string_view path) { return Succeeded(access(PathBytes(path).c_str(), W_OK) == 0); }

bool ListDirectory(std::u16string_view path, std::vector<DirectoryEntry> & entries) {
    struct CloseDirectory {
        void operator()(DIR * directory) const noexcept { closedir(directory); }
    };
    entries.clear();
    std::unique_ptr<DIR, CloseDirectory> const directory(opendir(PathBytes(path).c_str()));
    if (!Succeeded(directory != nullptr)) return false;
    errno = 0;
    while (dirent const * const entry = readdir(directory.get())) {
        std::string_view const name = entry->d_name;
        if (name == "." || name == "..") continue;
        // The entry itself tells its kind, except for links and on some file systems; then the target is looked up. A
        // link that leads nowhere is a file.
        struct stat state {};
        bool const known = entry->d_type != DT_UNKNOWN && entry->d_type != DT_LNK;
        bool const isDirectory =
            known ? entry->d_type == DT_DIR
                  : fstatat(dirfd(directory.get()), entry->d_name, &state, 0) == 0 && S_ISDIR(state.st_mode);
        entries.push_back({PathUnits(name), isDirectory ? PathKind::Directory : PathKind::File});
        errno = 0;
    }
    return Succeeded(errno == 0);
}

bool MakeDirectory(std::u16string_view path) { return Succeeded(mkdir(PathBytes(path).c_str(), 0777) == 0); }

bool RemoveEmptyDirectory(std::u16string_view path) { return Succeeded(rmdir(PathBytes(path).c_str()) == 0); }

bool RemoveFile(std::u16string_view path) { return Succeeded(unlink(PathBytes(path).c_str()) == 0); }

bool RenamePath(std::u16string_view from, std::u16string_view to) {
    return Succeeded(rename(PathBytes(from).c_str(), PathBytes(to).c_str()) == 0);
}

char16_t const pathSeparator = u'/';

bool IsPathSeparator(char16_t unit) noexcept { return unit == u'/'; }

std::size_t PathRootLength(std::u16string_view path) noexcept { return path.starts_with(u'/') ? 1 : 0; }

std::u16string FullPath(std::u16string_view path) {
    std::u16string source;
    if (!path.starts_with(u'/')) source = GetWorkingDirectory() + u'/';
    source += path;
    std::u16string result;
    for (std::size_t at = 0; at < source.size();) {
        std::size_t const end = std::min(source.find(u'/', at), source.size());
        std::u16string_view const part(source.data() + at, end - at);
        at = end + 1;
        if (part.empty() || part == u".") continue;
        if (part == u"..") {
            result.resize(result.empty() ? 0 : result.rfind(u'/'));
        } else {
            (result += u'/') += part;
        }
    }
    return result.empty() ? u"/" : result;
}

} // namespace KZPlatform
