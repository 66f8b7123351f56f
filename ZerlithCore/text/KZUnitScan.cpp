// Fast searches in units, with and without SSE2.
#include "ZerlithCore/text/detail/KZUnitScan.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

// Where the processor has 128-bit compares (every x86-64 has), eight units are compared in one step; elsewhere the same
// functions go unit by unit. A mask holds two equal bits for each unit of a block, lowest unit first.
//
// A finder compares two units of the needle, the probes, at eight positions of the text at once. It compares the whole
// needle only at positions where both agree. The probes are two different units that are rare in texts: of "the Queen"
// Q is one, a blank or a small letter is taken only where there is nothing better. So few positions need a whole
// compare; in the worst case, such as "aaa" in a text of a's, the search takes as long as a plain one.

namespace {

// The plain form of each function, for short texts and for processors without block compares.

std::size_t FindUnitPlainly(char16_t const * text, std::size_t count, char16_t unit) noexcept {
    return static_cast<std::size_t>(std::find(text, text + count, unit) - text);
}

std::size_t FindTextPlainly(char16_t const * text, std::size_t count, char16_t const * needle,
                            std::size_t size) noexcept {
    for (std::size_t i = 0; i + size <= count; ++i) {
        if (text[i] == *needle && std::memcmp(text + i, needle, size * sizeof *needle) == 0) return i;
    }
    return count;
}

#ifdef __SSE2__

constexpr std::size_t unitsOfBlock = 8;

__m128i Load(char16_t const * text) noexcept {
    return _mm_loadu_si128(reinterpret_cast<__m128i const *>(text));
}

__m128i Spread(char16_t unit) noexcept { return _mm_set1_epi16(static_cast<short>(unit)); }

unsigned Mask(__m128i equal) noexcept { return static_cast<unsigned>(_mm_movemask_epi8(equal)); }

std::size_t FirstOf(unsigned mask) noexcept { return static_cast<std::size_t>(std::countr_zero(mask)) / 2; }

#endif

/// A rough measure of how frequent a unit is in texts: the lower, the better as a probe.
constexpr int Commonness(char16_t unit) noexcept {
    if (unit == u' ') return 4;
    if (unit >= u'a' && unit <= u'z') return "20111100210012220011000000"[unit - u'a'] - '0' + 1;
    return 0;
}

} // namespace

KZUnitScan::Finder::Finder(char16_t const * needle, std::size_t size) noexcept
    : needle_(needle), size_(size), probes_{} {
    std::size_t const looked = std::min<std::size_t>(size, 32);
    std::size_t first = 0;
    for (std::size_t i = 1; i < looked; ++i) {
        if (Commonness(needle[i]) < Commonness(needle[first])) first = i;
    }
    std::size_t second = first == 0 ? looked - 1 : 0;
    for (std::size_t i = 0; i < looked; ++i) {
        if (needle[i] != needle[first] &&
            (needle[second] == needle[first] || Commonness(needle[i]) < Commonness(needle[second]))) {
            second = i;
        }
    }
    probes_[0] = first;
    probes_[1] = second;
}

#ifdef __SSE2__

// A load that begins and ends in one page is harmless wherever the text ends; the sanitizers can't know that. The first
// load is refused only at the end of a page; the aligned loads that follow never cross one.
__attribute__((no_sanitize("address", "thread"))) std::size_t
KZUnitScan::Length(char16_t const * text) noexcept {
    constexpr std::uintptr_t pageBytes = 4096;
    auto const address = reinterpret_cast<std::uintptr_t>(text);
    __m128i const zero = _mm_setzero_si128();
    if (address % pageBytes <= pageBytes - sizeof zero) {
        auto const first = _mm_loadu_si128(reinterpret_cast<__m128i const *>(text));
        unsigned const hits = Mask(_mm_cmpeq_epi16(first, zero));
        if (hits != 0) return FirstOf(hits);
    }
    auto const * place = reinterpret_cast<__m128i const *>(address & ~(sizeof zero - 1));
    unsigned hits = Mask(_mm_cmpeq_epi16(*place, zero));
    hits &= ~0U << address % sizeof zero; // Units before the text don't count.
    while (hits == 0) hits = Mask(_mm_cmpeq_epi16(*++place, zero));
    return static_cast<std::size_t>(reinterpret_cast<char16_t const *>(place) - text) + FirstOf(hits);
}

