/// @file
/// Properties of characters.
///
///     KZUnicode::GetEquivalentChar(u'É');     // u'E'
///     KZUnicode::CharSetInfo info;
///     if (KZUnicodeInfoReader::Read(info, "UnicodeData.txt") &&
///         info[u'A'].generalCategory == KZUnicode::GeneralCategory::Lu) ...
#pragma once

#include "ZerlithCore/KZExport.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

/// A static vocabulary of character properties.
///
/// Thread safety: everything is constant.
class KZ_EXPORT KZUnicode {
public:
    KZUnicode() = delete;

    // The values are named after the keys of the database, in one order; `None` stands for any other key.

    /// Letters, marks, numbers, punctuation, symbols, separators and the rest, each with its subdivision.
    enum class GeneralCategory : std::uint8_t {
        // clang-format off
        Mn, Mc, Me, Nd, Nl, No, Zs, Zl, Zp, Cc, Cf, Cs, Co, Cn, Lu, Ll, Lt, Lm, Lo, Pc, Pd, Ps, Pe, Pi, Pf, Po, Sm, Sc,
        Sk, So, None
        // clang-format on
    };
    /// The direction in which a character is written.
    enum class BidirectionalCategory : std::uint8_t { L, R, EN, ES, ET, AN, CS, B, S, WS, ON, None };
    /// The tag of a compatibility decomposition: "<font>" is `Font`.
    enum class Compatibility : std::uint8_t {
        // clang-format off
        Font, NoBreak, Initial, Medial, Final, Isolated, Circle, Super, Sub, Vertical, Wide, Narrow, Small, Square,
        Fraction, Compat, None
        // clang-format on
    };

    /// The value of a key; `None` for another text, and for null.
    [[nodiscard]] static GeneralCategory GetGeneralCategory(char const * key) noexcept;
    [[nodiscard]] static BidirectionalCategory GetBidirectionalCategory(char const * key) noexcept;
    [[nodiscard]] static Compatibility GetCompatibility(char const * key) noexcept;

    /// What the database tells of one unit. A fresh record has empty names, `None` and 0.
    struct CharInfo {
        char const * name = "";    ///< never null; lives as long as the CharSetInfo, or a copy of it
        char const * oldName = ""; ///< the name in Unicode 1
        std::int32_t decimalDigitValue = 0;
        std::int32_t digitValue = 0;
        std::int32_t numericValue = 0; ///< of a fraction, the number in front of the slash
        std::int32_t combiningClass = 0;
        char16_t upperCase = 0; ///< the unit's case maps; 0 where it has none
        char16_t lowerCase = 0;
        char16_t titleCase = 0;
        GeneralCategory generalCategory = GeneralCategory::None;
        BidirectionalCategory bidirectionalCategory = BidirectionalCategory::None;
        Compatibility compatibility = Compatibility::None;
        bool mirrored = false;
    };

    /// A record for each of the 65536 units, with their names in one pool.
    ///
    /// Thread safety: a const object may be read from any thread.
    class KZ_EXPORT CharSetInfo {
    public:
        CharSetInfo() : records_(0x10000) {}
        [[nodiscard]] CharInfo const & operator[](char16_t unit) const noexcept { return records_[unit]; }
        [[nodiscard]] CharInfo & operator[](char16_t unit) noexcept { return records_[unit]; }
        /// Makes all records fresh and lets go of the names.
        void Reset();
        /// Keeps a copy of `name` with a terminator behind it, for `CharInfo`; an empty one costs nothing.
        char const * KeepName(std::string_view name);

    private:
        struct Pool;
        std::vector<CharInfo> records_;
        std::shared_ptr<Pool> pool_;
    };

    /// The equivalent of each unit: an accented letter, of whatever script, has the base letter with which its full
    /// canonical decomposition begins, in its own case; every other unit has itself. Letters that don't decompose (AE,
    /// O with stroke, sharp s) and Hangul syllables stay. The data are those of the Unicode character database.
    static std::array<char16_t, 0x10000> const glbEquivalentChar;

    [[nodiscard]] static char16_t GetEquivalentChar(char16_t unit) noexcept {
        return glbEquivalentChar[unit];
    }
};
