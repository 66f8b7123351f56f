/// @file
/// The one crossing between 16-bit units and `wchar_t`. `text/KZWideText.h` offers it to users.
///
/// Where `wchar_t` has 32 bits, surrogate pairs join on the way out and split on the way in; lone surrogates pass
/// unharmed both ways. A `wchar_t` above 0x10FFFF becomes U+FFFD. Where `wchar_t` has 16 bits, texts are copied.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/encoding/Units.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace KZEncoding {

/// All of the text as characters, 0 units included.
[[nodiscard]] KZ_EXPORT std::wstring ToWide(std::u16string_view units);
/// All of the text as units, 0 included.
[[nodiscard]] KZ_EXPORT std::u16string FromWide(std::wstring_view wide);

/// Stores the characters of the text and returns their number. `wide` has room for one a unit.
KZ_EXPORT std::size_t ToWide(std::u16string_view units, wchar_t * wide) noexcept;

/// Stores the units of the text, 0 units included, and returns their number. `units` has room for two a character.
KZ_EXPORT std::size_t FromWide(std::wstring_view wide, char16_t * units) noexcept;

/// Gives the one or two units of `character` to `sink`, a function of one `char16_t`.
template <class Sink>
void SplitWide(wchar_t character, Sink && sink) {
    auto const code = static_cast<char32_t>(character);
    if (sizeof(wchar_t) == sizeof(char16_t) || code < 0x10000) {
        sink(static_cast<char16_t>(code));
    } else if (code > 0x10FFFF) {
        sink(ReplacementUnit);
    } else {
        sink(HighSurrogateOf(code));
        sink(LowSurrogateOf(code));
    }
}

/// Joins surrogate pairs in output that comes unit by unit.
///
///     KZEncoding::WideJoiner joiner;
///     for (char16_t unit : units) joiner.Put(unit, [&](wchar_t c) { buffer.sputc(c); });
///     joiner.Flush([&](wchar_t c) { buffer.sputc(c); });
///
/// Thread safety: one object needs outside locking.
class WideJoiner {
public:
    /// Gives what `unit` completes to `sink`, a function of one `wchar_t`: nothing, one or two characters.
    template <class Sink>
    void Put(char16_t unit, Sink && sink) {
        if constexpr (sizeof(wchar_t) == sizeof(char16_t)) {
            sink(static_cast<wchar_t>(unit));
        } else {
            if (high_ != 0 && IsLowSurrogate(unit)) {
                sink(static_cast<wchar_t>(JoinSurrogates(high_, unit)));
                high_ = 0;
                return;
            }
            Flush(sink);
            if (IsHighSurrogate(unit))
                high_ = unit;
            else
                sink(static_cast<wchar_t>(unit));
        }
    }

    /// Gives a high surrogate that still waits for its partner to `sink`.
    template <class Sink>
    void Flush(Sink && sink) {
        if (high_ != 0) sink(static_cast<wchar_t>(high_));
        high_ = 0;
    }

private:
    char16_t high_ = 0;
};

} // namespace KZEncoding
