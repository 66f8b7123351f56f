/// @file
/// Equality of names ignoring case, fast enough for searching a list of names. Not installed.
#pragma once

#include "ZerlithCore/text/KZString.h"

#include <cstddef>
#include <string_view>

namespace KZDetail {

constexpr char16_t FoldAscii(char16_t unit) noexcept {
    return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - u'a' + u'A') : unit;
}

inline bool SameIgnoringCase(char16_t a, char16_t b) {
    if (a == b) return true;
    if (a < 0x80 && b < 0x80) return FoldAscii(a) == FoldAscii(b);
    return KZtowupper(a) == KZtowupper(b);
}

/// True when both names have the same units under the one-unit case map, 0 units included.
///
/// The map doesn't change lengths, so names of different lengths differ. Names in one list tend to differ at their end
/// ("server1", "server2"), so units are compared from the end.
inline bool EqualIgnoringCase(std::u16string_view a, std::u16string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = a.size(); i-- > 0;)
        if (!SameIgnoringCase(a[i], b[i])) return false;
    return true;
}

inline bool EqualIgnoringCase(KZString const & a, KZString const & b) {
    return EqualIgnoringCase(std::u16string_view(a), std::u16string_view(b));
}

} // namespace KZDetail
