// Makes nodes from the syntax tree. The parts of the tree that are still to be built stand on a list, not on the call
// stack, so that a long pattern can't overflow it.
//
// Where branches of an alternate may share nodes, they become a tree of their units: "car|cat|dog" is
//
//     0 -c-> 2 -a-> 3 -r-> 1, 3 -t-> 1
//     0 -d-> 4 -o-> 5 -g-> 1
//
// A branch leaves the tree with its first item that isn't a set, and with its last one.
#include "ZerlithCore/pattern/detail/RegExNFA.h"

#include <algorithm>

namespace KZDetail {
namespace {

// Counts multiply: without limits forty characters could make a billion nodes. A closure is what can be reached from a
// node without a unit; each step of a match may have to walk through them all.
constexpr std::size_t mostNodes = 400'000;
constexpr std::size_t mostEdges = 600'000;
constexpr std::size_t mostInClosures = 15'000'000;

std::size_t HashOf(KZUWCharSet const & set) {
    std::size_t hash = 0;
    for (auto range = set.GetBegin(); range != set.GetEnd(); ++range)
        hash = AddToHash(hash, std::size_t{range->low} << 16 | range->high);
    return hash;
}

bool IsAnySet(KZUWCharSet const & set) {
    return !set.IsEmpty() && set.GetBegin()->low == 0 && set.GetBegin()->high > 0xFFFD;
}

KZUWCharSet const & SetOf(KZRegExSyntaxNode const & node) {
    return static_cast<KZRegExSyntaxNodeCharSet const &>(node);
}

class Builder {
public:
    Builder(RegExNFA & nfa, RegExSets & sets, Branches branches, bool isBackward)
        : nfa_(nfa), sets_(sets), branches_(branches), isBackward_(isBackward) {
        // What most patterns need, in blocks that are quick to get.
        nfa_.nodes.reserve(64);
        nfa_.edges.reserve(64);
        pending_.reserve(24);
        AddNode(0); // the entry
        AddNode(0); // the exit
    }

    void Build(KZRegExSyntaxNode const & root) {
        Push({&root, RegExNFA::entry, RegExNFA::exit, 0, true, true});
        BuildPending();
    }

    void Build(std::span<KZRegExSyntaxNode const * const> items) {
        std::uint32_t from = RegExNFA::entry;
        for (std::size_t i = items.size(); i-- > 0;) {
            std::uint32_t const to = i > 0 ? AddNode(0) : RegExNFA::exit;
            Push({items[i], from, to, 0, true, false});
            from = to;
        }
        BuildPending();
    }

private:
    void BuildPending() {
        while (!pending_.empty()) {
            Piece const piece = pending_.back();
            pending_.pop_back();
            BuildPiece(piece);
        }
    }

    // A part of the tree that is to be built between two nodes. With `ownsFrom` no other part begins at `from`, so that
    // a loop may use `from` as its node. `isOuter` is true for the items of the outermost sequence.
    struct Piece {
        KZRegExSyntaxNode const * node;
        std::uint32_t from;
        std::uint32_t to;
        std::uint32_t rank;
        bool ownsFrom;
        bool isOuter;
    };

    void Push(Piece const & piece) { pending_.push_back(piece); }

    std::uint32_t AddNode(std::uint32_t rank) {
        if (nfa_.nodes.size() >= mostNodes) throw PatternTooLarge();
        nfa_.nodes.push_back({none, rank});
        return static_cast<std::uint32_t>(nfa_.nodes.size() - 1);
    }

    std::uint32_t AddEdge(std::uint32_t from, std::uint32_t set, std::uint32_t to) {
        if (nfa_.edges.size() >= mostEdges) throw PatternTooLarge();
        nfa_.edges.push_back({set, to, nfa_.nodes[from].firstEdge});
        return nfa_.nodes[from].firstEdge = static_cast<std::uint32_t>(nfa_.edges.size() - 1);
    }

    void Link(std::uint32_t from, std::uint32_t to) { AddEdge(from, none, to); }

    void BuildPiece(Piece const & piece) {
        if (piece.isOuter && piece.from == RegExNFA::entry) nfa_.nodes[piece.from].rank = piece.rank;
        switch (piece.node->GetType()) {
        case KZRegExSyntaxNode::CharSet: AddEdge(piece.from, sets_.Add(SetOf(*piece.node)), piece.to); break;
        case KZRegExSyntaxNode::Sequence: BuildSequence(piece); break;
        case KZRegExSyntaxNode::Alternate:
            branches_ == Branches::Apart ? BuildAlternate(piece) : BuildTree(piece);
            break;
        case KZRegExSyntaxNode::Repeat: BuildRepeat(piece); break;
        }
    }

