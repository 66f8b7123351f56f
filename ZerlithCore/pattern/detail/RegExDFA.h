// The states of a pattern, the deterministic automaton, as they can be printed and asked for. They are made when
// somebody asks; matching doesn't need them.
#pragma once

#include "ZerlithCore/pattern/KZLookupTable.h"
#include "ZerlithCore/pattern/detail/RegExNFA.h"
#include "ZerlithCore/text/KZString.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

namespace KZDetail {

// The memory and time that making states may take: 64 MB and about a second, so that a short pattern can't bring a
// machine down. Both are computed from the objects that are made and the steps that are done. They aren't measured, so
// a pattern fails on every machine or on none. Bytes are those of a 64-bit machine, with what an allocator adds to a
// block and what a vector takes while it grows. Errors: PatternTooLarge.
class Budget {
public:
    void Keep(std::size_t bytes) {
        bytes_ += bytes;
        if (bytes_ > mostBytes) throw PatternTooLarge();
    }
    // Counts `time` in nanoseconds of a present-day machine.
    void Work(std::size_t time) {
        time_ += time;
        if (time_ > mostTime) throw PatternTooLarge();
    }
    // The number of steps for one element when `count` elements are sorted or searched.
    static constexpr std::size_t Log(std::size_t count) {
        return static_cast<std::size_t>(std::bit_width(count));
    }

private:
    static constexpr std::size_t mostBytes = 62'000'000;
    static constexpr std::size_t mostTime = 700'000'000;

    std::size_t bytes_ = 0;
    std::size_t time_ = 0;
};

struct DFAState {
    bool isAccepting = false;
    bool isDone = false;                                      // has its transitions
    KZLookupTable<char16_t, std::uint32_t> transitions{none}; // to the indexes of states
};

// Makes all states of nodes whose branches are `Apart`, the start state first.
std::vector<DFAState> BuildDFA(RegExNFA const & nfa, RegExSets const & sets);
// The prefix that KZRegEx::GetConstantStart describes. Makes no more states than tell it.
KZString ConstantStart(RegExNFA const & nfa, RegExSets const & sets);

void Dump(std::wostream & out, RegExNFA const & nfa, RegExSets const & sets);
void Dump(std::wostream & out, std::vector<DFAState> const & states);

} // namespace KZDetail
