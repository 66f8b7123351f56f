// Matching takes two loads a unit: one gives the class of the unit, the other the next state. When the state has stayed
// the same for some units, as in ".*", a vector scan looks for the first unit that leads to another one.
#include "ZerlithCore/pattern/detail/RegExMatcher.h"

#include <algorithm>
#include <bit>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace KZDetail {

MatchTables::MatchTables(std::vector<DFAState> const & states, Budget & budget) {
    // A long pattern of many different units has many states and as many classes: its tables would grow with the
    // square.
    constexpr std::size_t mostCells = 4 * 1024 * 1024;
    MakeClasses(states, budget);
    std::size_t const bytes = states.size() * (21 + 4 * std::size_t{classCount_});
    if (states.size() > mostCells / classCount_ || !budget.HasRoomFor(bytes)) return;
    budget.Keep(bytes);
    MakeRows(states, budget);
}

// Not in the header on purpose: in a function of its own the loop keeps everything in registers; inlined into a larger
// one it takes twice as long.
bool MatchTables::Match(std::u16string_view text) const noexcept { return Match(text, Identity{}); }

// The first unit of each class, and 0x10000 at the end. A class begins wherever a range of some state begins or ends.
std::vector<std::uint32_t> MatchTables::FindBounds(std::vector<DFAState> const & states, Budget & budget) {
    std::array<std::uint64_t, 0x10000 / 64> isBound{}; // a bit for each unit
    auto const mark = [&isBound](char16_t unit) { isBound[unit / 64] |= std::uint64_t{1} << unit % 64; };
    mark(0);
    for (DFAState const & state : states) {
        budget.Work(5 + 2 * state.transitions.size());
        for (auto const & range : state.transitions) {
            mark(range.low);
            mark(range.high);
        }
    }
    std::vector<std::uint32_t> bounds;
    for (std::uint32_t word = 0; word < isBound.size(); ++word)
        for (std::uint64_t bits = isBound[word]; bits != 0; bits &= bits - 1)
            bounds.push_back(word * 64 + static_cast<std::uint32_t>(std::countr_zero(bits)));
    bounds.push_back(0x10000);
    return bounds;
}

// Consecutive pages of 256 units that belong to one class share their entries.
void MatchTables::MakeClasses(std::vector<DFAState> const & states, Budget & budget) {
    std::vector<std::uint32_t> const bounds = FindBounds(states, budget);
    classCount_ = static_cast<std::uint32_t>(bounds.size() - 1);

    std::uint32_t piece = 0;
    std::uint32_t sharedPiece = noState;
    for (std::uint32_t page = 0; page < pages_.size(); ++page) {
        std::uint32_t const first = page * 256;
        while (bounds[piece + 1] <= first) ++piece;
        bool const isWhole = bounds[piece + 1] >= first + 256;
        if (isWhole && sharedPiece == piece) {
            pages_[page] = pages_[page - 1];
            continue;
        }
        pages_[page] = static_cast<std::uint16_t>(classes_.size());
        for (std::uint32_t unit = first, at = piece; unit < first + 256;) {
            std::uint32_t const end = std::min(bounds[at + 1], first + 256);
            classes_.insert(classes_.end(), end - unit, static_cast<std::uint16_t>(at));
            unit = end;
            ++at;
        }
        sharedPiece = isWhole ? piece : noState;
    }
}

void MatchTables::MakeRows(std::vector<DFAState> const & states, Budget & budget) {
    budget.Work(states.size() * (20 + classCount_ / 2));
    next_.assign(states.size() * classCount_, dead);
    accepting_.reserve(states.size());
    loops_.reserve(states.size());
    for (std::uint32_t i = 0; i < states.size(); ++i) {
        DFAState const & state = states[i];
        for (auto const & range : state.transitions) {
            std::uint32_t const target =
                states[range.value].acceptsEverything ? everything : range.value * classCount_;
            auto const row = next_.begin() + std::ptrdiff_t{i} * classCount_;
            std::fill(row + ClassOf(range.low), row + ClassOf(static_cast<char16_t>(range.high - 1)) + 1,
                      target);
        }
        accepting_.push_back(state.isAccepting ? 1 : 0);
        loops_.push_back(MakeLoop(state, i));
    }
    if (!states.empty()) start_ = states.front().acceptsEverything ? everything : 0;
}

// Unit 0 ends a text, so it never belongs to a loop.
MatchTables::Loop MatchTables::MakeLoop(DFAState const & state, std::uint32_t self) {
    Loop loop;
    for (auto const & range : state.transitions) {
        if (range.value != self || range.high == 1) continue;
        if (loop.count == loop.low.size()) return {};
        auto const low = std::max<char16_t>(range.low, 1);
        loop.low[loop.count] = low;
        loop.span[loop.count] = static_cast<char16_t>(range.high - 1 - low);
        ++loop.count;
    }
    if (loop.count == 0) return loop;
    for (std::uint32_t i = loop.count; i < loop.low.size(); ++i) {
        loop.low[i] = loop.low[0];
        loop.span[i] = loop.span[0];
    }
    return loop;
}

// Returns the first unit that leaves the loop, or, if there is none, a place less than eight units before the end.
char16_t const * MatchTables::Skip(Loop const & loop, char16_t const * text, char16_t const * end) noexcept {
#if defined(__SSE2__)
    if (loop.count == 0) return text;
    __m128i low[4];
    __m128i span[4];
    for (int i = 0; i < 4; ++i) {
        low[i] = _mm_set1_epi16(static_cast<short>(loop.low[static_cast<std::size_t>(i)]));
        span[i] = _mm_set1_epi16(static_cast<short>(loop.span[static_cast<std::size_t>(i)]));
    }
    __m128i const zero = _mm_setzero_si128();
    for (; end - text >= 8; text += 8) {
        __m128i const units = _mm_loadu_si128(reinterpret_cast<__m128i const *>(text));
        __m128i stays = zero;
        for (int i = 0; i < 4; ++i)
            stays = _mm_or_si128(
                stays, _mm_cmpeq_epi16(_mm_subs_epu16(_mm_sub_epi16(units, low[i]), span[i]), zero));
        auto const leaves = static_cast<unsigned int>(_mm_movemask_epi8(stays)) ^ 0xFFFFU;
        if (leaves != 0) return text + std::countr_zero(leaves) / 2;
    }
#else
    static_cast<void>(loop);
    static_cast<void>(end);
#endif
    return text;
}

} // namespace KZDetail
