// Subset construction. States are made in the order in which their sets are first met, and worked on in the order of the
// sets; the units of a state are cut at every end of a range and visited in ascending order.
#include "ZerlithCore/pattern/RegExAutomaton.h"

#include <algorithm>
#include <new>
#include <ostream>
#include <set>
#include <utility>

namespace KZDetail {
namespace {

constexpr std::size_t mostStates = 1'000'000;

// The nodes that can be reached from each node without a unit, itself included. A closed node found on the way has done
// the walk already.
void CloseNodes(std::vector<NFANode> & nodes) {
    std::vector<std::uint32_t> pending;
    for (NFANode & node : nodes) {
        KZNFANodeSet closure;
        closure.Insert(node.id);
        pending.assign(1, node.id);
        while (!pending.empty()) {
            NFANode const & reached = nodes[pending.back()];
            pending.pop_back();
            for (std::uint32_t const id : reached.targets)
                if (closure.Insert(id) && !nodes[id].isClosed)
                    pending.push_back(id);
                else if (nodes[id].isClosed)
                    closure.Insert(nodes[id].targets);
        }
        node.targets = std::move(closure);
        node.isClosed = true;
    }
}

class Determiniser {
public:
    explicit Determiniser(NFA & nfa) : nfa_(nfa) { CloseNodes(nfa.nodes); }

    std::vector<DFAState> Run() {
        StateOf(nfa_.nodes[nfa_.entry].targets);
        while (!unprocessed_.empty()) {
            auto const [set, state] = **unprocessed_.begin();
            unprocessed_.erase(unprocessed_.begin());
            AddTransitions(set, state);
        }
        for (std::uint32_t i = 0; i < states_.size(); ++i)
            states_[i].acceptsEverything = AcceptsEverything(i);
        return std::move(states_);
    }

private:
    using StateMap = std::map<KZNFANodeSet, std::uint32_t>;
    using Entry = StateMap::value_type const *;
    struct BySet {
        bool operator()(Entry a, Entry b) const { return a->first < b->first; }
    };
    struct Edge {
        char16_t low;
        char16_t high;
        std::uint32_t target;
    };

    std::uint32_t StateOf(KZNFANodeSet const & set) {
        auto const [place, isNew] = stateOfSet_.try_emplace(set, static_cast<std::uint32_t>(states_.size()));
        if (isNew) {
            if (states_.size() >= mostStates) throw std::bad_alloc();
            states_.emplace_back().isAccepting = set.IsInSet(nfa_.exit);
            unprocessed_.insert(&*place);
        }
        return place->second;
    }

    void AddTransitions(KZNFANodeSet const & set, std::uint32_t state) {
        CollectEdges(set);
        KZLookupTable<char16_t, std::uint32_t> transitions(noState);
        std::size_t next = 0;
        active_.clear();
        for (std::size_t i = 0; i + 1 < bounds_.size(); ++i) {
            char16_t const low = bounds_[i];
            std::erase_if(active_, [low](Edge const & edge) { return edge.high <= low; });
            for (; next < edges_.size() && edges_[next].low == low; ++next) active_.push_back(edges_[next]);
            if (!active_.empty()) transitions.Append(low, bounds_[i + 1], StateOfActive());
        }
        states_[state].transitions = std::move(transitions);
    }

    void CollectEdges(KZNFANodeSet const & set) {
        edges_.clear();
        bounds_.clear();
        for (std::uint32_t const id : set)
            for (auto const & [target, units] : nfa_.nodes[id].onUnits)
                for (auto range = units.GetBegin(); range != units.GetEnd(); ++range) {
                    edges_.push_back({range->low, range->high, target});
                    bounds_.push_back(range->low);
                    bounds_.push_back(range->high);
                }
        std::ranges::sort(edges_, {}, &Edge::low);
        std::ranges::sort(bounds_);
        bounds_.erase(std::unique(bounds_.begin(), bounds_.end()), bounds_.end());
    }

    std::uint32_t StateOfActive() {
        if (active_.size() == 1) return StateOf(nfa_.nodes[active_.front().target].targets);
        KZNFANodeSet together;
        for (Edge const & edge : active_) together.Insert(nfa_.nodes[edge.target].targets);
        return StateOf(together);
    }

    [[nodiscard]] bool AcceptsEverything(std::uint32_t state) const {
        return states_[state].isAccepting &&
               std::ranges::any_of(states_[state].transitions, [state](auto const & range) {
                   return range.value == state && range.low == 0 && range.high > 0xFFFD;
               });
    }

    NFA & nfa_;
    std::vector<DFAState> states_;
    StateMap stateOfSet_;
    std::set<Entry, BySet> unprocessed_;
    std::vector<Edge> edges_;
    std::vector<Edge> active_;
    std::vector<char16_t> bounds_;
};

void PrintUnit(std::wostream & out, char16_t unit) {
    if (unit == u'\\' || unit == u'[' || unit == u']') {
        out << L'\\' << static_cast<wchar_t>(unit);
    } else if (unit >= 32 && unit <= 255) {
        out << static_cast<wchar_t>(unit);
    } else {
        constexpr wchar_t digits[] = L"0123456789ABCDEF";
        out << L"\\x" << digits[unit >> 12] << digits[unit >> 8 & 15] << digits[unit >> 4 & 15]
            << digits[unit & 15];
    }
}

void PrintRange(std::wostream & out, char16_t low, char16_t high) {
    PrintUnit(out, low);
    if (high - low > 2) out << L'-';
    if (high - low > 1) PrintUnit(out, static_cast<char16_t>(high - 1));
}

} // namespace

std::vector<DFAState> BuildDFA(NFA & nfa) { return Determiniser(nfa).Run(); }

void Dump(std::wostream & out, NFA const & nfa) {
    for (NFANode const & node : nfa.nodes) {
        out << node.id << L":\n    " << (node.isClosed ? L"e-closure = {" : L"e-transtions = {");
        bool isFirst = true;
        for (std::uint32_t const id : node.targets) {
            out << (std::exchange(isFirst, false) ? L"" : L", ") << id;
        }
        out << L"}\n";
        for (auto const & [target, units] : node.onUnits) {
            out << L"    [";
            for (auto range = units.GetBegin(); range != units.GetEnd(); ++range)
                PrintRange(out, range->low, range->high);
            out << L"] --> " << target << L'\n';
        }
    }
}

void Dump(std::wostream & out, std::vector<DFAState> const & states) {
    for (std::size_t id = 0; id < states.size(); ++id) {
        out << id << (states[id].isAccepting ? L"*:\n" : L":\n");
        for (auto const & range : states[id].transitions) {
            out << L"    ";
            PrintRange(out, range.low, range.high);
            out << L" --> " << range.value << L'\n';
        }
    }
}

} // namespace KZDetail
