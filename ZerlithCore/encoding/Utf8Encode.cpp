// Units to UTF-8. The fast loops encode blocks of ASCII, and blocks of eight units without surrogates; EncodeOne
// handles the rest.
#include "ZerlithCore/encoding/Utf8.h"

#include "ZerlithCore/encoding/detail/Utf8Detail.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

namespace KZEncoding {

using namespace Utf8Detail;

namespace {

using EncodeCursor = Cursor<char16_t, char>;

bool IsEscapedByte(char16_t unit) { return unit >= 0xDC80 && unit <= 0xDCFF; }

// The bytes of a unit, the first one in the lowest 8 bits; what is above `length` bytes has no meaning.
struct EncodedUnit {
    std::uint32_t bytes;
    unsigned length;
};

EncodedUnit EncodeUnit(char16_t unit) {
    std::uint32_t const code = unit;
    std::uint32_t const last = 0x80 | (code & 0x3F);
    std::uint32_t const two = 0xC0 | code >> 6 | last << 8;
    std::uint32_t const three = 0xE0 | code >> 12 | (0x80 | (code >> 6 & 0x3F)) << 8 | last << 16;
    std::uint32_t bytes = code < 0x800 ? two : three;
    bytes = code < 0x80 ? code : bytes;
    return {bytes, 1U + (code >= 0x80) + (code >= 0x800)};
}

Utf8Status PutBytes(EncodeCursor & cursor, std::uint32_t bytes, unsigned length) {
    if (cursor.Room() < length) return Utf8Status::OutputFull;
    for (unsigned i = 0; i < length; ++i) *cursor.out++ = static_cast<char>(bytes >> 8 * i);
    return Utf8Status::Done;
}

Utf8Status PutPair(EncodeCursor & cursor, char16_t high, char16_t low) {
    std::uint32_t const code = ((high & 0x3FFU) << 10 | (low & 0x3FFU)) + 0x10000;
    return PutBytes(cursor,
                    0xF0 | code >> 18 | (0x80 | (code >> 12 & 0x3F)) << 8 |
                        (0x80 | (code >> 6 & 0x3F)) << 16 | (0x80 | (code & 0x3F)) << 24,
                    4);
}

Utf8Status PutLoneSurrogate(EncodeCursor & cursor, char16_t unit, Utf8Mode mode) {
    if (mode == Utf8Mode::Strict) return Utf8Status::Invalid;
    if (mode == Utf8Mode::Escape && IsEscapedByte(unit)) return PutBytes(cursor, unit & 0xFFU, 1);
    return PutBytes(cursor, EncodeUnit(mode == Utf8Mode::Escape ? unit : replacementUnit).bytes, 3);
}

Utf8Status EncodeOne(EncodeCursor & cursor, Utf8Mode mode, bool final) {
    char16_t const unit = *cursor.in;
    unsigned length = 1;
    Utf8Status status;
    if (!IsSurrogate(unit)) {
        EncodedUnit const encoded = EncodeUnit(unit);
        status = PutBytes(cursor, encoded.bytes, encoded.length);
    } else if (IsHighSurrogate(unit) && cursor.Left() == 1 && !final) {
        status = Utf8Status::Incomplete;
    } else if (IsHighSurrogate(unit) && cursor.Left() > 1 && IsLowSurrogate(cursor.in[1])) {
        length = 2;
        status = PutPair(cursor, unit, cursor.in[1]);
    } else {
        status = PutLoneSurrogate(cursor, unit, mode);
    }
    if (status == Utf8Status::Done) cursor.in += length;
    return status;
}

// Encodes as long as the next `2 * Pairs` times eight units are all ASCII.
template <unsigned Pairs>
void EncodeAsciiBlocks(EncodeCursor & cursor) {
#if defined(__SSE2__)
    constexpr std::size_t step = Pairs * blockBytes;
    // Not the cursor's members, since the compiler must take it that any write to the output changes those.
    char16_t const * const in = cursor.in;
    char * const out = cursor.out;
    std::size_t const end = std::min(cursor.Left(), cursor.Room()) / step * step;
    std::size_t done = 0;
    for (; done < end; done += step) {
        __m128i blocks[2 * Pairs];
        __m128i all = _mm_setzero_si128();
        for (unsigned i = 0; i < 2 * Pairs; ++i) {
            blocks[i] = Load(in + done + i * 8);
            all = _mm_or_si128(all, blocks[i]);
        }
        __m128i const wide = _mm_and_si128(all, Splat16(0xFF80));
        if (MaskOf(_mm_cmpeq_epi16(wide, _mm_setzero_si128())) != 0xFFFF) break;
        for (unsigned i = 0; i < Pairs; ++i)
            Store(out + done + i * blockBytes, _mm_packus_epi16(blocks[2 * i], blocks[2 * i + 1]));
    }
    cursor.in += done;
    cursor.out += done;
#else
    while (cursor.in != cursor.inEnd && cursor.out != cursor.outEnd && *cursor.in < 0x80)
        *cursor.out++ = static_cast<char>(*cursor.in++);
#endif
}

#if defined(__SSE2__)

// Encodes eight units if none is a surrogate. Writes four bytes for each unit; those that are too many are
// overwritten by the next unit.
bool EncodeBlock(EncodeCursor & cursor) {
    constexpr std::size_t lanes = 8;
    if (cursor.Left() < lanes || cursor.Room() < 4 * lanes) return false;
    __m128i const zero = _mm_setzero_si128();
    __m128i const six = Splat16(0x3F);
    __m128i const mark = Splat16(0x80);
    __m128i const units = Load(cursor.in);
    if (MaskOf(_mm_cmpeq_epi16(_mm_and_si128(units, Splat16(0xF800)), Splat16(0xD800))) != 0) return false;
    __m128i const isOne = _mm_cmpeq_epi16(_mm_srli_epi16(units, 7), zero);
    __m128i const isOneOrTwo = _mm_cmpeq_epi16(_mm_srli_epi16(units, 11), zero);
    // The first two bytes of each unit, and its third.
    __m128i const last = _mm_or_si128(mark, _mm_and_si128(units, six));
    __m128i const upper = _mm_srli_epi16(units, 6);
    __m128i const two = _mm_or_si128(_mm_or_si128(Splat16(0xC0), upper), _mm_slli_epi16(last, 8));
    __m128i const middle = _mm_slli_epi16(_mm_or_si128(mark, _mm_and_si128(upper, six)), 8);
    __m128i const three = _mm_or_si128(_mm_or_si128(Splat16(0xE0), _mm_srli_epi16(units, 12)), middle);
    __m128i const first = Select(isOne, units, Select(isOneOrTwo, two, three));
    alignas(16) std::uint32_t bytes[lanes];
    alignas(16) std::uint16_t lengths[lanes];
    Store(bytes, _mm_unpacklo_epi16(first, last));
    Store(bytes + 4, _mm_unpackhi_epi16(first, last));
    Store(lengths, _mm_add_epi16(Splat16(3), _mm_add_epi16(isOne, isOneOrTwo)));
#pragma GCC unroll 8
    for (std::size_t i = 0; i < lanes; ++i) {
        std::memcpy(cursor.out, &bytes[i], sizeof bytes[i]);
        cursor.out += lengths[i];
    }
    cursor.in += lanes;
    return true;
}

#else

bool EncodeBlock(EncodeCursor &) { return false; }

#endif

void EncodeBlocks(EncodeCursor & cursor) {
    EncodeAsciiBlocks<4>(cursor);
    do EncodeAsciiBlocks<1>(cursor);
    while (EncodeBlock(cursor));
}

Utf8Status AppendEncoded(std::string & out, std::u16string_view & units, Utf8Mode mode, bool final) {
    return AppendInChunks<2 * chunkSize>(
        out, units,
        [=](std::u16string_view in, std::span<char> buffer) { return EncodeUtf8(in, buffer, mode, final); },
        Utf8BytesOf);
}

} // namespace

Utf8Result EncodeUtf8(std::u16string_view units, std::span<char> out, Utf8Mode mode, bool final) noexcept {
    EncodeCursor cursor{units.data(), units.data() + units.size(), out.data(), out.data() + out.size()};
    Utf8Status const status =
        RunGears(cursor, EncodeBlocks, [&](EncodeCursor & at) { return EncodeOne(at, mode, final); });
    return {static_cast<std::size_t>(cursor.in - units.data()),
            static_cast<std::size_t>(cursor.out - out.data()), status};
}

std::size_t Utf8BytesOf(std::u16string_view units) noexcept {
    std::size_t bytes = 0;
    while (!units.empty()) {
        // Pieces are small enough for a sum of 16 bits, for which the compiler makes good vector code.
        std::u16string_view const piece = units.substr(0, chunkSize);
        std::uint16_t extra = 0;
        for (char16_t const unit : piece) {
            bool const counts3 = unit >= 0x800 && !IsSurrogate(unit);
            extra = static_cast<std::uint16_t>(extra + (unit >= 0x80) + counts3);
        }
        bytes += piece.size() + extra;
        units.remove_prefix(piece.size());
    }
    return bytes;
}

bool AppendUtf8(std::string & out, std::u16string_view units, Utf8Mode mode) {
    return AppendEncoded(out, units, mode, true) == Utf8Status::Done;
}

std::string UnitsToUtf8(std::u16string_view units, Utf8Mode mode) {
    std::string bytes;
    AppendUtf8(bytes, units, mode);
    return bytes;
}

/// Only a 0 unit becomes a 0 byte. That is found sooner in the bytes, which are fewer.
std::string TerminatedToUtf8(std::u16string_view units, Utf8Mode mode) {
    std::string bytes;
    auto const encode = [=](std::u16string_view in, std::span<char> buffer) {
        Utf8Result const result = EncodeUtf8(in, buffer, mode);
        void const * const zero = std::memchr(buffer.data(), 0, result.written);
        if (!zero) return result;
        auto const before = static_cast<std::size_t>(static_cast<char const *>(zero) - buffer.data());
        return Utf8Result{in.size(), before, Utf8Status::Done};
    };
    AppendInChunks<2 * chunkSize>(bytes, units, encode, Utf8BytesOf);
    return bytes;
}

bool Utf8Encoder::Append(std::string & out, std::u16string_view units) {
    if (units.empty()) return true;
    if (pending_ != 0) {
        char16_t const pair[] = {std::exchange(pending_, u'\0'), units.front()};
        bool const isPair = IsLowSurrogate(pair[1]);
        if (!AppendUtf8(out, {pair, isPair ? 2U : 1U}, mode_)) return false;
        if (isPair) units.remove_prefix(1);
    }
    Utf8Status const status = AppendEncoded(out, units, mode_, false);
    if (status == Utf8Status::Incomplete) pending_ = units.front();
    return status != Utf8Status::Invalid;
}

bool Utf8Encoder::Finish(std::string & out) {
    char16_t const cut = std::exchange(pending_, u'\0');
    return cut == 0 || AppendUtf8(out, {&cut, 1}, mode_);
}

} // namespace KZEncoding
