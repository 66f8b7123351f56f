/// @file
/// Properties of characters.
///
///     KZUnicode::GetEquivalentChar(u'É');     // u'E'
#pragma once

#include "ZerlithCore/platform/Export.h"

#include <array>

/// A static vocabulary of character properties.
///
/// Thread safety: everything is constant.
class KZ_EXPORT KZUnicode {
public:
    KZUnicode() = delete;

    /// The equivalent of each unit: an accented letter, of whatever script, has the base letter with which its full
    /// canonical decomposition begins, in its own case; every other unit has itself. Letters that don't decompose (AE,
    /// O with stroke, sharp s) and Hangul syllables stay. The data are those of the Unicode character database.
    static std::array<char16_t, 0x10000> const glbEquivalentChar;

    [[nodiscard]] static char16_t GetEquivalentChar(char16_t unit) noexcept {
        return glbEquivalentChar[unit];
    }
};
