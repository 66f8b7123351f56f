// Subset construction. States are made in the order in which their sets are first met, and worked on in the order of the
// sets; the units of a state are cut at every end of a range and visited in ascending order.
#include "ZerlithCore/pattern/RegExAutomaton.h"

#include <algorithm>
#include <array>
#include <bit>
#include <new>
#include <ostream>
#include <set>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace KZDetail {
namespace {

constexpr std::size_t mostStates = 250'000;

// What construction may cost, whatever the pattern. Sets of nodes take the memory, and uniting and comparing them takes the
// time: an identifier in the tree of a KZNFANodeSet a good deal more of both than one in a vector.
class Budget {
public:
    void KeepTree(std::size_t count) { Spend(bytes_, count * 48, mostBytes); }
    void KeepVector(std::size_t count) { Spend(bytes_, count * 4, mostBytes); }
    void LookAtTree(std::size_t count) { Spend(looks_, count * 25, mostLooks); }
    void LookAtVector(std::size_t count) { Spend(looks_, count, mostLooks); }

private:
    static constexpr std::size_t mostBytes = 200'000'000;
    static constexpr std::size_t mostLooks = 500'000'000; // a second or two

    static void Spend(std::size_t & spent, std::size_t count, std::size_t most) {
        spent += count;
        if (spent > most) throw std::bad_alloc();
    }

    std::size_t bytes_ = 0;
    std::size_t looks_ = 0;
};

// The nodes that can be reached from each node without a unit, itself included. A closed node found on the way has done
// the walk already.
void CloseNodes(std::vector<NFANode> & nodes, Budget & budget) {
    std::vector<std::uint32_t> pending;
    for (NFANode & node : nodes) {
        KZNFANodeSet closure;
        closure.Insert(node.id);
        pending.assign(1, node.id);
        while (!pending.empty()) {
            NFANode const & reached = nodes[pending.back()];
            pending.pop_back();
            budget.LookAtTree(1 + reached.targets.GetLargeCount());
            for (std::uint32_t const id : reached.targets) {
                if (!closure.Insert(id)) continue;
                if (!nodes[id].isClosed) {
                    pending.push_back(id);
                    continue;
                }
                budget.LookAtTree(nodes[id].targets.GetLargeCount());
                closure.Insert(nodes[id].targets);
            }
        }
        budget.KeepTree(closure.GetLargeCount());
        node.targets = std::move(closure);
        node.isClosed = true;
    }
}

// The set of nodes that a state stands for. It has the order of KZNFANodeSet: by the words of the bitmap, then by the
// identifiers above, which are sorted.
struct StateSet {
    static constexpr std::uint32_t smallEnd = 128;

    std::array<std::uint32_t, smallEnd / 32> small{};
    std::vector<std::uint32_t> large;

    StateSet() = default;
    explicit StateSet(KZNFANodeSet const & set) {
        for (std::uint32_t const id : set)
            if (id < smallEnd)
                small[id / 32] |= 1U << id % 32;
            else
                large.push_back(id);
    }

    [[nodiscard]] bool HasSmall(std::uint32_t id) const { return (small[id / 32] >> id % 32 & 1U) != 0; }
    [[nodiscard]] bool Has(std::uint32_t id) const {
        return id < smallEnd ? HasSmall(id) : std::ranges::binary_search(large, id);
    }
    bool operator==(StateSet const &) const = default;
    bool operator<(StateSet const & other) const {
        return std::tie(small, large) < std::tie(other.small, other.large);
    }
};

struct StateSetHash {
    std::size_t operator()(StateSet const & set) const noexcept {
        std::uint64_t hash = 0;
        auto const add = [&hash](std::uint32_t word) {
            hash = (hash ^ word) * 0x9E3779B97F4A7C15U;
            hash ^= hash >> 29;
        };
        std::ranges::for_each(set.small, add);
        std::ranges::for_each(set.large, add);
        return static_cast<std::size_t>(hash);
    }
};

class Determiniser {
public:
    explicit Determiniser(NFA & nfa) : nfa_(nfa), unitedIn_(nfa.nodes.size()) {
        CloseNodes(nfa.nodes, budget_);
        closures_.reserve(nfa.nodes.size());
        for (NFANode const & node : nfa.nodes) {
            budget_.KeepVector(node.targets.GetLargeCount());
            closures_.emplace_back(node.targets);
        }
    }

