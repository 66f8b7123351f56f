// Converts text to the bytes of a file and back. Nothing is lost: in UTF-8 a byte that isn't valid is kept as an escape, and
// in UTF-16 every pair of bytes is a unit.
#pragma once

#include "ZerlithCore/files/KZTextEncoding.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace KZDetail {

/// The byte-order mark of this encoding; empty for `Utf8`.
[[nodiscard]] std::string_view MarkOf(KZTextEncoding encoding) noexcept;

/// The encoding whose mark `bytes` begin with; plain UTF-8 when there is none.
[[nodiscard]] KZTextEncoding EncodingByMark(std::string_view bytes) noexcept;

/// True when more bytes are needed to tell: `bytes` are a part, but not the whole, of a mark.
[[nodiscard]] bool IsPartOfMark(std::string_view bytes) noexcept;

[[nodiscard]] constexpr bool IsUtf16(KZTextEncoding encoding) noexcept {
    return encoding == KZTextEncoding::Utf16LittleEndian || encoding == KZTextEncoding::Utf16BigEndian;
}

/// The character that stands for a single byte at the end of a UTF-16 file, after the last whole unit. Every character of
/// Unicode may occur in such a file, so this one is outside of Unicode if `wchar_t` is large enough.
[[nodiscard]] constexpr wchar_t LoneByte(unsigned char byte) noexcept {
    return static_cast<wchar_t>(sizeof(wchar_t) == sizeof(char16_t) ? 0xFFFD : 0x110000 + byte);
}
[[nodiscard]] constexpr bool IsLoneByte(wchar_t character) noexcept {
    return static_cast<char32_t>(character) - 0x110000U < 0x100U;
}

/// Appends the bytes of `units`.
void AppendEncoded(std::string & bytes, std::u16string_view units, KZTextEncoding encoding);
/// Appends the bytes of characters. If text follows a lone byte, the byte is filled up to a unit, so that the text after it
/// stays readable.
void AppendEncoded(std::string & bytes, std::wstring_view characters, KZTextEncoding encoding);

/// Puts the units of UTF-16 bytes into `units` and returns their number. A single byte at the end is left out.
/// Requires: `units` has room for half as many units as there are bytes.
std::size_t DecodeUtf16(std::string_view bytes, char16_t * units, KZTextEncoding encoding) noexcept;

} // namespace KZDetail
