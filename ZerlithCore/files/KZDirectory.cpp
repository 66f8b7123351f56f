// Listing by patterns with "*" and "?", and the functions for directories.
#include "ZerlithCore/files/KZDirectory.h"

#include "ZerlithCore/files/KZPath.h"
#include "ZerlithCore/platform/Files.h"

#include <algorithm>
#include <string_view>

namespace {

using View = std::u16string_view;

// After a mismatch the last "*" so far takes one unit more. Earlier ones needn't be tried again: with "a*b*c" and "abxbyc",
// "a*b" has matched at the first "b", and whatever follows a later "b" can be taken by the second "*" as well.
bool MatchesPattern(View name, View pattern) {
    std::size_t n = 0, p = 0, star = View::npos, starName = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == u'*') {
            star = p++;
            starName = n;
        } else if (p < pattern.size() && (pattern[p] == u'?' || pattern[p] == name[n])) {
            ++n, ++p;
        } else if (star != View::npos) {
            p = star + 1;
            n = ++starName;
        } else {
            return false;
        }
    }
    return std::all_of(pattern.begin() + static_cast<std::ptrdiff_t>(p), pattern.end(),
                       [](char16_t unit) { return unit == u'*'; });
}

bool FindNames(KZString const & directory, KZPlatform::PathKind kind, KZString const & pattern,
               std::vector<KZString> & names) {
    std::vector<KZPlatform::DirectoryEntry> entries;
    names.clear();
    if (!KZPlatform::ListDirectory(View(directory), entries)) return false;
    for (KZPlatform::DirectoryEntry const & entry : entries) {
        if (entry.kind == kind && MatchesPattern(entry.name, View(pattern))) names.emplace_back(entry.name);
    }
    std::sort(names.begin(), names.end());
    return true;
}

std::vector<KZString> NamesOf(KZString const & directory, KZPlatform::PathKind kind,
                              KZString const & pattern) {
    std::vector<KZString> names;
    FindNames(directory, kind, pattern, names);
    return names;
}

} // namespace

bool KZDirectory::Open(KZString const & path) {
    path_ = Exists(path) ? path : KZString();
    return IsOpen();
}

std::vector<KZString> KZDirectory::GetFileNames(KZString const & pattern) const {
    return NamesOf(path_, KZPlatform::PathKind::File, pattern);
}

std::vector<KZString> KZDirectory::GetDirectoryNames(KZString const & pattern) const {
    return NamesOf(path_, KZPlatform::PathKind::Directory, pattern);
}

bool KZDirectory::GetFileNames(std::vector<KZString> & names, KZString const & pattern) const {
    return FindNames(path_, KZPlatform::PathKind::File, pattern, names);
}

bool KZDirectory::Exists(KZString const & path) { return KZPlatform::IsDirectory(View(path)); }

bool KZDirectory::Create(KZString const & path) {
    // Goes up to the first directory that exists. The full path has no "..", so each directory is one part shorter.
    std::vector<KZString> missing;
    for (KZPath at = KZPath(path).MakeComplete(); !path.IsNull() && !Exists(at.AsString());) {
        missing.push_back(at.AsString());
        at = at.GetDirectory();
    }
    return !path.IsNull() && std::all_of(missing.rbegin(), missing.rend(), [](KZString const & directory) {
        // Another process may have made it since.
        return KZPlatform::MakeDirectory(View(directory)) || Exists(directory);
    });
}

bool KZDirectory::Remove(KZString const & path) { return KZPlatform::RemoveEmptyDirectory(View(path)); }

bool KZDirectory::Matches(KZString const & name, KZString const & pattern) {
    return MatchesPattern(View(name), View(pattern));
}
