// Converts whole texts. Blocks in which each unit is a character are copied without a look at single units; in other blocks the
// units are converted one by one.
#include "ZerlithCore/encoding/WideText.h"

#include <algorithm>

namespace KZEncoding {

namespace {

constexpr std::size_t blockSize = 16;

/// Converts all of `in`, and returns the end of what was stored. `isPlain` says whether a unit or character is the same on both
/// sides; `one` converts the first of a text, takes it off, and returns the new end.
template <class View, class Out, class IsPlain, class One>
Out * Convert(View in, Out * out, IsPlain isPlain, One one) {
    while (!in.empty()) {
        for (; in.size() >= blockSize; in.remove_prefix(blockSize), out += blockSize) {
            bool areAllPlain = true;
            for (std::size_t i = 0; i < blockSize; ++i) areAllPlain &= isPlain(in[i]);
            if (!areAllPlain) break;
            for (std::size_t i = 0; i < blockSize; ++i) out[i] = static_cast<Out>(in[i]);
        }
        for (std::size_t count = std::min(in.size(), blockSize); count != 0 && !in.empty(); --count)
            out = one(in, out);
    }
    return out;
}

} // namespace

std::wstring ToWide(std::u16string_view units) {
    std::wstring wide(units.size(), L'\0');
    wide.resize(ToWide(units, wide.data()));
    return wide;
}

std::size_t ToWide(std::u16string_view units, wchar_t * wide) noexcept {
    constexpr bool joins = sizeof(wchar_t) > sizeof(char16_t);
    auto const isPlain = [](char16_t unit) { return !joins || !IsSurrogate(unit); };
    auto const one = [](std::u16string_view & in, wchar_t * out) {
        bool const isPair = joins && in.size() > 1 && IsHighSurrogate(in[0]) && IsLowSurrogate(in[1]);
        *out = static_cast<wchar_t>(isPair ? JoinSurrogates(in[0], in[1]) : in[0]);
        in.remove_prefix(isPair ? 2 : 1);
        return out + 1;
    };
    return static_cast<std::size_t>(Convert(units, wide, isPlain, one) - wide);
}

std::u16string FromWide(std::wstring_view wide) {
    std::u16string units;
    units.reserve(wide.size());
    auto const append = [&units](char16_t unit) { units += unit; };
    for (wchar_t const character : wide) SplitWide(character, append);
    return units;
}

std::size_t FromWide(std::wstring_view wide, char16_t * units) noexcept {
    auto const isPlain = [](wchar_t character) { return static_cast<char32_t>(character) < 0x10000; };
    auto const one = [](std::wstring_view & in, char16_t * out) {
        SplitWide(in.front(), [&out](char16_t unit) { *out++ = unit; });
        in.remove_prefix(1);
        return out;
    };
    return static_cast<std::size_t>(Convert(wide, units, isPlain, one) - units);
}

} // namespace KZEncoding
