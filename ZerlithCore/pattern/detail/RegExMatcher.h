// The states of an automaton, as tables for matching.
#pragma once

#include "ZerlithCore/pattern/detail/RegExAutomaton.h"

#include <array>
#include <cstdint>
#include <string_view>
#include <type_traits>
#include <vector>

namespace KZDetail {

// Each state has a row with the next state for each class of units. A class is a range of units that lead every state
// to the same place: for "[a-f]x" the classes are the units before a, a to f, g to w, x, and the units after x. The
// number of a state is the index at which its row begins. If the tables would be too large, there are none.
class MatchTables {
public:
    struct Identity {
        char16_t operator()(char16_t unit) const noexcept { return unit; }
    };

    // Targets that end a match.
    static constexpr std::uint32_t dead = 0xFFFFFFFFU;
    static constexpr std::uint32_t everything = 0xFFFFFFFEU;

    MatchTables(std::vector<DFAState> const & states, Budget & budget);

    [[nodiscard]] bool IsEmpty() const noexcept { return next_.empty(); }
    // Matches all of `text` up to its first 0. Requires: not empty.
    [[nodiscard]] bool Match(std::u16string_view text) const noexcept;
    // The same with `translate(unit)` in place of each unit.
    template <class Translate>
    [[nodiscard]] bool Match(std::u16string_view text, Translate translate) const noexcept;

private:
    // The units that lead a state to itself, if they are at most four ranges; if they are more, or none, the count is
    // 0.
    struct Loop {
        std::uint32_t count = 0;
        std::array<char16_t, 4> low{};
        std::array<char16_t, 4> span{}; // last unit minus the first
    };

    static std::vector<std::uint32_t> FindBounds(std::vector<DFAState> const & states, Budget & budget);
    void MakeClasses(std::vector<DFAState> const & states, Budget & budget);
    void MakeRows(std::vector<DFAState> const & states, Budget & budget);
    static Loop MakeLoop(DFAState const & state, std::uint32_t self);
    [[nodiscard]] std::uint32_t ClassOf(char16_t unit) const noexcept {
        return classes_[std::uint32_t{pages_[unit >> 8]} + (unit & 0xFFU)];
    }
    static char16_t const * Skip(Loop const & loop, char16_t const * text, char16_t const * end) noexcept;

    std::uint32_t start_ = dead;
    std::uint32_t classCount_ = 1;
    std::array<std::uint16_t, 256> pages_{}; // where in classes_ each page of 256 units begins
    std::vector<std::uint16_t> classes_;     // the class of each unit, by pages
    std::vector<std::uint32_t> next_;
    std::vector<std::uint8_t> accepting_; // by state
    std::vector<Loop> loops_;             // by state
};

struct RegExAutomaton {
    std::vector<DFAState> states; // the start state first
    MatchTables tables;

    // Matches all of `text` up to its first 0.
    [[nodiscard]] bool Match(std::u16string_view text) const noexcept {
        return tables.IsEmpty() ? MatchByRanges(text, MatchTables::Identity()) : tables.Match(text);
    }
    // The same with `translate(unit)` in place of each unit.
    template <class Translate>
    [[nodiscard]] bool Match(std::u16string_view text, Translate translate) const noexcept {
        return tables.IsEmpty() ? MatchByRanges(text, translate) : tables.Match(text, translate);
    }

private:
    // Makes one binary search for each unit.
    template <class Translate>
    [[nodiscard]] bool MatchByRanges(std::u16string_view text, Translate translate) const noexcept;
};

template <class Translate>
bool RegExAutomaton::MatchByRanges(std::u16string_view text, Translate translate) const noexcept {
    DFAState const * state = &states.front();
    for (char16_t const unit : text) {
        if (unit == 0 || state->acceptsEverything) break;
        std::uint32_t const next = state->transitions.Lookup(translate(unit));
        if (next == noState) return false;
        state = &states[next];
    }
    return state->isAccepting;
}

template <class Translate>
bool MatchTables::Match(std::u16string_view text, Translate translate) const noexcept {
    // When a state has stayed the same for `patience` units, and `worthwhile` units are left, a vector scan is tried.
    constexpr std::uint32_t patience = 8;
    constexpr std::ptrdiff_t worthwhile = 16;
    std::uint32_t state = start_;
    if (state >= everything) return state == everything;
    std::uint32_t stayed = 0;
    char16_t const * unit = text.data();
    char16_t const * const end = unit + text.size();
    while (unit != end && *unit != 0) {
        std::uint32_t const next = next_[state + ClassOf(translate(*unit))];
        ++unit;
        if (next == state) {
            if constexpr (std::is_same_v<Translate, Identity>) {
                if (++stayed < patience) continue;
                stayed = 0;
                if (end - unit >= worthwhile) unit = Skip(loops_[state / classCount_], unit, end);
            }
            continue;
        }
        if (next >= everything) return next == everything;
        state = next;
        stayed = 0;
    }
    return accepting_[state / classCount_] != 0;
}

} // namespace KZDetail
