/// @file
/// Text for the wide streams of the standard library, which take `wchar_t`.
///
///     std::wcout << KZToWide(u"\U0001F600");          // one character where wchar_t has 32 bits
///     std::wistringstream stream(L"first\nsecond");
///     KZString line;
///     for (wchar_t c; stream.get(c) && c != L'\n';) KZAppendWide(line, c);
///
/// Where `wchar_t` has 32 bits, surrogate pairs are joined to one character and split again on the way back; lone
/// surrogates stay as they are. A `wchar_t` above 0x10FFFF becomes U+FFFD. Where `wchar_t` has 16 bits, texts are
/// copied.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/encoding/WideText.h"

#include <cstddef>
#include <string>
#include <string_view>

class KZString;

/// Converts all of the text, 0 units included.
[[nodiscard]] inline std::wstring KZToWide(std::u16string_view units) { return KZEncoding::ToWide(units); }
/// Converts all of the text, 0 characters included.
[[nodiscard]] inline std::u16string KZFromWide(std::wstring_view wide) { return KZEncoding::FromWide(wide); }

/// Stores the units of the text, 0 included, and returns their number. `units` must have room for two units for each
/// character.
inline std::size_t KZFromWide(std::wstring_view wide, char16_t * units) noexcept {
    return KZEncoding::FromWide(wide, units);
}

/// Appends the one or two units of `character`; a 0 is appended and counted.
KZ_EXPORT void KZAppendWide(KZString & string, wchar_t character);
KZ_EXPORT void KZAppendWide(std::u16string & string, wchar_t character);

/// Joins surrogate pairs when units come one by one.
using KZWideJoiner = KZEncoding::WideJoiner;
