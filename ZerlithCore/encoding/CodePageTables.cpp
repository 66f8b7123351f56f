// Makes the tables of a code page, and converts by them. Two steps keep conversions fast: runs of ASCII are copied
// eight characters at a time, and pairs of bytes have a loop of their own.
#include "ZerlithCore/encoding/detail/CodePageTables.h"

#include "ZerlithCore/encoding/Units.h"

#include <algorithm>
#include <cstring>

namespace KZEncoding {

namespace {

constexpr std::size_t encodeChunk = 2048; // units that are encoded on the stack at a time

bool IsMark(char16_t unit) { return IsSurrogate(unit); }

// ASCII is the same in every page. Copies eight characters at a time, as long as all eight are ASCII.
char const * DecodeAscii(char const * in, char const * end, char16_t *& out) {
    for (; end - in >= 8; in += 8, out += 8) {
        std::uint64_t eight;
        std::memcpy(&eight, in, sizeof eight);
        if ((eight & 0x8080808080808080U) != 0) break;
        for (int i = 0; i < 8; ++i) out[i] = static_cast<unsigned char>(in[i]);
    }
    return in;
}

char16_t const * EncodeAscii(char16_t const * in, char16_t const * end, char *& out) {
    for (; end - in >= 8; in += 8, out += 8) {
        unsigned seen = 0;
        for (int i = 0; i < 8; ++i) seen |= in[i];
        if (seen >= 0x80) break;
        for (int i = 0; i < 8; ++i) out[i] = static_cast<char>(in[i]);
    }
    return in;
}

} // namespace

CodePageTables::CodePageTables(CodePageReader const & reader) {
    ReadUnits(reader);
    ReadCodes(reader);
}

void CodePageTables::ReadUnits(CodePageReader const & reader) {
    for (unsigned lead = 0; lead < rowSize; ++lead) {
        char bytes[2] = {static_cast<char>(lead), 0};
        units_[lead] = reader.UnitOf({bytes, 1});
        if (units_[lead] != CodePageReader::leadMark) continue;
        trailRows_[lead] = static_cast<std::uint8_t>(trails_.size());
        UnitRow & row = trails_.emplace_back();
        for (unsigned trail = 0; trail < rowSize; ++trail) {
            bytes[1] = static_cast<char>(trail);
            row[trail] = reader.UnitOf({bytes, 2});
        }
    }
}

void CodePageTables::ReadCodes(CodePageReader const & reader) {
    CodeRow lacking;
    lacking.fill(u'?');
    codes_.push_back(lacking);
    for (unsigned high = 0; high < rowSize; ++high) {
        CodeRow row;
        for (unsigned low = 0; low < rowSize; ++low)
            row[low] = reader.CodeOf(static_cast<char16_t>(high * rowSize + low));
        if (row == lacking) continue;
        codeRows_[high] = static_cast<std::uint8_t>(codes_.size());
        codes_.push_back(row);
    }
}

std::optional<std::size_t> CodePageTables::Decode(std::string_view bytes, std::span<char16_t> out,
                                                  InvalidBytes invalid) const noexcept {
    char16_t * outAt = out.data();
    char const * in = bytes.data();
    for (char const * const end = in + bytes.size();; ++in) {
        in = DecodePairs(DecodeAscii(in, end, outAt), end, outAt);
        if (in == end) return static_cast<std::size_t>(outAt - out.data());
        // A lead byte that comes here has no valid byte after it. Only the lead byte is invalid then: the next turn
        // looks at the byte after it on its own.
        char16_t unit = units_[static_cast<unsigned char>(*in)];
        if (IsMark(unit)) {
            if (invalid == InvalidBytes::Refuse) return std::nullopt;
            unit = replacementUnit;
        }
        *outAt++ = unit;
    }
}

// Converts characters of two bytes until another one comes. Each step is known to have two bytes, so the processor
// can begin the next step before the table has given the unit of this one.
char const * CodePageTables::DecodePairs(char const * in, char const * end, char16_t *& out) const noexcept {
    for (; end - in >= 2; in += 2) {
        auto const lead = static_cast<unsigned char>(in[0]);
        if (units_[lead] != CodePageReader::leadMark) break;
        char16_t const unit = trails_[trailRows_[lead]][static_cast<unsigned char>(in[1])];
        if (IsMark(unit)) break;
        *out++ = unit;
    }
    return in;
}

void CodePageTables::Encode(std::u16string_view units, std::string & out) const {
    out.reserve(out.size() + units.size());
    char buffer[2 * encodeChunk];
    for (; !units.empty(); units.remove_prefix(std::min(units.size(), encodeChunk))) {
        char const * const end = EncodePiece(units.substr(0, encodeChunk), buffer);
        out.append(buffer, static_cast<std::size_t>(end - buffer));
    }
}

char * CodePageTables::EncodePiece(std::u16string_view units, char * out) const noexcept {
    char16_t const * in = units.data();
    for (char16_t const * const end = in + units.size(); in != end;) {
        in = EncodeAscii(in, end, out);
        // Always writes two bytes. After a code of one byte, the second is overwritten by the next code.
        for (char16_t const * const stop = in + std::min<std::ptrdiff_t>(end - in, 8); in != stop; ++in) {
            unsigned const code = codes_[codeRows_[*in / rowSize]][*in % rowSize];
            bool const isPair = code > 0xFF;
            out[0] = static_cast<char>(isPair ? code >> 8 : code);
            out[1] = static_cast<char>(code);
            out += 1 + isPair;
        }
    }
    return out;
}

} // namespace KZEncoding
