// Converts whole texts with the functions of the header that convert one character.
#include "ZerlithCore/encoding/WideText.h"

namespace KZEncoding {

std::wstring ToWide(std::u16string_view units) {
    std::wstring wide;
    wide.reserve(units.size());
    WideJoiner joiner;
    auto const append = [&wide](wchar_t character) { wide += character; };
    for (char16_t const unit : units) joiner.Put(unit, append);
    joiner.Flush(append);
    return wide;
}

std::u16string FromWide(std::wstring_view wide) {
    std::u16string units;
    units.reserve(wide.size());
    auto const append = [&units](char16_t unit) { units += unit; };
    for (wchar_t const character : wide) SplitWide(character, append);
    return units;
}

std::size_t FromWide(std::wstring_view wide, char16_t * units) noexcept {
    char16_t * end = units;
    for (wchar_t const character : wide) SplitWide(character, [&end](char16_t unit) { *end++ = unit; });
    return static_cast<std::size_t>(end - units);
}

} // namespace KZEncoding
