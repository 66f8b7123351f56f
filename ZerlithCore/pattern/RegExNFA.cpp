// Makes nodes from the syntax tree. The parts of the tree that are still to be built stand on a list, not on the call
// stack, so that a long pattern can't overflow it.
#include "ZerlithCore/pattern/detail/RegExAutomaton.h"

namespace KZDetail {
namespace {

class Builder {
public:
    Builder(NFA & nfa, Budget & budget) : nfa_(nfa), budget_(budget) {}

    std::uint32_t AddNode() {
        budget_.Keep(240);
        budget_.Work(200);
        auto const id = static_cast<std::uint32_t>(nfa_.nodes.size());
        nfa_.nodes.emplace_back().id = id;
        return id;
    }

    void Build(KZRegExSyntaxNode const & root) {
        Push({&root, nfa_.entry, nfa_.exit, true});
        while (!pending_.empty()) {
            Piece const piece = pending_.back();
            pending_.pop_back();
            BuildPiece(piece);
        }
    }

private:
    // A part of the tree that is to be built between two nodes. With `ownsFrom` no other part begins at `from`, so that
    // a loop may use `from` as its node.
    struct Piece {
        KZRegExSyntaxNode const * node;
        std::uint32_t from;
        std::uint32_t to;
        bool ownsFrom;
    };

    void Push(Piece const & piece) { pending_.push_back(piece); }
    // The budget counts a tree with one element: the most that a link can take in a KZNFANodeSet.
    void Link(std::uint32_t from, std::uint32_t to) {
        budget_.Keep(136);
        budget_.Work(100);
        nfa_.nodes[from].targets.Insert(to);
    }

    void BuildPiece(Piece const & piece) {
        switch (piece.node->GetType()) {
        case KZRegExSyntaxNode::CharSet: AddUnits(*piece.node, piece.from, piece.to); break;
        case KZRegExSyntaxNode::Sequence: BuildSequence(piece); break;
        case KZRegExSyntaxNode::Alternate: BuildAlternate(piece); break;
        case KZRegExSyntaxNode::Repeat: BuildRepeat(piece); break;
        }
    }

    void AddUnits(KZRegExSyntaxNode const & node, std::uint32_t from, std::uint32_t to) {
        auto const & added = static_cast<KZRegExSyntaxNodeCharSet const &>(node);
        auto const count = static_cast<std::size_t>(added.GetEnd() - added.GetBegin());
        budget_.Keep(128 + 12 * count);
        budget_.Work(400 + 60 * count);
        nfa_.nodes[from].onUnits[to] |= added;
    }

    // The left part is pushed last, so that it is built first.
    void BuildSequence(Piece const & piece) {
        std::uint32_t const middle = AddNode();
        Push({&*piece.node->GetRightChild(), middle, piece.to, true});
        Push({&*piece.node->GetLeftChild(), piece.from, middle, piece.ownsFrom});
    }

    // Each branch gets its own nodes at both ends. An alternate that is a branch adds its branches here: "a|b|c" has
    // three.
    void BuildAlternate(Piece const & piece) {
        for (auto const & child : {piece.node->GetRightChild(), piece.node->GetLeftChild()}) {
            if (child->GetType() == KZRegExSyntaxNode::Alternate) {
                Push({&*child, piece.from, piece.to, false});
                continue;
            }
            std::uint32_t const from = AddNode();
            std::uint32_t const to = AddNode();
            Link(piece.from, from);
            Link(to, piece.to);
            Push({&*child, from, to, true});
        }
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
            std::uint32_t const to = AddNode();
            Push({&child, from, to, ownsFrom});
            from = to;
            ownsFrom = true;
        }
        if (isSet) {
            std::uint32_t const loop = ownsFrom ? from : AddNode();
            if (loop != from) Link(from, loop);
            AddUnits(child, loop, loop);
            Link(loop, piece.to);
            return;
        }
        std::uint32_t const start = AddNode();
        std::uint32_t const end = AddNode();
        Link(from, start);
        Link(end, start);
        Link(end, piece.to);
        if (minimum == 0) Link(from, piece.to);
        Push({&child, start, end, true});
    }

    void BuildChain(Piece const & piece, KZRegExSyntaxNode const & child, std::uint32_t minimum,
                    std::uint32_t maximum) {
        std::uint32_t from = piece.from;
        bool ownsFrom = piece.ownsFrom;
        for (std::uint32_t i = 0; i < maximum; ++i) {
            if (i >= minimum) Link(from, piece.to);
            std::uint32_t const to = i + 1 < maximum ? AddNode() : piece.to;
            Push({&child, from, to, ownsFrom && i < minimum});
            from = to;
            ownsFrom = true;
        }
        if (maximum == 0) Link(from, piece.to);
    }

    NFA & nfa_;
    Budget & budget_;
    std::vector<Piece> pending_;
};

} // namespace

NFA BuildNFA(KZSmartPtr<KZRegExSyntaxNode> const & root, Budget & budget) {
    NFA nfa;
    Builder builder(nfa, budget);
    nfa.entry = builder.AddNode();
    nfa.exit = builder.AddNode();
    if (!root.IsNull()) builder.Build(*root);
    return nfa;
}

} // namespace KZDetail
