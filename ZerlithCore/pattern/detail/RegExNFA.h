// The nodes of a pattern and the edges between them, the non-deterministic automaton. A node may have any number of
// edges; an edge reads one unit of a set, or none (an e-transition).
#pragma once

#include "ZerlithCore/pattern/KZRegExSyntaxNode.h"
#include "ZerlithCore/pattern/detail/IndexTable.h"

#include <cstddef>
#include <cstdint>
#include <new>
#include <span>
#include <vector>

namespace KZDetail {

// Thrown for a pattern that exceeds a limit. Callers see that memory is out.
class PatternTooLarge : public std::bad_alloc {};

// The different sets of units of a pattern, by number. They belong to the syntax tree, which must outlive this object.
class RegExSets {
public:
    // Returns the number of the sets that equal `set`.
    std::uint32_t Add(KZUWCharSet const & set);
    [[nodiscard]] std::uint32_t GetCount() const noexcept { return static_cast<std::uint32_t>(sets_.size()); }
    [[nodiscard]] KZUWCharSet const & operator[](std::uint32_t id) const { return *sets_[id]; }
    // True when the set has each unit from 0 to U+FFFD, as that of "." has.
    [[nodiscard]] bool IsAny(std::uint32_t id) const;

private:
    std::vector<KZUWCharSet const *> sets_;
    IndexTable index_;
    std::uint32_t last_ = none; // the last new one
};

struct RegExNFA {
    static constexpr std::uint32_t entry = 0;
    static constexpr std::uint32_t exit = 1;

    struct Node {
        std::uint32_t firstEdge = none;
        // How many loops over any unit, ".*", follow in the outermost sequence: of "a.*b.*c" the nodes for "a" have 2.
        std::uint32_t rank = 0;
    };
    struct Edge {
        std::uint32_t set; // `none` reads no unit
        std::uint32_t target;
        std::uint32_t next; // of the same node, or `none`
    };

    std::vector<Node> nodes;
    std::vector<Edge> edges;
    bool hasTrees = false;         // branches share nodes somewhere
    std::uint32_t lastLoop = none; // the node of the ".*" at the end of the outermost sequence

    // Calls `function(edge)` for each edge of a node.
    template <class Function>
    void ForEachEdge(std::uint32_t node, Function function) const {
        for (std::uint32_t i = nodes[node].firstEdge; i != none; i = edges[i].next) function(edges[i]);
    }
    // The only edge of a node; null if it has none or several.
    [[nodiscard]] Edge const * OnlyEdge(std::uint32_t node) const {
        std::uint32_t const first = nodes[node].firstEdge;
        return first != none && edges[first].next == none ? &edges[first] : nullptr;
    }
};

// `Apart` gives each branch of an alternate nodes of its own, as they are printed. `Together` lets branches that begin
// with the same sets share nodes; both match the same texts.
enum class Branches { Apart, Together };

// Makes the nodes of a tree. Null gives an entry and an exit without a way between them. Errors: std::bad_alloc; a
// pattern that has too many nodes, or nodes with too many others within reach without a unit, is a PatternTooLarge.
RegExNFA BuildNFA(KZRegExSyntaxNode const * root, RegExSets & sets, Branches branches);
// Makes the nodes of a sequence for texts that are read from their end. Errors: the same.
RegExNFA BuildBackwardNFA(std::span<KZRegExSyntaxNode const * const> items, RegExSets & sets);

// The children of a sequence, and of sequences in it, in order; a node that is no sequence is its own only child.
std::vector<KZRegExSyntaxNode const *> ItemsOf(KZRegExSyntaxNode const & node);
// True for ".*": any number of units from 0 to U+FFFD at least.
bool IsAnyLoop(KZRegExSyntaxNode const & node);

} // namespace KZDetail
