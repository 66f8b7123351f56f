// UTF-8 to units. The fast loop works on blocks of 16 bytes. For every byte it computes the unit that a character
// starting there would have, and then drops the results at continuation bytes, without a branch. Deciding by a branch
// how long each character is would be slow in texts that mix scripts, since the processor predicts such branches
// badly. An example with a block of four bytes, for the text "aé1":
//
//     bytes                  61    C3    A9    31
//     unit if it started     61    E9     -    31
//     continuation?          no    no   yes    no
//     written                61    E9          31

#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/encoding/Utf8.h"

#include "ZerlithCore/encoding/detail/Utf8Detail.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace KZEncoding {

using namespace Utf8Detail;

namespace {

using DecodeCursor = Cursor<unsigned char, char16_t>;

bool IsContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

enum class SequenceState : unsigned char { Valid, Broken, Cut };

// `length` is the number of bytes of the character, or of the maximal part of an invalid sequence.
struct Sequence {
    SequenceState state;
    unsigned length;
    char32_t code;
};

// What may follow a lead byte: the number of continuation bytes, and the range of the first one. The range is
// narrower than 80 to BF where that would allow overlong forms, surrogates or codes above 10FFFF.
struct LeadRule {
    unsigned continuations;
    unsigned char low;
    unsigned char high;
};

LeadRule RuleOf(unsigned char lead) {
    if (lead < 0xC2 || lead > 0xF4) return {0, 0, 0};
    if (lead < 0xE0) return {1, 0x80, 0xBF};
    if (lead == 0xE0) return {2, 0xA0, 0xBF};
    if (lead == 0xED) return {2, 0x80, 0x9F};
    if (lead < 0xF0) return {2, 0x80, 0xBF};
    if (lead == 0xF0) return {3, 0x90, 0xBF};
    if (lead == 0xF4) return {3, 0x80, 0x8F};
    return {3, 0x80, 0xBF};
}

// Requires: `left` is at least 1.
Sequence ReadSequence(unsigned char const * bytes, std::size_t left) {
    unsigned char const lead = bytes[0];
    if (lead < 0x80) return {SequenceState::Valid, 1, lead};
    LeadRule rule = RuleOf(lead);
    if (rule.continuations == 0) return {SequenceState::Broken, 1, 0};
    char32_t code = lead & (0x3FU >> rule.continuations);
    for (unsigned i = 1; i <= rule.continuations; ++i) {
        if (i == left) return {SequenceState::Cut, i, 0};
        if (bytes[i] < rule.low || bytes[i] > rule.high) return {SequenceState::Broken, i, 0};
        code = code << 6 | (bytes[i] & 0x3FU);
        rule.low = 0x80;
        rule.high = 0xBF;
    }
    return {SequenceState::Valid, rule.continuations + 1, code};
}

Utf8Status PutCode(DecodeCursor & cursor, char32_t code) {
    if (code < 0x10000) {
        if (cursor.Room() < 1) return Utf8Status::OutputFull;
        *cursor.out++ = static_cast<char16_t>(code);
        return Utf8Status::Done;
    }
    if (cursor.Room() < 2) return Utf8Status::OutputFull;
    *cursor.out++ = HighSurrogateOf(code);
    *cursor.out++ = LowSurrogateOf(code);
    return Utf8Status::Done;
}

Utf8Status PutBroken(DecodeCursor & cursor, unsigned length, Utf8Mode mode) {
    if (mode == Utf8Mode::Strict) return Utf8Status::Invalid;
    if (mode == Utf8Mode::Replace) return PutCode(cursor, replacementUnit);
    if (cursor.Room() < length) return Utf8Status::OutputFull;
    for (unsigned i = 0; i < length; ++i) *cursor.out++ = static_cast<char16_t>(0xDC00 + cursor.in[i]);
    return Utf8Status::Done;
}

Utf8Status DecodeOne(DecodeCursor & cursor, Utf8Mode mode, bool final) {
    Sequence const sequence = ReadSequence(cursor.in, cursor.Left());
    if (sequence.state == SequenceState::Cut && !final) return Utf8Status::Incomplete;
    Utf8Status const status = sequence.state == SequenceState::Valid
                                  ? PutCode(cursor, sequence.code)
                                  : PutBroken(cursor, sequence.length, mode);
    if (status == Utf8Status::Done) cursor.in += sequence.length;
    return status;
}

#if defined(__SSE2__)

constexpr std::array<unsigned char, 256> bitCounts = [] {
    std::array<unsigned char, 256> counts{};
    for (unsigned i = 0; i < 256; ++i) counts[i] = static_cast<unsigned char>(std::popcount(i));
    return counts;
}();

unsigned CountBits16(unsigned bits) { return bitCounts[bits & 0xFF] + bitCounts[bits >> 8]; }

// The units for eight bytes that may start a character. `first` has those bytes in 16-bit lanes, `second` and `third`
// the bytes one and two after each of them.
__m128i UnitsOfLanes(__m128i first, __m128i second, __m128i third) {
    __m128i const six = Splat16(0x3F);
    second = _mm_and_si128(second, six);
    third = _mm_and_si128(third, six);
    __m128i const two = _mm_and_si128(_mm_or_si128(_mm_slli_epi16(first, 6), second), Splat16(0x7FF));
    __m128i const three =
        _mm_or_si128(_mm_or_si128(_mm_slli_epi16(first, 12), _mm_slli_epi16(second, 6)), third);
    __m128i const wide = Select(_mm_cmpgt_epi16(first, Splat16(0xDF)), three, two);
    return Select(_mm_cmpgt_epi16(first, Splat16(0xBF)), wide, first);
}

// True when a byte is the lead of four bytes or of an overlong form, or when a second byte isn't allowed after its
// lead. The block is then left to the slow loop.
bool HasForbiddenBytes(__m128i first, __m128i second) {
    __m128i const overlong2 = _mm_cmpeq_epi8(_mm_and_si128(first, Splat8(0xFE)), Splat8(0xC0));
    __m128i const four = AtLeast8(first, 0xF0);
    __m128i const lower = _mm_cmpeq_epi8(_mm_and_si128(second, Splat8(0x20)), _mm_setzero_si128());
    __m128i const overlong3 = _mm_and_si128(_mm_cmpeq_epi8(first, Splat8(0xE0)), lower);
    __m128i const surrogate = _mm_andnot_si128(lower, _mm_cmpeq_epi8(first, Splat8(0xED)));
    return MaskOf(_mm_or_si128(_mm_or_si128(overlong2, four), _mm_or_si128(overlong3, surrogate))) != 0;
}

// Writes every third lane, for text whose characters all have three bytes.
template <unsigned First>
unsigned PutThirds(char16_t * out, char16_t const * lanes) {
#pragma GCC unroll 6
    for (unsigned i = First; i < blockBytes; i += 3) *out++ = lanes[i];
    return (blockBytes - First + 2) / 3;
}

// Writes the lanes whose bit in `starts` is set; returns how many. Writes up to 16 units.
unsigned PutLanes(char16_t * out, char16_t const * lanes, unsigned starts) {
    switch (starts) { // only characters of three bytes
    case 0x9249: return PutThirds<0>(out, lanes);
    case 0x2492: return PutThirds<1>(out, lanes);
    case 0x4924: return PutThirds<2>(out, lanes);
    default: break;
    }
    unsigned const count = CountBits16(starts);
    if (count <= 8) {
        unsigned bits = starts | 0x10000;
#pragma GCC unroll 8
        for (unsigned i = 0; i < 8; ++i) {
            out[i] = lanes[std::countr_zero(bits)];
            bits = (bits & (bits - 1)) | 0x10000;
        }
        return count;
    }
    unsigned at = 0;
#pragma GCC unroll 16
    for (unsigned i = 0; i < blockBytes; ++i) {
        out[at] = lanes[i];
        at += starts >> i & 1;
    }
    return count;
}

// Decodes four blocks at a time while they are all ASCII.
void DecodeAsciiBlocks(DecodeCursor & cursor) {
    constexpr std::size_t step = 4 * blockBytes;
    // Not the cursor's members, since the compiler must take it that any write to the output changes those.
    unsigned char const * const in = cursor.in;
    char16_t * const out = cursor.out;
    __m128i const zero = _mm_setzero_si128();
    std::size_t done = 0;
    for (std::size_t const end = std::min(cursor.Left(), cursor.Room()) / step * step; done < end;
         done += step) {
        __m128i blocks[4];
        for (unsigned i = 0; i < 4; ++i) blocks[i] = Load(in + done + i * blockBytes);
        __m128i const all =
            _mm_or_si128(_mm_or_si128(blocks[0], blocks[1]), _mm_or_si128(blocks[2], blocks[3]));
        if (MaskOf(all) != 0) break;
        for (unsigned i = 0; i < 4; ++i) {
            Store(out + done + i * blockBytes, _mm_unpacklo_epi8(blocks[i], zero));
            Store(out + done + i * blockBytes + 8, _mm_unpackhi_epi8(blocks[i], zero));
        }
    }
    cursor.in += done;
    cursor.out += done;
}

void DecodeBlocks(DecodeCursor & cursor) {
    DecodeAsciiBlocks(cursor);
    unsigned carry = 0; // the first bytes of the next block that must be continuation bytes
    alignas(16) char16_t lanes[blockBytes + 1];
    lanes[blockBytes] = 0;
    __m128i const zero = _mm_setzero_si128();
    while (cursor.Left() >= blockBytes + 2 && cursor.Room() >= blockBytes + 1) {
        __m128i const first = Load(cursor.in);
        unsigned const high = MaskOf(first);
        if ((high | carry) == 0) {
            Store(cursor.out, _mm_unpacklo_epi8(first, zero));
            Store(cursor.out + 8, _mm_unpackhi_epi8(first, zero));
            cursor.in += blockBytes;
            cursor.out += blockBytes;
            continue;
        }
        __m128i const second = Load(cursor.in + 1);
        __m128i const third = Load(cursor.in + 2);
        unsigned const continuations = MaskOf(_mm_cmplt_epi8(first, Splat8(0xC0)));
        unsigned const threes = MaskOf(AtLeast8(first, 0xE0));
        unsigned const expected = carry | (high & ~continuations) << 1 | threes << 2;
        if ((expected & 0xFFFF) != continuations || HasForbiddenBytes(first, second)) break;
        Store(lanes, UnitsOfLanes(_mm_unpacklo_epi8(first, zero), _mm_unpacklo_epi8(second, zero),
                                  _mm_unpacklo_epi8(third, zero)));
        Store(lanes + 8, UnitsOfLanes(_mm_unpackhi_epi8(first, zero), _mm_unpackhi_epi8(second, zero),
                                      _mm_unpackhi_epi8(third, zero)));
        cursor.out += PutLanes(cursor.out, lanes, ~continuations & 0xFFFF);
        cursor.in += blockBytes;
        carry = expected >> blockBytes;
    }
    if (carry == 0) return;
    // The last character was written before all its bytes were checked: undo it.
    do --cursor.in;
    while (IsContinuation(*cursor.in));
    --cursor.out;
}

#else

void DecodeBlocks(DecodeCursor & cursor) {
    while (cursor.in != cursor.inEnd && cursor.out != cursor.outEnd && *cursor.in < 0x80)
        *cursor.out++ = *cursor.in++;
}

#endif

unsigned char const * AsBytes(char const * text) { return reinterpret_cast<unsigned char const *>(text); }

Utf8Status AppendDecoded(std::u16string & out, std::string_view & bytes, Utf8Mode mode, bool final) {
    return AppendInChunks<chunkSize>(
        out, bytes,
        [=](std::string_view in, std::span<char16_t> buffer) { return DecodeUtf8(in, buffer, mode, final); },
        UnitsInUtf8);
}

} // namespace

