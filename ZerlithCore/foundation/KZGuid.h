/// @file
/// Identifiers of 128 bits.
///
///     constexpr KZGuid id{0xB861C917, 0x11D3A414, 0x0400FE9A, 0xAB8796AC};
///     id.AsString();    // u"b861c917-a414-11d3-9afe-0004ac9687ab"
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// An identifier of 128 bits, as four words of 32 bits. All zero is the null identifier.
///
/// The words are those of the customary record (32, 16, 16 bits and 8 bytes) as it lies in little-endian memory, on
/// every machine; the text form is the customary one too.
///
/// Thread safety: as an integer.
class KZGuid {
public:
    constexpr KZGuid() noexcept = default;
    constexpr KZGuid(std::uint32_t first, std::uint32_t second, std::uint32_t third,
                     std::uint32_t fourth) noexcept
        : words_{first, second, third, fourth} {}

    [[nodiscard]] constexpr bool IsNull() const noexcept { return *this == KZGuid(); }
    /// Word `index`, 0 to 3.
    [[nodiscard]] constexpr std::uint32_t Word(std::size_t index) const noexcept { return words_[index]; }

    /// Compares word by word, starting with the first.
    friend constexpr auto operator<=>(KZGuid const &, KZGuid const &) noexcept = default;

    /// 8-4-4-4-12 hexadecimal digits in small letters. Errors: std::bad_alloc.
    [[nodiscard]] constexpr std::u16string AsString() const {
        std::u16string text;
        for (std::size_t i = 0; i < digitCount; ++i) {
            if (i == 8 || i == 12 || i == 16 || i == 20) text += u'-';
            text += u"0123456789abcdef"[words_[WordOf(i)] >> ShiftOf(i) & 0xF];
        }
        return text;
    }

    /// Reads that form, with letters of either case, with or without braces around it; std::nullopt for any other text.
    [[nodiscard]] static constexpr std::optional<KZGuid> FromString(std::u16string_view text) noexcept {
        if (text.size() == textLength + 2 && text.front() == u'{' && text.back() == u'}')
            text = text.substr(1, textLength);
        if (text.size() != textLength) return std::nullopt;
        KZGuid id;
        std::size_t digit = 0;
        for (std::size_t i = 0; i < textLength; ++i) {
            if (i == 8 || i == 13 || i == 18 || i == 23) {
                if (text[i] != u'-') return std::nullopt;
                continue;
            }
            std::uint32_t const value = DigitValue(text[i]);
            if (value > 0xF) return std::nullopt;
            id.words_[WordOf(digit)] |= value << ShiftOf(digit);
            ++digit;
        }
        return id;
    }

private:
    static constexpr std::size_t digitCount = 32;
    static constexpr std::size_t textLength = 36;

    // The digits of a word are printed as one number in the first word, as two in the second (low half first), and
    // byte by byte in the rest.
    static constexpr std::size_t WordOf(std::size_t digit) noexcept { return digit / 8; }
    static constexpr unsigned ShiftOf(std::size_t digit) noexcept {
        auto const place = static_cast<unsigned>(digit % 8);
        if (digit < 8) return 28 - 4 * place;
        if (digit < 16) return place < 4 ? 12 - 4 * place : 44 - 4 * place;
        return place / 2 * 8 + (place % 2 == 0 ? 4 : 0);
    }

    static constexpr std::uint32_t DigitValue(char16_t unit) noexcept {
        if (unit >= u'0' && unit <= u'9') return unit - u'0';
        if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10U;
        if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10U;
        return 0x10;
    }

    std::array<std::uint32_t, 4> words_{};
};

template <>
struct std::hash<KZGuid> {
    std::size_t operator()(KZGuid const & id) const noexcept {
        // Identifiers are random as a rule; the product spreads those that were numbered in a row.
        std::uint64_t const high = std::uint64_t{id.Word(0)} << 32 | id.Word(1);
        std::uint64_t const low = std::uint64_t{id.Word(2)} << 32 | id.Word(3);
        return static_cast<std::size_t>((high * 0x9E3779B97F4A7C15U) ^ low);
    }
};
