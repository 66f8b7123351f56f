// The stages of compiling a pattern: the syntax tree becomes nodes (an NFA), which may be left without reading a unit
// by e-transitions; the nodes become states (a DFA), in which each unit leads to one state at most.
#pragma once

#include "ZerlithCore/pattern/KZLookupTable.h"
#include "ZerlithCore/pattern/KZNFANodeSet.h"
#include "ZerlithCore/pattern/KZRegExSyntaxNode.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <new>
#include <vector>

namespace KZDetail {

// Thrown for a pattern that exceeds the budget. Callers see that memory is out.
class PatternTooLarge : public std::bad_alloc {};

// The memory and time that compiling a pattern may take: 64 MB and about a second, so that a short pattern can't bring
// a machine down. Both are computed from the objects that are made and the steps that are done. They aren't measured,
// so a pattern fails on every machine or on none. Bytes are those of a 64-bit machine, with what an allocator adds to a
// block and what a vector takes while it grows. Errors: PatternTooLarge.
class Budget {
public:
    void Keep(std::size_t bytes) {
        bytes_ += bytes;
        if (bytes_ > mostBytes) throw PatternTooLarge();
    }
    [[nodiscard]] bool HasRoomFor(std::size_t bytes) const noexcept { return bytes <= mostBytes - bytes_; }
    // Counts `bytes` in place of all counted so far: what remains after a stage has freed its temporary objects.
    void Leave(std::size_t bytes) noexcept { bytes_ = bytes; }
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

struct NFANode {
    std::uint32_t id = 0;
    KZNFANodeSet targets;                         // of the e-transitions
    std::map<std::uint32_t, KZUWCharSet> onUnits; // the units that lead to each target
};

struct NFA {
    std::vector<NFANode> nodes;
    std::uint32_t entry = 0;
    std::uint32_t exit = 0;
};

constexpr std::uint32_t noState = 0xFFFFFFFFU;

struct DFAState {
    bool isAccepting = false;
    bool acceptsEverything = false;
    KZLookupTable<char16_t, std::uint32_t> transitions{noState}; // to the indexes of states
};

// A null root gives an entry and an exit without a way between them.
NFA BuildNFA(KZSmartPtr<KZRegExSyntaxNode> const & root, Budget & budget);
std::vector<DFAState> BuildDFA(NFA nfa, Budget & budget);

void Dump(std::wostream & out, NFA const & nfa);
void Dump(std::wostream & out, std::vector<DFAState> const & states);

} // namespace KZDetail
