// A state is the set of nodes in which the automaton may be. Of these only the nodes count that read units, and whether
// the exit is among them. Two rules make states fewer, and change no match of a text without odd units:
//
// A state with a loop over any unit before the exit accepts all that follows. Its other nodes don't count.
//
// In "a.*b.*c" nodes for "b" don't count in a state that has reached the second ".*": whatever would be matched by way
// of them is matched by way of the loop.
#include "ZerlithCore/pattern/detail/RegExRows.h"

#include <algorithm>
#include <new>

namespace KZDetail {
namespace {

// Rows with cells for two units match almost twice as fast and have the square of the cells.
constexpr std::uint32_t mostPairClasses = 20;
// Runs shorter than this are matched by cells as fast.
constexpr std::size_t leastRun = 8;
constexpr std::size_t mostInRun = 64;
// Looking for a loop tries each class with each edge. What takes longer isn't worth a scan.
constexpr std::size_t mostLoopTries = 1'000'000;

} // namespace

void * RegExArena::Take(std::size_t bytes) {
    constexpr std::size_t firstBlock = 1024;
    constexpr std::size_t mostBlock = 65536;
    constexpr std::size_t alignment = alignof(std::max_align_t);
    bytes = (bytes + alignment - 1) / alignment * alignment;
    if (bytes > left_) {
        std::size_t const size = std::max(bytes, std::clamp(used_, firstBlock, mostBlock));
        blocks_.push_back(std::make_unique_for_overwrite<std::byte[]>(size));
        free_ = blocks_.back().get();
        left_ = size;
    }
    std::byte * const taken = free_;
    free_ += bytes;
    left_ -= bytes;
    used_ += bytes;
    return taken;
}

void RegExArena::Clear() noexcept {
    blocks_.clear();
    free_ = nullptr;
    left_ = 0;
    used_ = 0;
}

void RegExNodes::Clear() noexcept {
    count_ = 0;
    if (++mark_ != 0) return;
    std::fill_n(memory_.get(), nodeCount_, 0);
    mark_ = 1;
}

void RegExNodes::Close(RegExNFA const & nfa) noexcept {
    for (std::size_t i = 0; i < count_; ++i)
        nfa.ForEachEdge(memory_[nodeCount_ + i], [this](RegExNFA::Edge const & edge) {
            if (edge.set == none) Add(edge.target);
        });
}

bool RegExNodes::operator==(RegExNodes const & other) const noexcept {
    return count_ == other.count_ &&
           std::ranges::all_of(GetList(), [&other](std::uint32_t node) { return other.Has(node); });
}

RegExRows::RegExRows(RegExNFA const & nfa, RegExSets const & sets, RegExUnits const & units,
                     std::size_t mostBytes)
    : nfa_(nfa)
    , sets_(sets)
    , units_(units)
    , mostBytes_(mostBytes)
    , hasPairs_(units.GetCount() <= mostPairClasses)
    , found_(nfa.nodes.size()) {
    nodes_.reserve(nfa.nodes.size());
}

RegExCell RegExRows::Start() {
    found_.Clear();
    found_.Add(RegExNFA::entry);
    return FindOrMakeClosed();
}

RegExCell RegExRows::Step(RegExRow const & row, std::uint32_t unitClass) {
    std::atomic<RegExCell> & cell = row.At(unitClass);
    RegExCell next = cell.load(std::memory_order_relaxed);
    if (next != unknownCell) return next;
    Move(row.nodes, unitClass);
    next = FindOrMakeClosed();
    if (next != fullCell) cell.store(next, std::memory_order_release);
    return next;
}

RegExCell RegExRows::StepTwice(RegExRow const & row, std::uint32_t first, std::uint32_t second) {
    std::atomic<RegExCell> & cell = row.At(PairOf(first, second));
    RegExCell next = cell.load(std::memory_order_relaxed);
    if (next != unknownCell) return next;
    next = Step(row, first);
    if (next == fullCell) return next;
    if (next != deadCell && RowOf(next)->kind != RegExRow::Kind::Rest) next = Step(*RowOf(next), second);
    if (next == fullCell) return next;
    // What ends the match is found one by one.
    if (next == deadCell || RowOf(next)->kind == RegExRow::Kind::Rest) next = singleCell;
    cell.store(next, std::memory_order_release);
    return next;
}

RegExCell RegExRows::StepRun(RegExRow const & row) {
    RegExCell next = row.afterRun.load(std::memory_order_relaxed);
    if (next != unknownCell) return next;
    next = row.kind == RegExRow::Kind::Run ? StepAll(row) : StepEach(row);
    if (next != fullCell) row.afterRun.store(next, std::memory_order_release);
    return next;
}

RegExCell RegExRows::StepAll(RegExRow const & row) {
    std::uint32_t node = row.nodes.front();
    for (std::uint32_t i = 0; i < row.runLength; ++i) node = nfa_.OnlyEdge(node)->target;
    found_.Clear();
    found_.Add(node);
    return FindOrMakeClosed();
}

RegExCell RegExRows::StepEach(RegExRow const & row) {
    RegExCell next = CellOf(row);
    for (std::uint32_t i = 0; i < row.runLength && next != fullCell; ++i)
        next = Step(*RowOf(next), units_.ClassOf(row.run->low[i]));
    return next;
}

RegExCell RegExRows::Adopt(RegExRow const & row) {
    Take(row);
    RegExCell const cell = FindOrMake();
    if (cell != fullCell) return cell;
    Clear();
    return FindOrMake();
}

RegExCell RegExRows::Restart(RegExRow const & row) {
    Take(row);
    Clear();
    return FindOrMake();
}

RegExLoop const & RegExRows::LoopOf(RegExRow const & row) {
    static constexpr RegExLoop noLoop;
    if (RegExLoop const * const known = row.loop.load(std::memory_order_relaxed)) return *known;
    std::size_t edges = 0;
    for (std::uint32_t const node : row.nodes) nfa_.ForEachEdge(node, [&](auto const &) { ++edges; });
    if (edges * units_.GetCount() > mostLoopTries) {
        row.loop.store(&noLoop, std::memory_order_release);
        return noLoop;
    }
    RegExLoop loop;
    std::vector<bool> stays(units_.GetCount());
    for (std::uint32_t i = 1; i < units_.GetCount(); ++i) {
        Move(row.nodes, i);
        Reduce();
        stays[i] = accepts_ == row.accepts && std::ranges::equal(nodes_, row.nodes);
    }
    char16_t last = 0;
    for (RegExUnits::Interval const & interval : units_.GetIntervals()) {
        if (!stays[interval.unitClass]) continue;
        if (loop.count != 0 && interval.low == last + 1) {
            loop.span[loop.count - 1] = static_cast<char16_t>(interval.high - loop.low[loop.count - 1]);
        } else if (loop.count < loop.low.size()) {
            loop.low[loop.count] = interval.low;
            loop.span[loop.count] = static_cast<char16_t>(interval.high - interval.low);
            ++loop.count;
        } else {
            loop.count = 0;
            break;
        }
        last = interval.high;
    }
    RegExLoop const * made = &noLoop;
    if (loop.count != 0) {
        std::fill(loop.low.begin() + loop.count, loop.low.end(), loop.low[0]);
        std::fill(loop.span.begin() + loop.count, loop.span.end(), loop.span[0]);
        made = new (arena_.Take(sizeof loop)) RegExLoop(loop);
    }
    row.loop.store(made, std::memory_order_release);
    return *made;
}

void RegExRows::Take(RegExRow const & row) {
    nodes_.assign(row.nodes.begin(), row.nodes.end());
    accepts_ = row.accepts;
    isDecided_ = row.isDecided;
}

void RegExRows::Clear() noexcept {
    arena_.Clear();
    rows_.clear();
    rowOfNodes_.Clear();
}

void RegExRows::Move(std::span<std::uint32_t const> nodes, std::uint32_t unitClass) {
    found_.Clear();
    for (std::uint32_t const node : nodes)
        nfa_.ForEachEdge(node, [&](RegExNFA::Edge const & edge) {
            if (edge.set != none && units_.IsIn(unitClass, edge.set)) found_.Add(edge.target);
        });
}

// Makes nodes_, accepts_ and isDecided_ of found_.
void RegExRows::Reduce() {
    found_.Close(nfa_);
    accepts_ = found_.Has(RegExNFA::exit);
    isDecided_ = false;
    nodes_.clear();
    std::uint32_t rank = none;
    for (std::uint32_t const node : found_.GetList()) {
        if (!HasUnits(node)) continue;
        nodes_.push_back(node);
        rank = std::min(rank, nfa_.nodes[node].rank);
    }
    if (accepts_) {
        auto const rest =
            std::ranges::find_if(nodes_, [this](std::uint32_t node) { return IsLoopToExit(node); });
        if (rest != nodes_.end()) {
            isDecided_ = nodes_.size() == 1 && *rest == nfa_.lastLoop;
            nodes_.assign(1, std::uint32_t{*rest});
            return;
        }
    }
    std::erase_if(nodes_, [&](std::uint32_t node) { return nfa_.nodes[node].rank > rank; });
    std::ranges::sort(nodes_);
}

RegExCell RegExRows::FindOrMakeClosed() {
    Reduce();
    return FindOrMake();
}

RegExCell RegExRows::FindOrMake() {
    if (nodes_.empty() && !accepts_) return deadCell;
    std::size_t hash = (accepts_ ? 2U : 0U) + (isDecided_ ? 1U : 0U);
    for (std::uint32_t const node : nodes_) hash = AddToHash(hash, node);
    std::uint32_t const found = rowOfNodes_.Find(hash, [this](std::uint32_t i) {
        RegExRow const & row = *rows_[i];
        return row.accepts == accepts_ && row.isDecided == isDecided_ &&
               std::ranges::equal(row.nodes, nodes_);
    });
    return found != none ? CellOf(*rows_[found]) : Make(hash);
}

RegExCell RegExRows::Make(std::size_t hash) {
    std::size_t const count = units_.GetCount();
    std::size_t const cellCount = hasPairs_ ? count + count * count : count;
    std::size_t const bytes = sizeof(RegExRow) + sizeof(std::uint32_t) * nodes_.size() +
                              sizeof(RegExCell) * cellCount + sizeof(RegExRun) +
                              2 * mostInRun * sizeof(char16_t) + 64; // for entries of the lists
    if (!rows_.empty() && arena_.GetUsed() + bytes > mostBytes_) return fullCell;
    if (rows_.empty()) FillPairs();
    if (rows_.size() == rows_.capacity()) rows_.reserve(rows_.size() * 2 + 16);
    bool const isRest = accepts_ && nodes_.size() == 1 && IsLoopToExit(nodes_.front());
    auto * const row =
        new (arena_.Take(sizeof(RegExRow) + (isRest ? 0 : cellCount * sizeof(RegExCell)))) RegExRow;
    auto * const nodes = arena_.TakeArray<std::uint32_t>(nodes_.size());
    std::ranges::copy(nodes_, nodes);
    row->nodes = {nodes, nodes_.size()};
    row->accepts = accepts_;
    row->isDecided = isDecided_;
    if (isRest) {
        row->kind = RegExRow::Kind::Rest;
    } else {
        MakeCells(*row);
        AddRun(*row);
    }
    rowOfNodes_.Add(hash, static_cast<std::uint32_t>(rows_.size()));
    rows_.push_back(row);
    return CellOf(*row);
}

void RegExRows::FillPairs() {
    for (char16_t unit = 0; hasPairs_ && unit < 256; ++unit)
        pairs_[unit] = static_cast<std::uint16_t>(PairOf(units_.ClassOfLow(unit), 0));
}

void RegExRows::MakeCells(RegExRow const & row) {
    // The cells for one unit, then for each class those for two units of which the first is in that class.
    std::size_t const lists = hasPairs_ ? units_.GetCount() + 1 : 1;
    std::size_t cell = 0;
    for (std::size_t list = 0; list < lists; ++list)
        for (std::size_t second = 0; second < units_.GetCount(); ++second) {
            bool const isOdd = second == RegExUnits::odd || list == RegExUnits::odd + 1;
            new (&row.At(cell++)) std::atomic<RegExCell>(isOdd ? singleCell : unknownCell);
        }
}

bool RegExRows::HasUnits(std::uint32_t node) const {
    for (std::uint32_t i = nfa_.nodes[node].firstEdge; i != none; i = nfa_.edges[i].next)
        if (nfa_.edges[i].set != none) return true;
    return false;
}

bool RegExRows::IsLoopOverAny(std::uint32_t node) const {
    bool loops = false;
    nfa_.ForEachEdge(node, [&](RegExNFA::Edge const & edge) {
        loops |= edge.target == node && edge.set != none && sets_.IsAny(edge.set);
    });
    return loops;
}

bool RegExRows::IsLoopToExit(std::uint32_t node) const {
    bool ends = false;
    nfa_.ForEachEdge(node, [&](RegExNFA::Edge const & edge) {
        ends |= edge.target == RegExNFA::exit && edge.set == none;
    });
    return ends && IsLoopOverAny(node);
}

// Finds what makes a row a Run or a Search.
void RegExRows::AddRun(RegExRow & row) {
    if (row.nodes.size() == 1 && MakeRun(row, row.nodes.front(), leastRun, false))
        row.kind = RegExRow::Kind::Run;
    if (row.nodes.size() != 2 || row.accepts) return;
    bool const isFirst = IsLoopOverAny(row.nodes[0]);
    if (!isFirst && !IsLoopOverAny(row.nodes[1])) return;
    // Only a loop that leads to nothing but the run can be left aside.
    found_.Clear();
    found_.Add(row.nodes[isFirst ? 0 : 1]);
    found_.Close(nfa_);
    if (found_.Has(row.nodes[isFirst ? 1 : 0]) && MakeRun(row, row.nodes[isFirst ? 1 : 0], 1, true))
        row.kind = RegExRow::Kind::Search;
}

// Gathers the units that must follow a node. Returns false if they are fewer than `least`.
bool RegExRows::MakeRun(RegExRow & row, std::uint32_t node, std::size_t least, bool onlySingle) {
    std::array<char16_t, mostInRun> low;
    std::array<char16_t, mostInRun> span;
    std::uint32_t count = 0;
    for (; count < mostInRun; ++count) {
        RegExNFA::Edge const * const edge = nfa_.OnlyEdge(node);
        if (!edge || edge->set == none) break;
        KZUWCharSet const & set = sets_[edge->set];
        if (set.GetEnd() - set.GetBegin() != 1) break;
        // Unit 0 ends a text.
        char16_t const first = std::max<char16_t>(set.GetBegin()->low, 1);
        if (first >= set.GetBegin()->high) break;
        auto const more = static_cast<char16_t>(set.GetBegin()->high - 1 - first);
        if (onlySingle && (more != 0 || RegExUnits::IsOdd(first))) break;
        low[count] = first;
        span[count] = more;
        node = edge->target;
    }
    if (count < least) return false;
    auto * const units = arena_.TakeArray<char16_t>(2 * std::size_t{count});
    std::copy_n(low.begin(), count, units);
    std::copy_n(span.begin(), count, units + count);
    auto * const run = new (arena_.Take(sizeof(RegExRun))) RegExRun{units, units + count, {}};
    if (onlySingle) run->finder.emplace(units, count);
    row.run = run;
    row.runLength = count;
    return true;
}

} // namespace KZDetail
