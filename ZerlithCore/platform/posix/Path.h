// Converts paths between UTF-16 and the bytes of the system. Bytes that aren't UTF-8 become lone surrogates.
#pragma once

#include "ZerlithCore/encoding/Utf8.h"

#include <string>
#include <string_view>

namespace KZPlatform {

/// The bytes of a path. A path with a 0 unit inside gives an empty text, which names no file.
inline std::string PathBytes(std::u16string_view path) {
    if (path.find(u'\0') != std::u16string_view::npos) return {};
    return KZEncoding::UnitsToUtf8(path, KZEncoding::Utf8Mode::Escape);
}

inline std::u16string PathUnits(std::string_view bytes) {
    return KZEncoding::Utf8ToUnits(bytes, KZEncoding::Utf8Mode::Escape);
}

} // namespace KZPlatform
