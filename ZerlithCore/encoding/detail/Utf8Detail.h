/// @file
/// What both directions of UTF-8 have in common: not for use outside Utf8Decode.cpp and Utf8Encode.cpp.
///
/// Both walk the text in two gears. The fast gear takes blocks and gives up at whatever is unusual: it is right about
/// everything that it does convert. The slow gear takes one character and knows all the rules; after 16 bytes or units
/// of it the fast gear gets another chance.
#pragma once

#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/encoding/Utf8.h"

#include <algorithm>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace KZEncoding::Utf8Detail {

constexpr std::size_t blockBytes = 16;
constexpr std::size_t chunkSize = 4096; // units that are converted on the stack between two appends

/// Where a conversion stands.
template <class In, class Out>
struct Cursor {
    In const * in;
    In const * inEnd;
    Out * out;
    Out * outEnd;

    [[nodiscard]] std::size_t Room() const { return static_cast<std::size_t>(outEnd - out); }
    [[nodiscard]] std::size_t Left() const { return static_cast<std::size_t>(inEnd - in); }
};

#if defined(__SSE2__)

inline __m128i Load(void const * bytes) { return _mm_loadu_si128(static_cast<__m128i const *>(bytes)); }
inline void Store(void * bytes, __m128i value) { _mm_storeu_si128(static_cast<__m128i *>(bytes), value); }
inline unsigned MaskOf(__m128i value) { return static_cast<unsigned>(_mm_movemask_epi8(value)); }
inline __m128i Splat8(unsigned value) { return _mm_set1_epi8(static_cast<char>(value)); }
inline __m128i Splat16(unsigned value) { return _mm_set1_epi16(static_cast<short>(value)); }
inline __m128i AtLeast8(__m128i value, unsigned limit) {
    return _mm_cmpeq_epi8(_mm_max_epu8(value, Splat8(limit)), value);
}
inline __m128i Select(__m128i mask, __m128i yes, __m128i no) {
    return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

#endif

/// Runs both gears until the input is used up or something stops it.
template <class At, class Blocks, class One>
Utf8Status RunGears(At & cursor, Blocks blocks, One one) {
    for (;;) {
        blocks(cursor);
        auto const * const resume = cursor.in + std::min(cursor.Left(), blockBytes);
        while (cursor.in < resume)
            if (Utf8Status const status = one(cursor); status != Utf8Status::Done) return status;
        if (cursor.in == cursor.inEnd) return Utf8Status::Done;
    }
}

/// Converts by way of a buffer that stays in the cache: a string would fill its new room with zeros first. What isn't
/// converted is left in `in`. The size of a long text is counted once, when the first piece shows that it isn't all ASCII.
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

} // namespace KZEncoding::Utf8Detail
