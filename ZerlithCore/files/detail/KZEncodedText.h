// Text as the bytes of a file, and back. Units that a text can hold all survive: in UTF-8 by the escape rule for bytes
// that aren't UTF-8, in UTF-16 because every pair of bytes is a unit.
#pragma once

#include "ZerlithCore/files/KZTextEncoding.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace KZDetail {

/// The bytes in front of a text in this encoding.
[[nodiscard]] std::string_view MarkOf(KZTextEncoding encoding) noexcept;

/// The encoding whose mark `bytes` begin with; plain UTF-8 when there is none.
[[nodiscard]] KZTextEncoding EncodingByMark(std::string_view bytes) noexcept;

/// True when `bytes` end inside what may become a mark.
[[nodiscard]] bool IsPartOfMark(std::string_view bytes) noexcept;

[[nodiscard]] constexpr bool IsUtf16(KZTextEncoding encoding) noexcept {
    return encoding == KZTextEncoding::Utf16LittleEndian || encoding == KZTextEncoding::Utf16BigEndian;
}

/// The character that stands for a byte behind the last whole unit of a UTF-16 file. All texts of units are texts of
/// such files, so it lies outside of Unicode, where `wchar_t` has room.
[[nodiscard]] constexpr wchar_t LoneByte(unsigned char byte) noexcept {
    return static_cast<wchar_t>(sizeof(wchar_t) == sizeof(char16_t) ? 0xFFFD : 0x110000 + byte);
}
[[nodiscard]] constexpr bool IsLoneByte(wchar_t character) noexcept {
    return static_cast<char32_t>(character) - 0x110000U < 0x100U;
}

/// Appends the bytes of `units`.
void AppendEncoded(std::string & bytes, std::u16string_view units, KZTextEncoding encoding);
/// Appends the bytes of characters. A lone byte that more text follows is filled up to a unit, so that the text behind
/// it stays readable.
void AppendEncoded(std::string & bytes, std::wstring_view characters, KZTextEncoding encoding);

/// Puts the units of UTF-16 bytes into `units`, which has room, and returns their number; an odd byte stays.
std::size_t DecodeUtf16(std::string_view bytes, char16_t * units, KZTextEncoding encoding) noexcept;

} // namespace KZDetail
