/// @file
/// A code page of one or two bytes a character, as tables: asked from the system once, then used without it.
///
///     CodePageTables const tables(reader);             // a CodePageReader that asks the system
///     auto count = tables.Decode(bytes, units, InvalidBytes::Replace);
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace KZEncoding {

/// What bytes that mean nothing in a code page do.
enum class InvalidBytes : unsigned char {
    Refuse, // the conversion fails
    Replace // they become U+FFFD
};

/// What a system says of a code page.
class CodePageReader {
public:
    /// What a byte, or two, can be beside a unit. No byte means a surrogate by itself.
    static constexpr char16_t leadMark = 0xD800;
    static constexpr char16_t invalidMark = 0xDC00;

    virtual ~CodePageReader() = default;

    /// The unit of one or two bytes, or a mark.
    virtual char16_t UnitOf(std::string_view bytes) const = 0;

    /// The byte of a unit, or its two with the first one high; "?" for a unit that the page lacks.
    virtual std::uint16_t CodeOf(char16_t unit) const = 0;
};

/// The tables. Pages that compose letters (1255, 1258) give a unit for each byte, so a text leaves no state behind.
///
/// Thread safety: may be used by any number of threads.
class CodePageTables {
public:
    /// Asks `reader` about each byte, pair of bytes and unit.
    /// Errors: std::bad_alloc.
    explicit CodePageTables(CodePageReader const & reader);

    /// Writes the units of all `bytes` to `out` and returns how many. Requires: `out` has room for `bytes.size()` units.
    /// Errors: null for invalid bytes that are refused.
    [[nodiscard]] std::optional<std::size_t> Decode(std::string_view bytes, std::span<char16_t> out,
                                                    InvalidBytes invalid) const noexcept;

    /// Appends the bytes of `units` to `out`.
    /// Errors: std::bad_alloc.
    void Encode(std::u16string_view units, std::string & out) const;

private:
    static constexpr unsigned rowSize = 256;
    using UnitRow = std::array<char16_t, rowSize>;
    using CodeRow = std::array<std::uint16_t, rowSize>;

    void ReadUnits(CodePageReader const & reader);
    void ReadCodes(CodePageReader const & reader);
    char const * DecodePairs(char const * in, char const * end, char16_t *& out) const noexcept;
    char * EncodePiece(std::u16string_view units, char * out) const noexcept;

    UnitRow units_{};                               // by a byte: a unit or a mark
    std::array<std::uint8_t, rowSize> trailRows_{}; // by a lead byte: its row in `trails_`
    std::vector<UnitRow> trails_;                   // by the byte behind it
    std::array<std::uint8_t, rowSize> codeRows_{};  // by a unit's high byte: its row in `codes_`
    std::vector<CodeRow> codes_;                    // by its low byte
};

} // namespace KZEncoding