    std::vector<DFAState> Run() {
        StateOf(StateSet(closures_[nfa_.entry]));
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
    using StateMap = std::unordered_map<StateSet, std::uint32_t, StateSetHash>;
    using Entry = StateMap::value_type const *;
    struct BySet {
        bool operator()(Entry a, Entry b) const { return a->first < b->first; }
    };
    struct Edge {
        char16_t low;
        char16_t high;
        std::uint32_t target;
    };

    std::uint32_t StateOf(StateSet && set) {
        budget_.LookAtVector(1 + 2 * set.large.size());
        auto const [place, isNew] =
            stateOfSet_.try_emplace(std::move(set), static_cast<std::uint32_t>(states_.size()));
        if (isNew) {
            if (states_.size() >= mostStates) throw std::bad_alloc();
            budget_.KeepVector(place->first.large.size());
            states_.emplace_back().isAccepting = place->first.Has(nfa_.exit);
            unprocessed_.insert(&*place);
        }
        return place->second;
    }

    void AddTransitions(StateSet const & set, std::uint32_t state) {
        CollectEdges(set);
        KZLookupTable<char16_t, std::uint32_t> transitions(noState);
        std::size_t next = 0;
        active_.clear();
        for (std::size_t i = 0; i + 1 < bounds_.size(); ++i) {
            char16_t const low = bounds_[i];
            std::erase_if(active_, [low](Edge const & edge) { return edge.high <= low; });
            for (; next < edges_.size() && edges_[next].low == low; ++next) active_.push_back(edges_[next]);
            budget_.LookAtVector(active_.size());
            if (!active_.empty()) transitions.Append(low, bounds_[i + 1], StateOf(UniteActive()));
        }
        states_[state].transitions = std::move(transitions);
    }

    void CollectEdges(StateSet const & set) {
        edges_.clear();
        bounds_.clear();
        for (std::uint32_t word = 0; word < set.small.size(); ++word)
            for (std::uint32_t bits = set.small[word]; bits != 0; bits &= bits - 1)
                CollectEdges(word * 32 + static_cast<std::uint32_t>(std::countr_zero(bits)));
        for (std::uint32_t const id : set.large) CollectEdges(id);
        budget_.LookAtVector(8 * edges_.size());
        // Nodes made first reach more of the others as a rule, so they come first in a union.
        std::ranges::sort(edges_, {}, [](Edge const & edge) { return std::pair(edge.low, edge.target); });
        std::ranges::sort(bounds_);
        bounds_.erase(std::unique(bounds_.begin(), bounds_.end()), bounds_.end());
    }

    void CollectEdges(std::uint32_t id) {
        for (auto const & [target, units] : nfa_.nodes[id].onUnits)
            for (auto range = units.GetBegin(); range != units.GetEnd(); ++range) {
                edges_.push_back({range->low, range->high, target});
                bounds_.push_back(range->low);
                bounds_.push_back(range->high);
            }
    }

    StateSet UniteActive() {
        if (active_.size() == 1) return closures_[active_.front().target];
        StateSet together;
        ++unions_;
        for (Edge const & edge : active_) {
            // What is united is closed, so whoever is in it has brought his own along.
            bool const isIn = edge.target < StateSet::smallEnd ? together.HasSmall(edge.target)
                                                               : unitedIn_[edge.target] == unions_;
            if (isIn) continue;
            StateSet const & closure = closures_[edge.target];
            budget_.LookAtVector(closure.large.size());
            for (std::size_t i = 0; i < together.small.size(); ++i) together.small[i] |= closure.small[i];
            for (std::uint32_t const id : closure.large)
                if (std::exchange(unitedIn_[id], unions_) != unions_) together.large.push_back(id);
        }
        if (!std::ranges::is_sorted(together.large)) {
            budget_.LookAtVector(4 * together.large.size());
            std::ranges::sort(together.large);
        }
        return together;
    }

    [[nodiscard]] bool AcceptsEverything(std::uint32_t state) const {
        return states_[state].isAccepting &&
               std::ranges::any_of(states_[state].transitions, [state](auto const & range) {
                   return range.value == state && range.low == 0 && range.high > 0xFFFD;
               });
    }

    NFA & nfa_;
    Budget budget_;
    std::vector<StateSet> closures_;      // by node
    std::vector<std::uint64_t> unitedIn_; // by node: the last union that took it in
    std::uint64_t unions_ = 0;
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
