/// @file
/// A code page with one or two bytes for each character, as tables. Making them asks the system about every code;
/// from then on conversions don't need the system.
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

/// What happens to bytes that have no meaning in a code page.
enum class InvalidBytes : unsigned char {
    Refuse, // the conversion fails
    Replace // they become U+FFFD
};

/// What the tables are made from. A port of the platform implements it.
class CodePageReader {
public:
    /// The results of `UnitOf` besides a unit: the byte is a lead byte, or has no meaning. They are surrogates, which
    /// no code page has.
    static constexpr char16_t leadMark = 0xD800;
    static constexpr char16_t invalidMark = 0xDC00;

    virtual ~CodePageReader() = default;

    /// The unit for one or two bytes, or one of the marks.
    virtual char16_t UnitOf(std::string_view bytes) const = 0;

    /// The code of a unit: its byte, or its two bytes with the first one in the upper 8 bits. "?" for a unit that the
    /// page lacks.
    virtual std::uint16_t CodeOf(char16_t unit) const = 0;
};

/// The tables. Pages with combining accents (1255, 1258) give one unit for each byte: letters and accents aren't
/// combined.
///
/// Thread safety: may be used by any number of threads.
class CodePageTables {
public:
    /// Asks `reader` about each byte, pair of bytes and unit.
    /// Errors: std::bad_alloc.
    explicit CodePageTables(CodePageReader const & reader);

    /// Converts all `bytes`, writes the units to `out` and returns their number. Requires: `out` has room for
    /// `bytes.size()` units. Errors: null for invalid bytes that are refused.
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

    UnitRow units_{};                               // index: a byte; a unit or a mark
    std::array<std::uint8_t, rowSize> trailRows_{}; // index: a lead byte; its row in `trails_`
    std::vector<UnitRow> trails_;                   // index: the byte after it
    std::array<std::uint8_t, rowSize> codeRows_{};  // index: the high byte of a unit; its row in `codes_`
    std::vector<CodeRow> codes_;                    // index: its low byte
};

} // namespace KZEncoding
