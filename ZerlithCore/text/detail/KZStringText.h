/// @file
/// Views of texts up to their first 0 unit or byte, for converters and streams.
#pragma once

#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/detail/KZUnitScan.h"

#include <string_view>

/// The text up to its first 0 unit; valid until the string changes.
[[nodiscard]] inline std::u16string_view KZTextOf(KZString const & string) noexcept {
    return {string.c_str(), KZUnitScan::FindUnit(string.c_str(), string.Length(), u'\0')};
}

/// The bytes up to the terminator; empty for null.
[[nodiscard]] inline std::string_view KZBytesOf(char const * text) noexcept {
    return text ? std::string_view(text) : std::string_view();
}
