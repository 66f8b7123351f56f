/// @file
/// What both directions of UTF-8 have in common; used only by Utf8Decode.cpp and Utf8Encode.cpp.
///
/// Both have a fast and a slow loop. The fast loop converts whole blocks, and stops at a block with anything that it
/// doesn't handle. The slow loop converts one character at a time and handles everything. After 16 bytes or units of
/// the slow loop the fast one is tried again.
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
constexpr std::size_t chunkSize = 4096; // units that are converted on the stack at a time

/// How far a conversion has come.
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

/// Runs both loops in turn until all input is converted or a status other than Done ends the conversion.
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

/// Appends the conversion of `in` to `out`, by way of a buffer on the stack: converting directly into `out` would
/// first fill its new room with zeros. What isn't converted is left in `in`. The size of the result is counted once,
/// after the first piece, and only if that piece wasn't all ASCII.
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
