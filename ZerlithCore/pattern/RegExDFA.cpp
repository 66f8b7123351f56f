// Makes states from nodes: a state stands for the set of all nodes in which the automaton may be after some units.
//
// For "a|ab" the nodes are (N -u-> M: unit u leads from N to M; N --> M: without a unit; 0 is the entry, 1 the exit)
//
//     0 --> 2 -a-> 6 -b-> 3 --> 1
//     0 --> 4 -a-> 5 --> 1
//
// State 0 is {0, 2, 4}: the entry and all that it leads to without a unit, its closure. An "a" leads to 5 and 6, with
// their closures to state 1, {1, 5, 6}, which accepts since 1 is in it. There a "b" leads to state 2, {1, 3}, which
// accepts, too.
//
// Where the ranges of a set overlap, they are cut at their ends: for "[a-m]x|[h-z]y" the first unit is looked at as
// a-g, h-m and n-z, which lead to three states. States are numbered in the order in which their sets are first met, and
// get their transitions in the order of the sets.
#include "ZerlithCore/pattern/detail/RegExDFA.h"

#include "ZerlithCore/pattern/KZNFANodeSet.h"

#include <algorithm>
#include <array>
#include <bit>
#include <map>
#include <ostream>
#include <set>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace KZDetail {
namespace {

// The set of nodes for which a state stands, in the order of KZNFANodeSet: sets are compared by the words of the
// bitmap, then by the larger identifiers, which are sorted.
struct StateSet {
    static constexpr std::uint32_t smallEnd = 128;

    std::array<std::uint32_t, smallEnd / 32> small{};
    std::vector<std::uint32_t> large;

    StateSet() = default;
    explicit StateSet(std::vector<std::uint32_t> const & sorted) {
        auto const firstLarge = std::ranges::lower_bound(sorted, smallEnd);
        for (auto id = sorted.begin(); id != firstLarge; ++id) small[*id / 32] |= 1U << *id % 32;
        large.assign(firstLarge, sorted.end());
    }

