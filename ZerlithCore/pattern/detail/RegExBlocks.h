// Looks at the units of a text in blocks of eight where the processor can, elsewhere one by one.
#pragma once

#include "ZerlithCore/pattern/detail/RegExRows.h"

#include <algorithm>
#include <bit>
#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace KZDetail {

#if defined(__SSE2__)
inline __m128i Load(char16_t const * units) noexcept {
    return _mm_loadu_si128(reinterpret_cast<__m128i const *>(units));
}

// All bits of each unit that lies in its range.
inline __m128i InRange(__m128i units, __m128i low, __m128i span) noexcept {
    return _mm_cmpeq_epi16(_mm_subs_epu16(_mm_sub_epi16(units, low), span), _mm_setzero_si128());
}
#endif

// Returns the first unit that leaves the loop, or, if there is none, a place less than eight units before the end.
inline char16_t const * Skip(RegExLoop const & loop, char16_t const * text, char16_t const * end) noexcept {
#if defined(__SSE2__)
    if (loop.count == 0) return text;
    __m128i low[4];
    __m128i span[4];
    for (std::size_t i = 0; i < 4; ++i) {
        low[i] = _mm_set1_epi16(static_cast<short>(loop.low[i]));
        span[i] = _mm_set1_epi16(static_cast<short>(loop.span[i]));
    }
    for (; end - text >= 8; text += 8) {
        __m128i const units = Load(text);
        __m128i stays = _mm_setzero_si128();
        for (int i = 0; i < 4; ++i) stays = _mm_or_si128(stays, InRange(units, low[i], span[i]));
        auto const leaves = static_cast<unsigned int>(_mm_movemask_epi8(stays)) ^ 0xFFFFU;
        if (leaves != 0) return text + std::countr_zero(leaves) / 2;
    }
#else
    static_cast<void>(loop);
    static_cast<void>(end);
#endif
    return text;
}

// True when the units at `text` are in the ranges of the run. Requires: there are as many units.
inline bool Follows(RegExRun const & run, std::size_t length, char16_t const * text) noexcept {
    std::size_t i = 0;
#if defined(__SSE2__)
    if (length >= 8)
        for (; i < length; i += 8) {
            i = std::min(i, length - 8);
            __m128i const isIn = InRange(Load(text + i), Load(run.low + i), Load(run.span + i));
            if (_mm_movemask_epi8(isIn) != 0xFFFF) return false;
        }
#endif
    for (; i < length; ++i)
        if (static_cast<char16_t>(text[i] - run.low[i]) > run.span[i]) return false;
    return true;
}

// The position of the first odd unit among `count`; `count` if there is none.
inline std::size_t FindOdd(char16_t const * text, std::size_t count) noexcept {
    std::size_t i = 0;
#if defined(__SSE2__)
    // Odd units are the lowest ones when 2 is added. SSE2 has a least of signed values only, so that 0x8000 is added,
    // too.
    __m128i const shift = _mm_set1_epi16(static_cast<short>(0x8002));
    __m128i const last = _mm_set1_epi16(static_cast<short>(0x8003));
    for (; count - i >= 32; i += 32) {
        __m128i least = _mm_add_epi16(Load(text + i), shift);
        for (std::size_t j = 8; j < 32; j += 8)
            least = _mm_min_epi16(least, _mm_add_epi16(Load(text + i + j), shift));
        if (_mm_movemask_epi8(_mm_cmplt_epi16(least, last)) != 0) break;
    }
    for (; count - i >= 8; i += 8) {
        auto const isOdd = static_cast<unsigned int>(
            _mm_movemask_epi8(_mm_cmplt_epi16(_mm_add_epi16(Load(text + i), shift), last)));
        if (isOdd != 0) return i + static_cast<std::size_t>(std::countr_zero(isOdd)) / 2;
    }
#endif
    while (i < count && !RegExUnits::IsOdd(text[i])) ++i;
    return i;
}

// True when all of eight units are below 256.
inline bool AreLow(char16_t const * text) noexcept {
#if defined(__SSE2__)
    __m128i const high = _mm_srli_epi16(Load(text), 8);
    return _mm_movemask_epi8(_mm_cmpeq_epi16(high, _mm_setzero_si128())) == 0xFFFF;
#else
    return std::all_of(text, text + 8, [](char16_t unit) { return unit < 256; });
#endif
}

} // namespace KZDetail
