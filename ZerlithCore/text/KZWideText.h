/// @file
/// The one crossing between 16-bit units and `wchar_t`, for the wide streams of the standard library.
///
///     std::wcout << KZToWide(u"\U0001F600");          // one character where wchar_t has 32 bits
///     KZString line;
///     for (wchar_t c; stream.get(c) && c != L'\n';) KZAppendWide(line, c);
///
/// Where `wchar_t` has 32 bits, surrogate pairs join on the way out and split on the way in; lone surrogates pass
/// unharmed both ways. A `wchar_t` above 0x10FFFF becomes U+FFFD. Where `wchar_t` has 16 bits, texts are copied.
#pragma once

#include "ZerlithCore/platform/Export.h"
#include "ZerlithCore/text/KZString.h"

#include <cstddef>
#include <string>
#include <string_view>

/// All of the text as characters, 0 units included.
[[nodiscard]] KZ_EXPORT std::wstring KZToWide(std::u16string_view units);
/// All of the text as units, 0 included.
[[nodiscard]] KZ_EXPORT std::u16string KZFromWide(std::wstring_view wide);

/// Stores the units of the text, 0 units included, and returns their number. `units` has room for two a character.
KZ_EXPORT std::size_t KZFromWide(std::wstring_view wide, char16_t * units) noexcept;

/// Appends the one or two units of `character`; a 0 is appended and counted.
KZ_EXPORT void KZAppendWide(KZString & string, wchar_t character);
KZ_EXPORT void KZAppendWide(std::u16string & string, wchar_t character);

/// Joins surrogate pairs in output that comes unit by unit.
///
///     KZWideJoiner joiner;
///     for (char16_t unit : units) joiner.Put(unit, [&](wchar_t c) { buffer.sputc(c); });
///     joiner.Flush([&](wchar_t c) { buffer.sputc(c); });
///
/// Thread safety: one object needs outside locking.
class KZWideJoiner {
public:
    /// Gives what `unit` completes to `sink`, a function of one `wchar_t`: nothing, one or two characters.
    template <class Sink>
    void Put(char16_t unit, Sink && sink) {
        if constexpr (sizeof(wchar_t) == sizeof(char16_t)) {
            sink(static_cast<wchar_t>(unit));
        } else {
            if (high_ != 0 && (unit & 0xFC00) == 0xDC00) {
                sink(static_cast<wchar_t>(((high_ & 0x3FF) << 10 | (unit & 0x3FF)) + 0x10000));
                high_ = 0;
                return;
            }
            Flush(sink);
            if ((unit & 0xFC00) == 0xD800)
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