    template <class Function>
    void ForEach(Function function) const {
        for (std::uint32_t word = 0; word < small.size(); ++word)
            for (std::uint32_t bits = small[word]; bits != 0; bits &= bits - 1)
                function(word * 32 + static_cast<std::uint32_t>(std::countr_zero(bits)));
        std::ranges::for_each(large, function);
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

// The closure of each node: all nodes that can be reached from it without a unit, itself included. Nodes are done in
// order; where a search reaches a node that is done, it takes that node's closure.
std::vector<StateSet> CloseNodes(RegExNFA const & nfa, Budget & budget) {
    std::uint32_t const count = static_cast<std::uint32_t>(nfa.nodes.size());
    budget.Keep(60 * nfa.nodes.size());
    std::vector<StateSet> closures;
    closures.reserve(count);
    std::vector<std::uint32_t> foundFor(count, none);
    std::vector<std::uint32_t> found;
    std::vector<std::uint32_t> pending;
    for (std::uint32_t node = 0; node < count; ++node) {
        std::size_t looks = 0;
        auto const find = [&](std::uint32_t id) {
            ++looks;
            if (foundFor[id] == node) return;
            foundFor[id] = node;
            found.push_back(id);
            if (id >= node) pending.push_back(id);
        };
        found.clear();
        find(node);
        while (!pending.empty()) {
            std::uint32_t const reached = pending.back();
            pending.pop_back();
            nfa.ForEachEdge(reached, [&](RegExNFA::Edge const & edge) {
                // A lower node that was found before came with its whole closure.
                if (edge.set != none) return;
                if (edge.target >= node)
                    find(edge.target);
                else if (foundFor[edge.target] != node)
                    closures[edge.target].ForEach(find);
            });
        }
        std::ranges::sort(found);
        closures.emplace_back(found);
        budget.Keep(24 + 4 * found.size());
        budget.Work(100 + 2 * looks + 2 * found.size() * Budget::Log(found.size()));
    }
    return closures;
}

class Determiniser {
public:
    Determiniser(RegExNFA const & nfa, RegExSets const & sets)
        : nfa_(nfa), sets_(sets), closures_(CloseNodes(nfa, budget_)), marks_(nfa.nodes.size() / 64 + 1) {
        budget_.Keep(8 * marks_.size() + 12 * nfa.nodes.size()); // for marks_ and united_
        StateOf(StateSet(closures_[RegExNFA::entry]));
    }

    std::vector<DFAState> Run() {
        while (!unprocessed_.empty()) ProcessNext();
        return std::move(states_);
    }

    KZString ConstantStart() {
        KZString start;
        for (std::uint32_t i = 0; i < states_.size(); ++i) {
            while (!states_[i].isDone) ProcessNext();
            if (states_[i].isAccepting) continue;
            auto const & transitions = states_[i].transitions;
            if (transitions.size() > 1) break;
            if (transitions.size() == 1) start += transitions.begin()->low;
        }
        return start;
    }

private:
    using Transitions = KZLookupTable<char16_t, std::uint32_t>;
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

    void ProcessNext() {
        auto const [set, state] = **unprocessed_.begin();
        unprocessed_.erase(unprocessed_.begin());
        AddTransitions(set, state);
    }

    std::uint32_t StateOf(StateSet && set) {
        budget_.Work(80 + 3 * set.large.size());
        auto const [place, isNew] =
            stateOfSet_.try_emplace(std::move(set), static_cast<std::uint32_t>(states_.size()));
        if (isNew) {
            // Memory in the map, in the set of unprocessed states and in the list of states; time also for the hash,
            // which is computed again when the map grows.
            std::size_t const size = place->first.large.size();
            budget_.Keep(300 + (size == 0 ? 0 : 24 + 4 * size));
            budget_.Work(800 + 5 * size + Budget::Log(unprocessed_.size()) * (80 + size));
            states_.emplace_back().isAccepting = place->first.Has(nfa_.exit);
            unprocessed_.insert(&*place);
        }
        return place->second;
    }

    void AddTransitions(StateSet const & set, std::uint32_t state) {
        CollectEdges(set);
        transitions_.clear();
        std::size_t next = 0;
        active_.clear();
        for (std::size_t i = 0; i + 1 < bounds_.size(); ++i) {
            char16_t const low = bounds_[i];
            std::erase_if(active_, [low](Edge const & edge) { return edge.high <= low; });
            for (; next < edges_.size() && edges_[next].low == low; ++next) active_.push_back(edges_[next]);
            budget_.Work(6 + 5 * active_.size());
            if (!active_.empty()) transitions_.Append(low, bounds_[i + 1], StateOf(UniteActive()));
        }
        budget_.Keep(24 + 8 * transitions_.size());
        states_[state].transitions = transitions_;
        states_[state].isDone = true;
    }

    void CollectEdges(StateSet const & set) {
        edges_.clear();
        bounds_.clear();
        set.ForEach([this](std::uint32_t id) { CollectEdges(id); });
        budget_.Work(10 * (set.large.size() + StateSet::smallEnd / 4) +
                     edges_.size() * (10 + 6 * Budget::Log(edges_.size())));
        // Nodes with low numbers usually have the larger closures. United first, they save uniting many of the others.
        std::ranges::sort(edges_, {}, [](Edge const & edge) { return std::pair(edge.low, edge.target); });
        std::ranges::sort(bounds_);
        bounds_.erase(std::unique(bounds_.begin(), bounds_.end()), bounds_.end());
    }

    void CollectEdges(std::uint32_t id) {
        nfa_.ForEachEdge(id, [this](RegExNFA::Edge const & edge) {
            if (edge.set == none) return;
            KZUWCharSet const & units = sets_[edge.set];
            for (auto range = units.GetBegin(); range != units.GetEnd(); ++range) {
                edges_.push_back({range->low, range->high, edge.target});
                bounds_.push_back(range->low);
                bounds_.push_back(range->high);
            }
        });
        if (edges_.size() <= mostEdges_) return;
        budget_.Keep(60 * (edges_.size() - mostEdges_)); // for edges_, active_ and bounds_
        mostEdges_ = edges_.size();
    }

    StateSet UniteActive() {
        if (active_.size() == 1) return closures_[active_.front().target];
        StateSet together;
        std::size_t first = marks_.size(); // the first word with marks
        std::size_t last = 0;              // one past the last
        for (Edge const & edge : active_) {
            // A union of closures contains the closure of each of its nodes. So a target that is in it adds nothing.
            bool const isIn =
                edge.target < StateSet::smallEnd ? together.HasSmall(edge.target) : IsMarked(edge.target);
            if (isIn) continue;
            StateSet const & closure = closures_[edge.target];
            budget_.Work(5 + closure.large.size());
            for (std::size_t i = 0; i < together.small.size(); ++i) together.small[i] |= closure.small[i];
            if (closure.large.empty()) continue;
            first = std::min<std::size_t>(first, closure.large.front() / 64);
            last = std::max<std::size_t>(last, closure.large.back() / 64 + 1);
            Mark(closure.large);
        }
        if (first < last) together.large = TakeMarks(first, last);
        return together;
    }

    [[nodiscard]] bool IsMarked(std::uint32_t id) const { return (marks_[id / 64] >> id % 64 & 1U) != 0; }

    // Marks nodes. Their bits are gathered, so that each word is written once.
    void Mark(std::vector<std::uint32_t> const & sorted) {
        std::uint32_t word = sorted.front() / 64;
        std::uint64_t bits = 0;
        for (std::uint32_t const id : sorted) {
            if (id / 64 != word) {
                marks_[word] |= std::exchange(bits, 0);
                word = id / 64;
            }
            bits |= std::uint64_t{1} << id % 64;
        }
        marks_[word] |= bits;
    }

    // Returns the marked nodes of the words from `first` to `last`, in ascending order, and clears their marks.
    std::vector<std::uint32_t> const & TakeMarks(std::size_t first, std::size_t last) {
        united_.clear();
        for (std::size_t word = first; word < last; ++word)
            for (std::uint64_t bits = std::exchange(marks_[word], 0); bits != 0; bits &= bits - 1)
                united_.push_back(static_cast<std::uint32_t>(word * 64) +
                                  static_cast<std::uint32_t>(std::countr_zero(bits)));
        budget_.Work(60 + 2 * (last - first) + 3 * united_.size());
        return united_;
    }

    RegExNFA const & nfa_;
    RegExSets const & sets_;
    Budget budget_;
    std::vector<StateSet> closures_;   // by node
    std::vector<std::uint64_t> marks_; // a bit for each node: it is in the union that is being made
    std::vector<DFAState> states_;
    StateMap stateOfSet_;
    std::set<Entry, BySet> unprocessed_;
    // Of the state that is being processed.
    std::vector<Edge> edges_;
    std::vector<Edge> active_;
    std::vector<char16_t> bounds_;
    std::vector<std::uint32_t> united_;
    Transitions transitions_{none};
    std::size_t mostEdges_ = 0;
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

std::vector<DFAState> BuildDFA(RegExNFA const & nfa, RegExSets const & sets) {
    return Determiniser(nfa, sets).Run();
}

KZString ConstantStart(RegExNFA const & nfa, RegExSets const & sets) {
    return Determiniser(nfa, sets).ConstantStart();
}

void Dump(std::wostream & out, RegExNFA const & nfa, RegExSets const & sets) {
    for (std::uint32_t id = 0; id < nfa.nodes.size(); ++id) {
        KZNFANodeSet targets;
        std::map<std::uint32_t, KZUWCharSet> onUnits;
        nfa.ForEachEdge(id, [&](RegExNFA::Edge const & edge) {
            if (edge.set == none)
                targets.Insert(edge.target);
            else
                onUnits[edge.target] |= sets[edge.set];
        });
        out << id << L":\n    e-transtions = {";
        bool isFirst = true;
        for (std::uint32_t const target : targets)
            out << (std::exchange(isFirst, false) ? L"" : L", ") << target;
        out << L"}\n";
        for (auto const & [target, units] : onUnits) {
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