Utf8Result DecodeUtf8(std::string_view bytes, std::span<char16_t> out, Utf8Mode mode, bool final) noexcept {
    unsigned char const * const in = AsBytes(bytes.data());
    DecodeCursor cursor{in, in + bytes.size(), out.data(), out.data() + out.size()};
    Utf8Status const status =
        RunGears(cursor, DecodeBlocks, [&](DecodeCursor & at) { return DecodeOne(at, mode, final); });
    return {static_cast<std::size_t>(cursor.in - in), static_cast<std::size_t>(cursor.out - out.data()),
            status};
}

std::size_t UnitsInUtf8(std::string_view bytes) noexcept {
    unsigned char const * at = AsBytes(bytes.data());
    unsigned char const * const end = at + bytes.size();
    std::size_t units = 0;
#if defined(__SSE2__)
    __m128i const zero = _mm_setzero_si128();
    while (static_cast<std::size_t>(end - at) >= blockBytes) {
        // Each block adds at most 2 to a lane, which has 8 bits.
        unsigned char const * const stop =
            at + std::min<std::size_t>(127, static_cast<std::size_t>(end - at) / blockBytes) * blockBytes;
        __m128i lanes = zero;
        for (; at != stop; at += blockBytes) {
            __m128i const block = Load(at);
            lanes = _mm_sub_epi8(lanes, _mm_cmpgt_epi8(block, Splat8(0xBF)));
            lanes = _mm_sub_epi8(lanes, AtLeast8(block, 0xF0));
        }
        __m128i const sums = _mm_sad_epu8(lanes, zero);
        units += static_cast<std::size_t>(_mm_extract_epi16(sums, 0) + _mm_extract_epi16(sums, 4));
    }
#endif
    for (; at != end; ++at) units += !IsContinuation(*at) + (*at >= 0xF0);
    return units;
}

