// Converts whole texts with the functions of the header that convert one character.
#include "ZerlithCore/encoding/WideText.h"

namespace KZEncoding {

std::wstring ToWide(std::u16string_view units) {
    std::wstring wide(units.size(), L'\0');
    wide.resize(ToWide(units, wide.data()));
    return wide;
}

std::size_t ToWide(std::u16string_view units, wchar_t * wide) noexcept {
    wchar_t * end = wide;
    for (std::size_t i = 0; i < units.size(); ++i) {
        bool const isPair = sizeof(wchar_t) > sizeof(char16_t) && IsHighSurrogate(units[i]) &&
                            i + 1 < units.size() && IsLowSurrogate(units[i + 1]);
        *end++ = static_cast<wchar_t>(isPair ? JoinSurrogates(units[i], units[i + 1]) : units[i]);
        if (isPair) ++i;
    }
    return static_cast<std::size_t>(end - wide);
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