    // The first part is pushed last, so that it is built first.
    void BuildSequence(Piece const & piece) {
        KZRegExSyntaxNode const * first = &*piece.node->GetLeftChild();
        KZRegExSyntaxNode const * second = &*piece.node->GetRightChild();
        if (isBackward_) std::swap(first, second);
        std::uint32_t const middle = AddNode(piece.rank);
        std::uint32_t const rank = piece.rank + (piece.isOuter && IsAnyLoop(*second) ? 1 : 0);
        Push({second, middle, piece.to, piece.rank, true,
              piece.isOuter && second->GetType() != KZRegExSyntaxNode::Sequence});
        Push({first, piece.from, middle, rank, piece.ownsFrom, piece.isOuter});
    }

    // Each branch gets its own nodes at both ends. An alternate that is a branch adds its branches here: "a|b|c" has
    // three.
    void BuildAlternate(Piece const & piece) {
        for (KZRegExSyntaxNode const * const child :
             {&*piece.node->GetRightChild(), &*piece.node->GetLeftChild()}) {
            if (child->GetType() == KZRegExSyntaxNode::Alternate) {
                Push({child, piece.from, piece.to, piece.rank, false, false});
                continue;
            }
            std::uint32_t const from = AddNode(piece.rank);
            std::uint32_t const to = AddNode(piece.rank);
            Link(piece.from, from);
            Link(to, piece.to);
            Push({child, from, to, piece.rank, true, false});
        }
    }

    void BuildTree(Piece const & piece) {
        nfa_.hasTrees = true;
        std::vector<KZRegExSyntaxNode const *> alternates{piece.node};
        while (!alternates.empty()) {
            KZRegExSyntaxNode const * const node = alternates.back();
            alternates.pop_back();
            if (node->GetType() == KZRegExSyntaxNode::Alternate) {
                alternates.push_back(&*node->GetRightChild());
                alternates.push_back(&*node->GetLeftChild());
            } else {
                BuildBranch(*node, piece);
            }
        }
    }

    void BuildBranch(KZRegExSyntaxNode const & branch, Piece const & piece) {
        std::vector<KZRegExSyntaxNode const *> items = ItemsOf(branch);
        if (isBackward_) std::ranges::reverse(items);
        std::uint32_t from = piece.from;
        std::size_t next = 0;
        for (; next + 1 < items.size() && items[next]->GetType() == KZRegExSyntaxNode::CharSet; ++next)
            from = Descend(from, sets_.Add(SetOf(*items[next])), piece.rank);
        bool ownsFrom = false;
        for (; next < items.size(); ++next) {
            std::uint32_t const to = next + 1 < items.size() ? AddNode(piece.rank) : piece.to;
            Push({items[next], from, to, piece.rank, ownsFrom, false});
            from = to;
            ownsFrom = true;
        }
    }

    // Returns the node of the tree to which `set` leads from `from`.
    std::uint32_t Descend(std::uint32_t from, std::uint32_t set, std::uint32_t rank) {
        std::size_t const hash = AddToHash(AddToHash(0, from), set);
        std::uint32_t const found = branchEdges_.Find(hash, [&](std::uint32_t i) {
            return ways_[i].from == from && nfa_.edges[ways_[i].edge].set == set;
        });
        if (found != none) return nfa_.edges[ways_[found].edge].target;
        std::uint32_t const to = AddNode(rank);
        ways_.push_back({from, AddEdge(from, set, to)});
        branchEdges_.Add(hash, static_cast<std::uint32_t>(ways_.size() - 1));
        return to;
    }

    void BuildRepeat(Piece const & piece) {
        auto const & repeat = static_cast<KZRegExSyntaxNodeRepeat const &>(*piece.node);
        KZRegExSyntaxNode const & child = *repeat.GetLeftChild();
        std::uint32_t const minimum = repeat.GetMinimum();
        std::uint32_t const maximum = repeat.GetMaximum();
        if (maximum < minimum) return;
        if (maximum == KZRegExSyntaxNodeRepeat::Unbounded)
            BuildLoop(piece, child, minimum);
        else
            BuildChain(piece, child, minimum, maximum);
    }

    // Makes copies up to the minimum, followed by a loop: "(ab){2,}" becomes ab(ab)+. A loop over one set of units uses
    // a single node, so that its state leads to itself: the matcher can then scan for the end of the loop.
    void BuildLoop(Piece const & piece, KZRegExSyntaxNode const & child, std::uint32_t minimum) {
        std::uint32_t from = piece.from;
        bool ownsFrom = piece.ownsFrom;
        bool const isSet = child.GetType() == KZRegExSyntaxNode::CharSet;
        std::uint32_t const copies = isSet || minimum == 0 ? minimum : minimum - 1;
        for (std::uint32_t i = 0; i < copies; ++i) {
            std::uint32_t const to = AddNode(piece.rank);
            Push({&child, from, to, piece.rank, ownsFrom, false});
            from = to;
            ownsFrom = true;
        }
        if (isSet) {
            std::uint32_t const loop = ownsFrom ? from : AddNode(piece.rank);
            if (loop != from) Link(from, loop);
            AddEdge(loop, sets_.Add(SetOf(child)), loop);
            Link(loop, piece.to);
            if (piece.isOuter && piece.to == RegExNFA::exit && minimum == 0 && IsAnySet(SetOf(child)))
                nfa_.lastLoop = loop;
            return;
        }
        std::uint32_t const start = AddNode(piece.rank);
        std::uint32_t const end = AddNode(piece.rank);
        Link(from, start);
        Link(end, start);
        Link(end, piece.to);
        if (minimum == 0) Link(from, piece.to);
        Push({&child, start, end, piece.rank, true, false});
    }

