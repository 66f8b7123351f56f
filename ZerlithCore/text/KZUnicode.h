/// @file
/// Properties of characters: base letters, and what the Unicode character database says of each unit.
///
///     char16_t const base = KZUnicode::GetEquivalentChar(u'É');     // u'E'
///     KZUnicode::CharSetInfo info;
///     bool const isCapital = KZUnicodeInfoReader::Read(info, "UnicodeData.txt") &&
///                            info[u'A'].generalCategory == KZUnicode::GeneralCategory::Lu;
#pragma once

#include "ZerlithCore/KZExport.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

/// The names of character properties, and the base letter of each unit.
///
/// Thread safety: all functions may be called from any thread.
class KZ_EXPORT KZUnicode {
public:
    KZUnicode() = delete;

    // The values have the names of the keys in the database; `None` stands for any other key.

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

    /// What the database says of one unit. A fresh record has empty names, `None` and 0.
    struct CharInfo {
        char const * name = "";    ///< never null; lives as long as the CharSetInfo, or a copy of it
        char const * oldName = ""; ///< the name in Unicode 1
        std::int32_t decimalDigitValue = 0;
        std::int32_t digitValue = 0;
        std::int32_t numericValue = 0; ///< of a fraction, the number before the slash
        std::int32_t combiningClass = 0;
        char16_t upperCase = 0; ///< this and the next two: the unit in another case; 0 if there is none
        char16_t lowerCase = 0;
        char16_t titleCase = 0;
        GeneralCategory generalCategory = GeneralCategory::None;
        BidirectionalCategory bidirectionalCategory = BidirectionalCategory::None;
        Compatibility compatibility = Compatibility::None;
        bool mirrored = false;
    };

    /// A record for each of the 65536 units, and the names of all of them: some megabytes.
    ///
    /// Errors: std::bad_alloc. Thread safety: a const object may be read from any thread.
    class KZ_EXPORT CharSetInfo {
    public:
        CharSetInfo() : records_(0x10000) {}
        [[nodiscard]] CharInfo const & operator[](char16_t unit) const noexcept { return records_[unit]; }
        [[nodiscard]] CharInfo & operator[](char16_t unit) noexcept { return records_[unit]; }
        /// Makes all records fresh and drops the names.
        void Reset();
        /// Keeps a copy of `name`, ended by a 0 byte, and returns it: for the names of a `CharInfo`. An empty name
        /// allocates nothing.
        char const * KeepName(std::string_view name);

    private:
        struct Pool;
        std::vector<CharInfo> records_;
        std::shared_ptr<Pool> pool_;
    };

    /// The base letter of each unit: for an accented letter of any script the letter with which its full canonical
    /// decomposition begins, in the same case; for every other unit the unit itself. Letters that don't decompose (AE,
    /// O with stroke, sharp s) and Hangul syllables map to themselves. The data are those of the Unicode character
    /// database.
    static std::array<char16_t, 0x10000> const glbEquivalentChar;

    [[nodiscard]] static char16_t GetEquivalentChar(char16_t unit) noexcept {
        return glbEquivalentChar[unit];
    }
};
