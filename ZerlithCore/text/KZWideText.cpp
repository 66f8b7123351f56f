#include "ZerlithCore/text/KZWideText.h"

#include "ZerlithCore/text/KZStringText.h"

#include <algorithm>
#include <ostream>

namespace {

constexpr std::size_t ChunkSize = 256; // units that are widened on the stack

// Gives the one or two units of `character` to `sink`.
template <class Sink>
void SplitWide(wchar_t character, Sink sink) {
    auto const code = static_cast<char32_t>(character);
    if (sizeof(wchar_t) == sizeof(char16_t) || code < 0x10000) {
        sink(static_cast<char16_t>(code));
    } else if (code > 0x10FFFF) {
        sink(u'\uFFFD');
    } else {
        sink(static_cast<char16_t>(0xD7C0 + (code >> 10)));
        sink(static_cast<char16_t>(0xDC00 | (code & 0x3FF)));
    }
}

} // namespace

std::wstring KZToWide(std::u16string_view units) {
    std::wstring wide;
    wide.reserve(units.size());
    KZWideJoiner joiner;
    auto const append = [&wide](wchar_t character) { wide += character; };
    for (char16_t const unit : units) joiner.Put(unit, append);
    joiner.Flush(append);
    return wide;
}

std::u16string KZFromWide(std::wstring_view wide) {
    std::u16string units;
    units.reserve(wide.size());
    for (wchar_t const character : wide) KZAppendWide(units, character);
    return units;
}

std::size_t KZFromWide(std::wstring_view wide, char16_t * units) noexcept {
    char16_t * end = units;
    for (wchar_t const character : wide) SplitWide(character, [&end](char16_t unit) { *end++ = unit; });
    return static_cast<std::size_t>(end - units);
}

void KZAppendWide(KZString & string, wchar_t character) {
    SplitWide(character, [&string](char16_t unit) { string += unit; });
}

void KZAppendWide(std::u16string & string, wchar_t character) {
    SplitWide(character, [&string](char16_t unit) { string += unit; });
}

std::wostream & operator<<(std::wostream & stream, KZString const & string) {
    std::u16string_view units = KZTextOf(string);
    if (stream.width() != 0) return stream << KZToWide(units);
    // Pieces on the stack; the joiner carries a pair over their border.
    KZWideJoiner joiner;
    wchar_t chunk[ChunkSize + 2];
    while (!units.empty() && stream) {
        std::size_t length = 0;
        auto const append = [&](wchar_t character) { chunk[length++] = character; };
        std::u16string_view const piece = units.substr(0, ChunkSize);
        for (char16_t const unit : piece) joiner.Put(unit, append);
        units.remove_prefix(piece.size());
        if (units.empty()) joiner.Flush(append);
        stream.write(chunk, static_cast<std::streamsize>(length));
    }
    return stream;
}