    void BuildChain(Piece const & piece, KZRegExSyntaxNode const & child, std::uint32_t minimum,
                    std::uint32_t maximum) {
        std::uint32_t from = piece.from;
        bool ownsFrom = piece.ownsFrom;
        for (std::uint32_t i = 0; i < maximum; ++i) {
            if (i >= minimum) Link(from, piece.to);
            std::uint32_t const to = i + 1 < maximum ? AddNode(piece.rank) : piece.to;
            Push({&child, from, to, piece.rank, ownsFrom && i < minimum, false});
            from = to;
            ownsFrom = true;
        }
        if (maximum == 0) Link(from, piece.to);
    }

    // An edge of a tree of branches, and where it begins.
    struct Way {
        std::uint32_t from;
        std::uint32_t edge;
    };

    RegExNFA & nfa_;
    RegExSets & sets_;
    Branches const branches_;
    bool const isBackward_;
    std::vector<Piece> pending_;
    std::vector<Way> ways_;
    IndexTable branchEdges_; // indexes into ways_
};

// Adds up the sizes of the closures of all nodes.
void CheckClosures(RegExNFA const & nfa) {
    std::size_t const count = nfa.nodes.size();
    if (count * count <= mostInClosures) return;
    std::size_t sum = 0;
    std::vector<std::uint32_t> foundFor(count, none);
    std::vector<std::uint32_t> found;
    for (std::uint32_t node = 0; node < count; ++node) {
        found.assign(1, node);
        foundFor[node] = node;
        for (std::size_t i = 0; i < found.size(); ++i) {
            nfa.ForEachEdge(found[i], [&](RegExNFA::Edge const & edge) {
                ++sum;
                if (edge.set != none || foundFor[edge.target] == node) return;
                foundFor[edge.target] = node;
                found.push_back(edge.target);
            });
            if (sum > mostInClosures) throw PatternTooLarge();
        }
    }
}

} // namespace

std::uint32_t RegExSets::Add(KZUWCharSet const & set) {
    if (last_ != none && sets_[last_] == &set) return last_; // copies of a repeated item
    std::size_t const hash = HashOf(set);
    std::uint32_t const found = index_.Find(hash, [&](std::uint32_t id) { return *sets_[id] == set; });
    if (found != none) return found;
    sets_.push_back(&set);
    last_ = GetCount() - 1;
    index_.Add(hash, last_);
    return last_;
}

bool RegExSets::IsAny(std::uint32_t id) const { return IsAnySet(*sets_[id]); }

RegExNFA BuildNFA(KZRegExSyntaxNode const * root, RegExSets & sets, Branches branches) {
    RegExNFA nfa;
    Builder builder(nfa, sets, branches, false);
    if (root) builder.Build(*root);
    CheckClosures(nfa);
    return nfa;
}

RegExNFA BuildBackwardNFA(std::span<KZRegExSyntaxNode const * const> items, RegExSets & sets) {
    RegExNFA nfa;
    Builder(nfa, sets, Branches::Together, true).Build(items);
    CheckClosures(nfa);
    return nfa;
}

std::vector<KZRegExSyntaxNode const *> ItemsOf(KZRegExSyntaxNode const & node) {
    std::vector<KZRegExSyntaxNode const *> items;
    std::vector<KZRegExSyntaxNode const *> pending;
    items.reserve(64);
    pending.reserve(64);
    pending.push_back(&node);
    while (!pending.empty()) {
        KZRegExSyntaxNode const * const next = pending.back();
        pending.pop_back();
        if (next->GetType() == KZRegExSyntaxNode::Sequence) {
            pending.push_back(&*next->GetRightChild());
            pending.push_back(&*next->GetLeftChild());
        } else {
            items.push_back(next);
        }
    }
    return items;
}

bool IsAnyLoop(KZRegExSyntaxNode const & node) {
    if (node.GetType() != KZRegExSyntaxNode::Repeat) return false;
    auto const & repeat = static_cast<KZRegExSyntaxNodeRepeat const &>(node);
    return repeat.GetMinimum() == 0 && repeat.GetMaximum() == KZRegExSyntaxNodeRepeat::Unbounded &&
           repeat.GetLeftChild()->GetType() == KZRegExSyntaxNode::CharSet &&
           IsAnySet(SetOf(*repeat.GetLeftChild()));
}

} // namespace KZDetail
