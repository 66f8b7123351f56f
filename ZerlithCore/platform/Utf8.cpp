// Both directions walk the text in two gears. The fast gear takes 16 bytes or units at a time and gives up at
// whatever is unusual: it is right about everything that it does convert. The slow gear takes one character and knows
// all the rules; after 16 bytes or units of it the fast gear gets another chance.
//
// The fast decoder computes, for every byte of a block, the unit that would start there, and then drops the places of
// continuation bytes without a branch. A branch on the length of each character would be mispredicted too often in
// any text that mixes scripts.

#include "ZerlithCore/platform/Utf8.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace KZPlatform {
namespace {

constexpr char16_t ReplacementUnit = 0xFFFD;
constexpr std::size_t BlockSize = 16;
constexpr std::size_t ChunkSize = 4096; // units that are converted on the stack between two appends

bool IsSurrogate(char16_t unit) { return (unit & 0xF800) == 0xD800; }
bool IsHighSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool IsLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }
bool IsEscapedByte(char16_t unit) { return unit >= 0xDC80 && unit <= 0xDCFF; }
bool IsContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// --- Decoding

struct DecodeCursor {
    unsigned char const * in;
    unsigned char const * inEnd;
    char16_t * out;
    char16_t * outEnd;

    [[nodiscard]] std::size_t Room() const { return static_cast<std::size_t>(outEnd - out); }
    [[nodiscard]] std::size_t Left() const { return static_cast<std::size_t>(inEnd - in); }
};

enum class SequenceState : unsigned char { Valid, Broken, Cut };

// `length` counts the bytes of the character, or of the maximal part of a broken one.
struct Sequence {
    SequenceState state;
    unsigned length;
    char32_t code;
};

// How a lead byte goes on: the number of continuation bytes, and the range of the first. It is narrower than 80 to BF
// where a wider one would let in overlong forms, surrogates or codes above 10FFFF.
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
    *cursor.out++ = static_cast<char16_t>(0xD7C0 + (code >> 10));
    *cursor.out++ = static_cast<char16_t>(0xDC00 | (code & 0x3FF));
    return Utf8Status::Done;
}

