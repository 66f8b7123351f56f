/// @file
/// The only conversions between 16-bit units and `wchar_t`. `text/KZWideText.h` offers them to users.
///
///     std::wcout << KZEncoding::ToWide(u"\U0001F600");    // one character where wchar_t has 32 bits
///
/// Where `wchar_t` has 32 bits, surrogate pairs are joined to one character and split again on the way back; lone
/// surrogates stay as they are. A `wchar_t` above 0x10FFFF becomes U+FFFD. Where `wchar_t` has 16 bits, texts are
/// copied.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/encoding/Units.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace KZEncoding {

/// Converts all of the text, 0 units included.
[[nodiscard]] KZ_EXPORT std::wstring ToWide(std::u16string_view units);
/// Converts all of the text, 0 characters included.
[[nodiscard]] KZ_EXPORT std::u16string FromWide(std::wstring_view wide);

/// Stores the characters of the text and returns their number. `wide` must have room for one character for each unit.
KZ_EXPORT std::size_t ToWide(std::u16string_view units, wchar_t * wide) noexcept;

/// Stores the units of the text, 0 included, and returns their number. `units` must have room for two units for each
/// character.
KZ_EXPORT std::size_t FromWide(std::wstring_view wide, char16_t * units) noexcept;

/// Calls `sink`, a function of one `char16_t`, with each of the one or two units of `character`.
template <class Sink>
void SplitWide(wchar_t character, Sink && sink) {
    auto const code = static_cast<char32_t>(character);
    if (sizeof(wchar_t) == sizeof(char16_t) || code < 0x10000) {
        sink(static_cast<char16_t>(code));
    } else if (code > 0x10FFFF) {
        sink(replacementUnit);
    } else {
        sink(HighSurrogateOf(code));
        sink(LowSurrogateOf(code));
    }
}

/// Joins surrogate pairs when units come one by one.
///
///     KZEncoding::WideJoiner joiner;
///     for (char16_t unit : units) joiner.Put(unit, [&](wchar_t c) { buffer.sputc(c); });
///     joiner.Flush([&](wchar_t c) { buffer.sputc(c); });
///
/// Thread safety: one object needs outside locking.
class WideJoiner {
public:
    /// Calls `sink`, a function of one `wchar_t`, with each character that is complete now: none, one or two.
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

    /// To be called after the last unit: calls `sink` with a high surrogate that has no partner.
    template <class Sink>
    void Flush(Sink && sink) {
        if (high_ != 0) sink(static_cast<wchar_t>(high_));
        high_ = 0;
    }

private:
    char16_t high_ = 0;
};

} // namespace KZEncoding
