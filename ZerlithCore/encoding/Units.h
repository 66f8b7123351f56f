/// @file
/// Tests of single 16-bit units, and the conversion between a character above U+FFFF and its two units.
///
///     bool const isPair = KZEncoding::IsHighSurrogate(text[i]) && KZEncoding::IsLowSurrogate(text[i + 1]);
///     char32_t const code = isPair ? KZEncoding::JoinSurrogates(text[i], text[i + 1]) : text[i];
#pragma once

namespace KZEncoding {

/// The unit that replaces what can't be converted.
inline constexpr char16_t replacementUnit = 0xFFFD;

[[nodiscard]] constexpr bool IsSurrogate(char32_t unit) noexcept { return (unit & 0xFFFFF800) == 0xD800; }
[[nodiscard]] constexpr bool IsHighSurrogate(char32_t unit) noexcept { return (unit & 0xFFFFFC00) == 0xD800; }
[[nodiscard]] constexpr bool IsLowSurrogate(char32_t unit) noexcept { return (unit & 0xFFFFFC00) == 0xDC00; }

/// The character of a surrogate pair.
[[nodiscard]] constexpr char32_t JoinSurrogates(char16_t high, char16_t low) noexcept {
    return (static_cast<char32_t>(high & 0x3FF) << 10 | (low & 0x3FF)) + 0x10000;
}

/// The first and the second unit of a character above U+FFFF, which is at most U+10FFFF.
[[nodiscard]] constexpr char16_t HighSurrogateOf(char32_t code) noexcept {
    return static_cast<char16_t>(0xD7C0 + (code >> 10));
}
[[nodiscard]] constexpr char16_t LowSurrogateOf(char32_t code) noexcept {
    return static_cast<char16_t>(0xDC00 | (code & 0x3FF));
}

/// A space or a tab.
[[nodiscard]] constexpr bool IsBlank(char16_t unit) noexcept { return unit == u' ' || unit == u'\t'; }

/// A digit of ASCII, "0" to "9".
[[nodiscard]] constexpr bool IsDigit(char32_t unit) noexcept { return unit >= U'0' && unit <= U'9'; }

/// White space of ASCII: a blank, a line end, a vertical tab or a form feed.
[[nodiscard]] constexpr bool IsSpace(char16_t unit) noexcept {
    return unit == u' ' || (unit >= u'\t' && unit <= u'\r');
}

} // namespace KZEncoding