std::size_t KZUnitScan::FindUnit(char16_t const * text, std::size_t count, char16_t unit) noexcept {
    if (count < unitsOfBlock) return FindUnitPlainly(text, count, unit);
    __m128i const wanted = Spread(unit);
    std::size_t i = 0;
    for (; i + 2 * unitsOfBlock <= count; i += 2 * unitsOfBlock) {
        __m128i const low = _mm_cmpeq_epi16(Load(text + i), wanted);
        __m128i const high = _mm_cmpeq_epi16(Load(text + i + unitsOfBlock), wanted);
        if (Mask(_mm_or_si128(low, high)) != 0) return i + FirstOf(Mask(low) | Mask(high) << 16);
    }
    // The rest is shorter than a block: take the last block of the text, which may begin with units already compared.
    for (; i < count; i += unitsOfBlock) {
        std::size_t const start = std::min(i, count - unitsOfBlock);
        unsigned const hits = Mask(_mm_cmpeq_epi16(Load(text + start), wanted));
        if (hits != 0) return start + FirstOf(hits);
    }
    return count;
}

std::size_t KZUnitScan::Finder::operator()(char16_t const * text, std::size_t count) const noexcept {
    if (size_ == 1) return FindUnit(text, count, *needle_);
    if (count < size_ + unitsOfBlock - 1) return FindTextPlainly(text, count, needle_, size_);
    std::size_t const places = count - size_ + 1;
    __m128i const first = Spread(needle_[probes_[0]]);
    __m128i const second = Spread(needle_[probes_[1]]);
    // Compares the needle at the eight positions from `start` on, where both probes agree.
    auto const agree = [&](std::size_t start) {
        return _mm_and_si128(_mm_cmpeq_epi16(Load(text + start + probes_[0]), first),
                             _mm_cmpeq_epi16(Load(text + start + probes_[1]), second));
    };
    auto const verify = [&](std::size_t start, unsigned hits) {
        for (; hits != 0; hits &= hits - 1, hits &= hits - 1) { // Each place has two bits.
            std::size_t const place = start + FirstOf(hits);
            if (std::memcmp(text + place, needle_, size_ * sizeof *needle_) == 0) return place;
        }
        return count;
    };
    std::size_t i = 0;
    for (; i + 2 * unitsOfBlock <= places; i += 2 * unitsOfBlock) {
        __m128i const low = agree(i);
        __m128i const high = agree(i + unitsOfBlock);
        if (Mask(_mm_or_si128(low, high)) == 0) continue;
        if (std::size_t const place = verify(i, Mask(low) | Mask(high) << 16); place != count) return place;
    }
    // The rest is shorter than a block: take the last eight positions, some of which may have been compared already.
    for (; i < places; i += unitsOfBlock) {
        std::size_t const start = std::min(i, places - unitsOfBlock);
        if (std::size_t const place = verify(start, Mask(agree(start))); place != count) return place;
    }
    return count;
}

#else

std::size_t KZUnitScan::Length(char16_t const * text) noexcept {
    char16_t const * end = text;
    while (*end != u'\0') ++end;
    return static_cast<std::size_t>(end - text);
}

std::size_t KZUnitScan::FindUnit(char16_t const * text, std::size_t count, char16_t unit) noexcept {
    return FindUnitPlainly(text, count, unit);
}

std::size_t KZUnitScan::Finder::operator()(char16_t const * text, std::size_t count) const noexcept {
    return FindTextPlainly(text, count, needle_, size_);
}

#endif
