// Finds the parts of a path: the root, the directory, the name, and the extension after the last point.
#include "ZerlithCore/files/KZPath.h"

#include "ZerlithCore/platform/Files.h"

#include <algorithm>
#include <string_view>

// Bound to a constant, so it is ready before any constructor runs.
char16_t const & KZPath::Separator = KZPlatform::pathSeparator;

namespace {

using View = std::u16string_view;

// Where the file name starts.
std::size_t NameBegin(View path) {
    auto const separator = std::find_if(path.rbegin(), path.rend(), KZPlatform::IsPathSeparator);
    auto const begin = static_cast<std::size_t>(path.rend() - separator);
    return std::max(begin, KZPlatform::PathRootLength(path));
}

// Where the directory ends: before the separators that follow it, but not inside of a root.
std::size_t DirectoryEnd(View path) {
    std::size_t const root = KZPlatform::PathRootLength(path);
    std::size_t end = NameBegin(path);
    while (end > root && KZPlatform::IsPathSeparator(path[end - 1])) --end;
    return end;
}

// Where the point of the extension stands; the length when there is none.
std::size_t PointOf(View path) {
    std::size_t const begin = NameBegin(path), point = path.rfind(u'.');
    bool const isExtension = point != View::npos && point > begin && path.substr(begin) != u"..";
    return isExtension ? point : path.size();
}

} // namespace

KZString KZPath::Join(KZString const & directory, KZString const & name) {
    View const front(directory);
    if (front.empty() || KZPlatform::PathRootLength(View(name)) != 0) return name;
    KZString joined(directory);
    if (!KZPlatform::IsPathSeparator(front.back())) joined += Separator;
    joined += name;
    return joined;
}

KZString KZPath::GetDirectory() const {
    View const path(path_);
    return KZString(path.substr(0, DirectoryEnd(path)));
}

KZString KZPath::GetFileName() const {
    View const path(path_);
    return KZString(path.substr(NameBegin(path)));
}

KZString KZPath::GetBaseName() const {
    View const path(path_);
    std::size_t const begin = NameBegin(path);
    return KZString(path.substr(begin, PointOf(path) - begin));
}

KZString KZPath::GetExtension() const {
    View const path(path_);
    return KZString(path.substr(std::min(PointOf(path) + 1, path.size())));
}

bool KZPath::IsComplete() const { return KZPlatform::PathRootLength(View(path_)) != 0; }

KZPath & KZPath::SetDirectory(KZString const & directory) {
    path_ = Join(directory, GetFileName());
    return *this;
}

KZPath & KZPath::SetFileName(KZString const & fileName) {
    path_ = Join(GetDirectory(), fileName);
    return *this;
}

KZPath & KZPath::SetExtension(KZString const & extension) {
    View const path(path_);
    KZString changed(path.substr(0, PointOf(path)));
    if (!extension.IsNull() && extension[0] != u'.') changed += u'.';
    changed += extension;
    path_ = changed;
    return *this;
}

KZPath & KZPath::MakeComplete(KZString const & base) {
    path_ = KZString(KZPlatform::FullPath(View(Join(base, path_))));
    return *this;
}
