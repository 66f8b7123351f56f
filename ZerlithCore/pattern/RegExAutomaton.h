// The stages of construction: syntax tree, nodes with e-transitions, states.
#pragma once

#include "ZerlithCore/pattern/KZLookupTable.h"
#include "ZerlithCore/pattern/KZNFANodeSet.h"
#include "ZerlithCore/pattern/KZRegExSyntaxNode.h"

#include <cstdint>
#include <iosfwd>
#include <map>
#include <vector>

namespace KZDetail {

struct NFANode {
    std::uint32_t id = 0;
    bool isClosed = false;                        // the e-transitions are the e-closure
    KZNFANodeSet targets;                         // of the e-transitions
    std::map<std::uint32_t, KZUWCharSet> onUnits; // by target
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

// A null root gives nodes that lead nowhere.
NFA BuildNFA(KZSmartPtr<KZRegExSyntaxNode> const & root);
// Also closes the nodes.
std::vector<DFAState> BuildDFA(NFA & nfa);

void Dump(std::wostream & out, NFA const & nfa);
void Dump(std::wostream & out, std::vector<DFAState> const & states);

} // namespace KZDetail
