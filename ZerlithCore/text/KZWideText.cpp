#include "ZerlithCore/text/KZWideText.h"

#include "ZerlithCore/text/detail/KZStringText.h"

#include <algorithm>
#include <ostream>

namespace {

constexpr std::size_t chunkSize = 256; // units that are widened on the stack

} // namespace

void KZAppendWide(KZString & string, wchar_t character) {
    KZEncoding::SplitWide(character, [&string](char16_t unit) { string += unit; });
}

void KZAppendWide(std::u16string & string, wchar_t character) {
    KZEncoding::SplitWide(character, [&string](char16_t unit) { string += unit; });
}

std::wostream & operator<<(std::wostream & stream, KZString const & string) {
    std::u16string_view units = KZTextOf(string);
    if (stream.width() != 0) return stream << KZToWide(units);
    // Pieces on the stack; the joiner carries a pair over their border.
    KZWideJoiner joiner;
    wchar_t chunk[chunkSize + 2];
    while (!units.empty() && stream) {
        std::size_t length = 0;
        auto const append = [&](wchar_t character) { chunk[length++] = character; };
        std::u16string_view const piece = units.substr(0, chunkSize);
        for (char16_t const unit : piece) joiner.Put(unit, append);
        units.remove_prefix(piece.size());
        if (units.empty()) joiner.Flush(append);
        stream.write(chunk, static_cast<std::streamsize>(length));
    }
    return stream;
}
