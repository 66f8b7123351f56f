#include "ZerlithCore/files/KZStdPath.h"

#include "ZerlithCore/encoding/Utf8.h"

#include <type_traits>

namespace {

// A template, so that only the half that suits the system's paths is compiled.
template <class Path>
KZString Units(Path const & path) {
    if constexpr (std::is_same_v<typename Path::value_type, char>)
        return KZString(
            std::u16string_view(KZEncoding::Utf8ToUnits(path.native(), KZEncoding::Utf8Mode::Escape)));
    else
        return KZString::FromWide(path.native());
}

template <class Path>
Path Native(KZString const & path) {
    if constexpr (std::is_same_v<typename Path::value_type, char>)
        return KZEncoding::UnitsToUtf8(path.c_str(), KZEncoding::Utf8Mode::Escape);
    else
        return path.AsWide();
}

} // namespace

KZString KZFromPath(std::filesystem::path const & path) { return Units(path); }

std::filesystem::path KZToPath(KZString const & path) { return Native<std::filesystem::path>(path); }