bool AppendUnits(std::u16string & out, std::string_view bytes, Utf8Mode mode) {
    return AppendDecoded(out, bytes, mode, true) == Utf8Status::Done;
}

std::u16string Utf8ToUnits(std::string_view bytes, Utf8Mode mode) {
    std::u16string units;
    AppendUnits(units, bytes, mode);
    return units;
}

bool Utf8Decoder::Append(std::u16string & out, std::string_view bytes) {
    // Completes an incomplete sequence byte by byte: after three bytes at most it is complete or known to be invalid.
    while (pendingCount_ != 0 && !bytes.empty()) {
        pending_[pendingCount_] = bytes.front();
        char16_t units[4];
        Utf8Result const result = DecodeUtf8({pending_, pendingCount_ + std::size_t{1}}, units, mode_, false);
        out.append(units, result.written);
        if (result.status == Utf8Status::Invalid) {
            pendingCount_ = 0;
            return false;
        }
        // After an invalid sequence the new byte may start another one; it then stays in `bytes`.
        if (result.read != pendingCount_) bytes.remove_prefix(1);
        pendingCount_ = static_cast<unsigned char>(result.read == 0 ? pendingCount_ + 1 : 0);
    }
    Utf8Status const status = AppendDecoded(out, bytes, mode_, false);
    if (status != Utf8Status::Incomplete) return status == Utf8Status::Done;
    pendingCount_ = static_cast<unsigned char>(bytes.copy(pending_, sizeof pending_));
    return true;
}

bool Utf8Decoder::Finish(std::u16string & out) {
    std::string_view const cut(pending_, std::exchange(pendingCount_, static_cast<unsigned char>(0)));
    return AppendUnits(out, cut, mode_);
}

} // namespace KZEncoding