Utf8Status PutBroken(DecodeCursor & cursor, unsigned length, Utf8Mode mode) {
    if (mode == Utf8Mode::Strict) return Utf8Status::Invalid;
    if (mode == Utf8Mode::Replace) return PutCode(cursor, ReplacementUnit);
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

constexpr std::array<unsigned char, 256> BitCounts = [] {
    std::array<unsigned char, 256> counts{};
    for (unsigned i = 0; i < 256; ++i) counts[i] = static_cast<unsigned char>(std::popcount(i));
    return counts;
}();

unsigned CountBits16(unsigned bits) { return BitCounts[bits & 0xFF] + BitCounts[bits >> 8]; }

__m128i Load(void const * bytes) { return _mm_loadu_si128(static_cast<__m128i const *>(bytes)); }
void Store(void * bytes, __m128i value) { _mm_storeu_si128(static_cast<__m128i *>(bytes), value); }
unsigned MaskOf(__m128i value) { return static_cast<unsigned>(_mm_movemask_epi8(value)); }
__m128i Splat8(unsigned value) { return _mm_set1_epi8(static_cast<char>(value)); }
__m128i Splat16(unsigned value) { return _mm_set1_epi16(static_cast<short>(value)); }
__m128i AtLeast8(__m128i value, unsigned limit) {
    return _mm_cmpeq_epi8(_mm_max_epu8(value, Splat8(limit)), value);
}
__m128i Select(__m128i mask, __m128i yes, __m128i no) {
    return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

// The units that start at eight bytes, whose own, next and next but one bytes stand in 16-bit lanes.
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

// Leads that begin no sequence of two or three bytes, and second bytes that their lead forbids.
bool HasForbiddenBytes(__m128i first, __m128i second) {
    __m128i const overlong2 = _mm_cmpeq_epi8(_mm_and_si128(first, Splat8(0xFE)), Splat8(0xC0));
    __m128i const four = AtLeast8(first, 0xF0);
    __m128i const lower = _mm_cmpeq_epi8(_mm_and_si128(second, Splat8(0x20)), _mm_setzero_si128());
    __m128i const overlong3 = _mm_and_si128(_mm_cmpeq_epi8(first, Splat8(0xE0)), lower);
    __m128i const surrogate = _mm_andnot_si128(lower, _mm_cmpeq_epi8(first, Splat8(0xED)));
    return MaskOf(_mm_or_si128(_mm_or_si128(overlong2, four), _mm_or_si128(overlong3, surrogate))) != 0;
}

// Writes every third lane.
template <unsigned First>
unsigned PutThirds(char16_t * out, char16_t const * lanes) {
#pragma GCC unroll 6
    for (unsigned i = First; i < BlockSize; i += 3) *out++ = lanes[i];
    return (BlockSize - First + 2) / 3;
}

// Writes the lanes whose bit in `starts` is set; returns how many. Writes up to 16 units.
unsigned PutLanes(char16_t * out, char16_t const * lanes, unsigned starts) {
    switch (starts) { // runs of nothing but three bytes
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
    for (unsigned i = 0; i < BlockSize; ++i) {
        out[at] = lanes[i];
        at += starts >> i & 1;
    }
    return count;
}

void DecodeBlocks(DecodeCursor & cursor) {
    unsigned carry = 0; // places of the next block that a character of this one goes on to
    alignas(16) char16_t lanes[BlockSize + 1];
    lanes[BlockSize] = 0;
    __m128i const zero = _mm_setzero_si128();
    while (cursor.Left() >= BlockSize + 2 && cursor.Room() >= BlockSize + 1) {
        __m128i const first = Load(cursor.in);
        unsigned const high = MaskOf(first);
        if ((high | carry) == 0) {
            Store(cursor.out, _mm_unpacklo_epi8(first, zero));
            Store(cursor.out + 8, _mm_unpackhi_epi8(first, zero));
            cursor.in += BlockSize;
            cursor.out += BlockSize;
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
        cursor.in += BlockSize;
        carry = expected >> BlockSize;
    }
    if (carry == 0) return;
    // The last character was written on trust in bytes that no block has looked at: it is taken back.
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

// --- Encoding

struct EncodeCursor {
    char16_t const * in;
    char16_t const * inEnd;
    char * out;
    char * outEnd;

    [[nodiscard]] std::size_t Room() const { return static_cast<std::size_t>(outEnd - out); }
    [[nodiscard]] std::size_t Left() const { return static_cast<std::size_t>(inEnd - in); }
};

// The bytes of a unit, the first one lowest, with whatever behind them.
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
    return PutBytes(cursor, EncodeUnit(mode == Utf8Mode::Escape ? unit : ReplacementUnit).bytes, 3);
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

// Blocks of nothing but ASCII.
void EncodeAsciiBlocks(EncodeCursor & cursor) {
#if defined(__SSE2__)
    while (cursor.Left() >= BlockSize && cursor.Room() >= BlockSize) {
        __m128i const first = Load(cursor.in);
        __m128i const second = Load(cursor.in + 8);
        __m128i const wide = _mm_and_si128(_mm_or_si128(first, second), Splat16(0xFF80));
        if (MaskOf(_mm_cmpeq_epi16(wide, _mm_setzero_si128())) != 0xFFFF) return;
        Store(cursor.out, _mm_packus_epi16(first, second));
        cursor.in += BlockSize;
        cursor.out += BlockSize;
    }
#else
    while (cursor.in != cursor.inEnd && cursor.out != cursor.outEnd && *cursor.in < 0x80)
        *cursor.out++ = static_cast<char>(*cursor.in++);
#endif
}

#if defined(__SSE2__)

// Eight units without surrogates. Four bytes are written for each, and the next one goes over what was too much.
bool EncodeBlock(EncodeCursor & cursor) {
    constexpr std::size_t Lanes = 8;
    if (cursor.Left() < Lanes || cursor.Room() < 4 * Lanes) return false;
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
    alignas(16) std::uint32_t bytes[Lanes];
    alignas(16) std::uint16_t lengths[Lanes];
    Store(bytes, _mm_unpacklo_epi16(first, last));
    Store(bytes + 4, _mm_unpackhi_epi16(first, last));
    Store(lengths, _mm_add_epi16(Splat16(3), _mm_add_epi16(isOne, isOneOrTwo)));
#pragma GCC unroll 8
    for (std::size_t i = 0; i < Lanes; ++i) {
        std::memcpy(cursor.out, &bytes[i], sizeof bytes[i]);
        cursor.out += lengths[i];
    }
    cursor.in += Lanes;
    return true;
}

#else

bool EncodeBlock(EncodeCursor &) { return false; }

#endif

void EncodeBlocks(EncodeCursor & cursor) {
    do EncodeAsciiBlocks(cursor);
    while (EncodeBlock(cursor));
}

// Runs both gears until the input is used up or something stops it.
template <class Cursor, class Blocks, class One>
Utf8Status RunGears(Cursor & cursor, Blocks blocks, One one) {
    for (;;) {
        blocks(cursor);
        auto const * const resume = cursor.in + std::min(cursor.Left(), BlockSize);
        while (cursor.in < resume)
            if (Utf8Status const status = one(cursor); status != Utf8Status::Done) return status;
        if (cursor.in == cursor.inEnd) return Utf8Status::Done;
    }
}

unsigned char const * AsBytes(char const * text) { return reinterpret_cast<unsigned char const *>(text); }

// Converts by way of a buffer that stays in the cache: a string would fill its new room with zeros first. What isn't
// converted is left in `in`. The size of a long text is counted once, when the first piece shows that it isn't all ASCII.
template <std::size_t Size, class String, class View, class Convert, class Count>
Utf8Status AppendInChunks(String & out, View & in, Convert convert, Count count) {
    typename String::value_type buffer[Size];
    for (bool isCounted = false;; isCounted = true) {
        Utf8Result const result = convert(in, std::span(buffer));
        bool const isPlain = result.written == result.read;
        in.remove_prefix(result.read);
        if (!isCounted) out.reserve(out.size() + result.written + (isPlain ? in.size() : count(in)));
        out.append(buffer, result.written);
        if (result.status != Utf8Status::OutputFull) return result.status;
    }
}

Utf8Status AppendDecoded(std::u16string & out, std::string_view & bytes, Utf8Mode mode, bool final) {
    return AppendInChunks<ChunkSize>(
        out, bytes,
        [=](std::string_view in, std::span<char16_t> buffer) { return DecodeUtf8(in, buffer, mode, final); },
        UnitsInUtf8);
}

Utf8Status AppendEncoded(std::string & out, std::u16string_view & units, Utf8Mode mode, bool final) {
    return AppendInChunks<2 * ChunkSize>(
        out, units,
        [=](std::u16string_view in, std::span<char> buffer) { return EncodeUtf8(in, buffer, mode, final); },
        Utf8BytesOf);
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

Utf8Result EncodeUtf8(std::u16string_view units, std::span<char> out, Utf8Mode mode, bool final) noexcept {
    EncodeCursor cursor{units.data(), units.data() + units.size(), out.data(), out.data() + out.size()};
    Utf8Status const status =
        RunGears(cursor, EncodeBlocks, [&](EncodeCursor & at) { return EncodeOne(at, mode, final); });
    return {static_cast<std::size_t>(cursor.in - units.data()),
            static_cast<std::size_t>(cursor.out - out.data()), status};
}

std::size_t UnitsInUtf8(std::string_view bytes) noexcept {
    unsigned char const * at = AsBytes(bytes.data());
    unsigned char const * const end = at + bytes.size();
    std::size_t units = 0;
#if defined(__SSE2__)
    __m128i const zero = _mm_setzero_si128();
    while (static_cast<std::size_t>(end - at) >= BlockSize) {
        // Each block adds at most 2 to a lane of 8 bits.
        unsigned char const * const stop =
            at + std::min<std::size_t>(127, static_cast<std::size_t>(end - at) / BlockSize) * BlockSize;
        __m128i lanes = zero;
        for (; at != stop; at += BlockSize) {
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

std::size_t Utf8BytesOf(std::u16string_view units) noexcept {
    std::size_t bytes = 0;
    while (!units.empty()) {
        // Sums of 16 bits in a piece of limited size vectorise well.
        std::u16string_view const piece = units.substr(0, ChunkSize);
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

bool AppendUnits(std::u16string & out, std::string_view bytes, Utf8Mode mode) {
    return AppendDecoded(out, bytes, mode, true) == Utf8Status::Done;
}

bool AppendUtf8(std::string & out, std::u16string_view units, Utf8Mode mode) {
    return AppendEncoded(out, units, mode, true) == Utf8Status::Done;
}

std::u16string Utf8ToUnits(std::string_view bytes, Utf8Mode mode) {
    std::u16string units;
    AppendUnits(units, bytes, mode);
    return units;
}

std::string UnitsToUtf8(std::u16string_view units, Utf8Mode mode) {
    std::string bytes;
    AppendUtf8(bytes, units, mode);
    return bytes;
}

bool Utf8Decoder::Append(std::u16string & out, std::string_view bytes) {
    // A cut sequence takes its missing bytes one by one: it is complete, or seen to be broken, after three at most.
    while (pendingCount_ != 0 && !bytes.empty()) {
        pending_[pendingCount_] = bytes.front();
        char16_t units[4];
        Utf8Result const result = DecodeUtf8({pending_, pendingCount_ + std::size_t{1}}, units, mode_, false);
        out.append(units, result.written);
        if (result.status == Utf8Status::Invalid) {
            pendingCount_ = 0;
            return false;
        }
        // Behind a broken sequence the new byte may begin another one; it stays in `bytes` then.
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

} // namespace KZPlatform
