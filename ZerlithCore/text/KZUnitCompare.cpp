// Where the processor has 128-bit compares, eight units are compared in one step. A block may reach beyond a
// terminator, but is never loaded where it would reach into the next page, which may not exist: there eight units are
// compared one by one.

#include "ZerlithCore/text/detail/KZUnitCompare.h"

#include <bit>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

int OrderOf(char16_t a, char16_t b) noexcept { return (a > b) - (a < b); }

#ifdef __SSE2__

constexpr int unitsOfBlock = 8;
constexpr std::uintptr_t pageBytes = 4096; // the smallest of any processor with these compares

bool StaysInPage(char16_t const * text) noexcept {
    return reinterpret_cast<std::uintptr_t>(text) % pageBytes <= pageBytes - sizeof(__m128i);
}

#endif

} // namespace

#ifdef __SSE2__

// The sanitizers can't know that the units after a terminator are loaded but ignored.
__attribute__((no_sanitize("address", "thread"))) int KZCompareUnits(char16_t const * a,
                                                                     char16_t const * b) noexcept {
    if (a == b) return 0;
    __m128i const zero = _mm_setzero_si128();
    for (;; a += unitsOfBlock, b += unitsOfBlock) {
        if (StaysInPage(a) && StaysInPage(b)) {
            __m128i const left = _mm_loadu_si128(reinterpret_cast<__m128i const *>(a));
            __m128i const right = _mm_loadu_si128(reinterpret_cast<__m128i const *>(b));
            __m128i const same = _mm_cmpeq_epi16(left, right);
            // Lanes that go on: equal, and not the terminator.
            auto const goOn =
                static_cast<unsigned>(_mm_movemask_epi8(_mm_andnot_si128(_mm_cmpeq_epi16(left, zero), same)));
            if (goOn == 0xFFFF) continue;
            int const stop = std::countr_one(goOn) / 2;
            return OrderOf(a[stop], b[stop]);
        }
        for (int i = 0; i < unitsOfBlock; ++i)
            if (a[i] != b[i] || a[i] == 0) return OrderOf(a[i], b[i]);
    }
}

#else

int KZCompareUnits(char16_t const * a, char16_t const * b) noexcept {
    for (; *a == *b && *a != 0; ++a) ++b;
    return OrderOf(*a, *b);
}

#endif
