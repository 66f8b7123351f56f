// What makes matching fast, in the order in which it is tried:
//
// The end of a text is looked at first if the pattern says what stands there, such as ".txt" after ".*".
// A row that is searched for, ".*timeout", is left by the string's vector search.
// A row from which several units must follow, "timeout" or "[0-9]{4}-[0-9]{2}", compares them as blocks.
// A row that has led to itself for some units is left by a vector scan for a unit outside of its ranges.
// All others take two units a step where the classes are few.
//
// U+FFFE and U+FFFF are no characters, and what they do depends on how the states of a pattern are made: a match ends
// early in a state that leads to itself with every unit and accepts. Rows are fewer than these states, so the few texts
// with such units are matched again from node to node.
#include "ZerlithCore/pattern/detail/RegExMatcher.h"

#include "ZerlithCore/pattern/detail/RegExBlocks.h"

#include <algorithm>
#include <type_traits>

namespace KZDetail {
namespace {

constexpr std::size_t mostSharedBytes = 4'000'000;
constexpr std::size_t mostOwnBytes = 2'000'000;
constexpr std::size_t mostTailBytes = 200'000;

// When a row has led to itself this often, and some units are left, a vector scan is tried. One that gains little isn't
// tried again so soon.
constexpr std::uint32_t leastPatience = 4;
constexpr std::uint32_t mostPatience = 1024;
constexpr std::size_t worthwhile = 16;

// True for a repeat without an end among the items, or in them.
bool HasRepeatsWithoutEnd(std::span<KZRegExSyntaxNode const * const> items) {
    constexpr std::size_t mostNodes = 256; // a longer end isn't looked at first
    std::vector<KZRegExSyntaxNode const *> pending(items.begin(), items.end());
    for (std::size_t i = 0; i < pending.size(); ++i) {
        KZRegExSyntaxNode const & node = *pending[i];
        if (pending.size() > mostNodes) return true;
        if (node.GetType() == KZRegExSyntaxNode::Repeat &&
            static_cast<KZRegExSyntaxNodeRepeat const &>(node).GetMaximum() ==
                KZRegExSyntaxNodeRepeat::Unbounded)
            return true;
        for (auto const * const child : {&node.GetLeftChild(), &node.GetRightChild()})
            if (!child->IsNull()) pending.push_back(&**child);
    }
    return false;
}

struct Place {
    RegExRow const * row;
    char16_t const * unit;
    RegExCell cell; // what has ended the steps; 0 if nothing has
    bool stays;     // the row has led to itself for some units
};

// A match on its way. In functions of their own its loops keep everything in registers.
class Steps {
public:
    Steps(RegExRow const * row, char16_t const * unit, char16_t const * end, std::uint32_t patience) noexcept
        : row_(row), unit_(unit), end_(end), patience_(patience) {}

    // Both go on as long as nothing needs a look and no row leads to itself all the time.
    [[nodiscard]] Place GoByPairs(RegExRows const & rows, RegExUnits const & units) noexcept {
        while (end_ - unit_ >= 8 && AreLow(unit_)) {
            for (std::size_t i = 0; i < 8; i += 2)
                if (RegExCell const cell = Go(rows.PairOf(units, unit_[i], unit_[i + 1])))
                    return {row_, unit_ + i, cell, false};
            unit_ += 8;
            if (stayed_ >= patience_) return {row_, unit_, 0, true};
        }
        for (; end_ - unit_ >= 2; unit_ += 2) {
            if (stayed_ >= patience_) return {row_, unit_, 0, true};
            if (RegExCell const cell = Go(rows.PairOf(units.ClassOf(unit_[0]), units.ClassOf(unit_[1]))))
                return {row_, unit_, cell, false};
        }
        return {row_, unit_, 0, false};
    }

    // With many classes, as those of long lists of words, rows change too irregularly to be foreseen.
    [[nodiscard]] Place GoByUnits(RegExUnits const & units) noexcept {
        while (unit_ != end_ && stayed_ < 2 * patience_) {
            RegExCell const next = row_->At(units.ClassOf(*unit_)).load(std::memory_order_acquire);
            if (next & needsLook) return {row_, unit_, 0, false};
            stayed_ = (stayed_ + 1) * static_cast<std::uint32_t>(RowOf(next) == row_);
            row_ = reinterpret_cast<RegExRow const *>(next);
            ++unit_;
        }
        return {row_, unit_, 0, unit_ != end_};
    }

private:
    // A row that leads to itself is kept in a branch: the processor foresees it, and doesn't wait for the cell.
    // Returns a cell that needs a look, otherwise 0.
    RegExCell Go(std::size_t cell) noexcept {
        RegExCell const next = row_->At(cell).load(std::memory_order_acquire);
        if (next & needsLook) return next;
        if (RowOf(next) == row_) {
            ++stayed_;
        } else {
            row_ = reinterpret_cast<RegExRow const *>(next);
            stayed_ = 0;
        }
        return 0;
    }

    RegExRow const * row_;
    char16_t const * unit_;
    char16_t const * const end_;
    std::uint32_t const patience_;
    std::uint32_t stayed_ = 0;
};

} // namespace

// The rows that a match uses: the shared ones, and from the moment when these are full, borrowed ones.
class RegExMatcher::RowsInUse {
public:
    explicit RowsInUse(RegExMatcher const & matcher) noexcept : matcher_(matcher) {}
    RowsInUse(RowsInUse const &) = delete;
    RowsInUse & operator=(RowsInUse const &) = delete;
    ~RowsInUse() {
        if (!own_) return;
        std::lock_guard const lock(matcher_.lock_);
        if (!matcher_.spare_) matcher_.spare_ = std::move(own_);
    }

    RegExCell Start() noexcept {
        RegExCell cell = matcher_.start_.load(std::memory_order_acquire);
        if (cell != unknownCell) return cell;
        try {
            std::lock_guard const lock(matcher_.lock_);
            cell = matcher_.rows_.Start();
            matcher_.start_.store(cell, std::memory_order_release);
        } catch (std::bad_alloc const &) {
            return fullCell;
        }
        return cell;
    }

    // A cell, and the row that has it: another one than before when rows were borrowed or dropped.
    struct Made {
        RegExRow const * row;
        RegExCell cell;
    };

    // Returns `step(rows, row)`, or `fullCell` if there is no memory. The match must go on from the row in the result.
    template <class Step>
    Made Make(RegExRow const & row, Step step) noexcept {
        try {
            return own_ ? MakeOwn(row, step) : MakeShared(row, step);
        } catch (std::bad_alloc const &) {
            return {nullptr, fullCell};
        }
    }

    // The loop of `row`; null if there is no memory.
    RegExLoop const * LoopOf(RegExRow const & row) noexcept {
        if (RegExLoop const * const known = row.loop.load(std::memory_order_acquire)) return known;
        try {
            if (own_) return &own_->LoopOf(row);
            std::lock_guard const lock(matcher_.lock_);
            return &matcher_.rows_.LoopOf(row);
        } catch (std::bad_alloc const &) {
            return nullptr;
        }
    }

private:
    template <class Step>
    Made MakeShared(RegExRow const & row, Step step) {
        {
            std::lock_guard const lock(matcher_.lock_);
            RegExCell const cell = step(matcher_.rows_, row);
            if (cell != fullCell) return {&row, cell};
            own_ = std::move(matcher_.spare_);
        }
        if (!own_)
            own_ = std::make_unique<RegExRows>(matcher_.nfa_, matcher_.sets_, matcher_.units_, mostOwnBytes);
        return MakeOwn(*RowOf(own_->Adopt(row)), step);
    }

    template <class Step>
    Made MakeOwn(RegExRow const & row, Step step) {
        RegExCell const cell = step(*own_, row);
        if (cell != fullCell) return {&row, cell};
        RegExRow const & same = *RowOf(own_->Restart(row));
        return {&same, step(*own_, same)};
    }

    RegExMatcher const & matcher_;
    std::unique_ptr<RegExRows> own_;
};

// One match from row to row. `Translate` gives what counts in place of a unit; only where that is the unit itself can
// units be looked at in blocks. All functions are inlined, so that everything stays in registers: of a short match this
// is a fifth.
template <class Translate>
class RegExMatcher::Walk {
public:
    Walk(RegExMatcher const & matcher, RowsInUse & rows, std::u16string_view text,
         Translate translate) noexcept
        : matcher_(matcher)
        , rows_(rows)
        , translate_(translate)
        , begin_(text.data())
        , end_(begin_ + text.size()) {}

    // Returns `Again` when the text must be matched from node to node.
    [[gnu::always_inline]] Verdict Run() noexcept {
        Position at{begin_, rows_.Start()};
        Verdict verdict = Verdict::Open;
        while (verdict == Verdict::Open) verdict = PassRow(at);
        return verdict;
    }

private:
    static constexpr bool isPlain = std::is_same_v<Translate, Identity>;

    struct Position {
        char16_t const * unit;
        RegExCell cell;
        RegExRow const * row = nullptr;
        std::uint32_t patience = leastPatience;
    };

    // These go on from the row, and store the cell that follows unless the match is decided.
    [[gnu::always_inline]] Verdict PassRow(Position & at) noexcept {
        if (at.cell == deadCell) return Verdict::No;
        if (at.cell == fullCell) return Verdict::Again;
        at.row = RowOf(at.cell);
        if (at.row->kind == RegExRow::Kind::Rest) return PassRest(*at.row, at.unit);
        if constexpr (isPlain) {
            if (at.row->kind == RegExRow::Kind::Run) return PassRun(at);
            if (at.row->kind == RegExRow::Kind::Search) return PassSearch(at);
            if (PassMany(at)) return Verdict::Open;
        }
        return PassUnit(at);
    }

    [[gnu::always_inline]] Verdict PassRun(Position & at) noexcept {
        RegExRow const & row = *at.row;
        if (at.unit == end_ || *at.unit == 0) return row.accepts ? Verdict::Yes : Verdict::No;
        if (LeftAt(at.unit) < row.runLength || !Follows(*row.run, row.runLength, at.unit)) return Verdict::No;
        GoBehindRun(at);
        return Verdict::Open;
    }

    [[gnu::always_inline]] Verdict PassSearch(Position & at) noexcept {
        std::size_t const found = (*at.row->run->finder)(at.unit, LeftAt(at.unit));
        if (found == LeftAt(at.unit)) return Verdict::No;
        std::size_t const odd = FindOdd(at.unit, found);
        if (odd != found) return at.unit[odd] != 0 ? Verdict::Again : Verdict::No;
        at.unit += found;
        GoBehindRun(at);
        return Verdict::Open;
    }

    [[gnu::always_inline]] void GoBehindRun(Position & at) noexcept {
        at.unit += at.row->runLength;
        at.cell = at.row->afterRun.load(std::memory_order_acquire);
        if (at.cell == unknownCell)
            Make(at, [](RegExRows & rows, RegExRow const & row) { return rows.StepRun(row); });
    }

    // Goes as far as nothing needs a look. Returns false when one unit must be passed next.
    [[gnu::always_inline]] bool PassMany(Position & at) noexcept {
        Steps steps(at.row, at.unit, end_, at.patience);
        Place const place = matcher_.rows_.HasPairs() ? steps.GoByPairs(matcher_.rows_, matcher_.units_)
                                                      : steps.GoByUnits(matcher_.units_);
        at.row = place.row;
        at.unit = place.unit;
        at.cell = place.cell;
        if (place.stays) {
            SkipLoop(at);
            return true;
        }
        if (at.cell == unknownCell) MakePair(at);
        if (at.cell == 0 || at.cell == singleCell) return false;
        at.unit += 2;
        return true;
    }

    [[gnu::always_inline]] void SkipLoop(Position & at) noexcept {
        RegExLoop const * const loop = LeftAt(at.unit) >= worthwhile ? rows_.LoopOf(*at.row) : nullptr;
        char16_t const * const behind = loop ? Skip(*loop, at.unit, end_) : at.unit;
        bool const isGain = behind - at.unit >= static_cast<std::ptrdiff_t>(2 * worthwhile);
        at.patience = isGain ? leastPatience : std::min(2 * at.patience, mostPatience);
        at.unit = behind;
        at.cell = reinterpret_cast<RegExCell>(at.row);
    }

    [[gnu::always_inline]] Verdict PassUnit(Position & at) noexcept {
        RegExRow const & row = *at.row;
        if (at.unit == end_ || *at.unit == 0) return row.accepts ? Verdict::Yes : Verdict::No;
        std::uint32_t const unitClass = matcher_.units_.ClassOf(translate_(*at.unit));
        if (unitClass == RegExUnits::odd)
            return row.accepts || translate_(*at.unit) != 0xFFFF ? Verdict::Again : Verdict::No;
        ++at.unit;
        at.cell = row.At(unitClass).load(std::memory_order_acquire);
        if (at.cell == unknownCell)
            Make(at,
                 [unitClass](RegExRows & rows, RegExRow const & from) { return rows.Step(from, unitClass); });
        return Verdict::Open;
    }

    [[gnu::always_inline]] Verdict PassRest(RegExRow const & row, char16_t const * unit) const noexcept {
        for (;; ++unit) {
            if constexpr (isPlain)
                if (!row.isDecided) unit += FindOdd(unit, LeftAt(unit));
            if (unit == end_ || *unit == 0) return Verdict::Yes;
            if (RegExUnits::IsOdd(translate_(*unit))) return Verdict::Again;
            if (row.isDecided) return Verdict::Yes;
        }
    }

    [[gnu::always_inline]] void MakePair(Position & at) noexcept {
        std::uint32_t const first = matcher_.units_.ClassOf(at.unit[0]);
        std::uint32_t const second = matcher_.units_.ClassOf(at.unit[1]);
        Make(at, [first, second](RegExRows & rows, RegExRow const & from) {
            return rows.StepTwice(from, first, second);
        });
    }

    template <class Step>
    [[gnu::always_inline]] void Make(Position & at, Step step) noexcept {
        auto const [row, cell] = rows_.Make(*at.row, step);
        at.row = row;
        at.cell = cell;
    }

    [[nodiscard]] std::size_t LeftAt(char16_t const * unit) const noexcept {
        return static_cast<std::size_t>(end_ - unit);
    }

    RegExMatcher const & matcher_;
    RowsInUse & rows_;
    Translate const translate_;
    char16_t const * const begin_;
    char16_t const * const end_;
};

template <class Translate>
bool RegExMatcher::Go(std::u16string_view text, Translate translate) const noexcept {
    RowsInUse rows(*this);
    Verdict const verdict = Walk<Translate>(*this, rows, text, translate).Run();
    return verdict == Verdict::Again ? Simulate(text, translate) : verdict == Verdict::Yes;
}

RegExMatcher::RegExMatcher(KZRegExSyntaxNode const * root)
    : nfa_(BuildNFA(root, sets_, Branches::Together))
    , units_(sets_)
    , exact_(nfa_.hasTrees && units_.AreAllUsed() ? BuildNFA(root, sets_, Branches::Apart) : RegExNFA())
    , rows_(nfa_, sets_, units_, mostSharedBytes)
    , now_(ExactNFA().nodes.size())
    , next_(ExactNFA().nodes.size())
    , tried_(ExactNFA().nodes.size()) {
    if (root) FindEnd(*root);
}

bool RegExMatcher::Match(std::u16string_view text) const noexcept {
    while (HasEnd()) {
        Verdict const verdict = LookAtEnd(text);
        if (verdict == Verdict::Open) break;
        std::size_t const odd = FindOdd(text.data(), text.size());
        if (odd == text.size()) return verdict == Verdict::Yes;
        if (text[odd] != 0) return Simulate(text, Identity());
        text = text.substr(0, odd);
    }
    return Go(text, Identity());
}

bool RegExMatcher::Match(std::u16string_view text, RegExTranslation const & translation) const noexcept {
    return Go(text, translation);
}

void RegExMatcher::FindEnd(KZRegExSyntaxNode const & root) {
    constexpr std::size_t mostTailNodes = 1000;
    auto const isSet = [](KZRegExSyntaxNode const * item) {
        return item->GetType() == KZRegExSyntaxNode::CharSet;
    };
    std::vector<KZRegExSyntaxNode const *> const items = ItemsOf(root);
    auto const loop =
        std::ranges::find_if(items.rbegin(), items.rend(), [](auto * item) { return IsAnyLoop(*item); });
    std::span<KZRegExSyntaxNode const * const> const behind(loop.base(), items.end());
    if (behind.empty()) return;
    if (loop == items.rend()) {
        if (isSet(items.back()) && !std::ranges::all_of(items, isSet))
            lastSet_ = sets_.Add(static_cast<KZRegExSyntaxNodeCharSet const &>(*items.back()));
        return;
    }
    if (HasRepeatsWithoutEnd(behind)) return;
    auto tail = std::make_unique<Tail>(behind, sets_);
    if (tail->nfa.nodes.size() > mostTailNodes) return;
    tail->rows.emplace(tail->nfa, sets_, units_, mostTailBytes);
    tail->isAll = behind.size() + 1 == items.size();
    tail_ = std::move(tail);
}

RegExMatcher::Verdict RegExMatcher::LookAtEnd(std::u16string_view text) const noexcept {
    if (tail_) return LookAtTail(text);
    if (text.empty()) return Verdict::No;
    std::uint32_t const last = units_.ClassOf(text.back());
    return last != RegExUnits::odd && units_.IsIn(last, lastSet_) ? Verdict::Open : Verdict::No;
}

RegExMatcher::Verdict RegExMatcher::LookAtTail(std::u16string_view text) const noexcept {
    RegExCell cell = tail_->start.load(std::memory_order_acquire);
    if (cell == unknownCell) {
        cell = MakeTail([](RegExRows & rows) { return rows.Start(); });
        if (cell == fullCell) return Verdict::Open;
        tail_->start.store(cell, std::memory_order_release);
    }
    for (;;) {
        if (cell == deadCell) return Verdict::No;
        if (cell == fullCell) return Verdict::Open;
        RegExRow const & row = *RowOf(cell);
        if (row.accepts) return tail_->isAll ? Verdict::Yes : Verdict::Open;
        if (text.empty()) return Verdict::No;
        std::uint32_t const unitClass = units_.ClassOf(text.back());
        if (unitClass == RegExUnits::odd) return Verdict::No;
        text.remove_suffix(1);
        cell = row.At(unitClass).load(std::memory_order_acquire);
        if (cell == unknownCell) cell = MakeTail([&](RegExRows & rows) { return rows.Step(row, unitClass); });
    }
}

template <class Make>
RegExCell RegExMatcher::MakeTail(Make make) const noexcept {
    try {
        std::lock_guard const lock(lock_);
        return make(*tail_->rows);
    } catch (std::bad_alloc const &) {
        return fullCell;
    }
}

// Goes from node to node, in memory that is there from the start.
template <class Translate>
bool RegExMatcher::Simulate(std::u16string_view text, Translate translate) const noexcept {
    std::lock_guard const lock(lock_);
    now_.Clear();
    now_.Add(RegExNFA::entry);
    now_.Close(ExactNFA());
    for (char16_t const raw : text) {
        if (raw == 0) break;
        char16_t const unit = translate(raw);
        if (unit >= 0xFFFE && AcceptsEverything()) return true;
        Move(now_, unit, next_);
        if (next_.GetList().empty()) return false;
        std::swap(now_, next_);
    }
    return now_.Has(RegExNFA::exit);
}

// True when the nodes of now_ are a state that accepts, and that each unit up to U+FFFD leads to itself.
bool RegExMatcher::AcceptsEverything() const noexcept {
    return now_.Has(RegExNFA::exit) && std::ranges::all_of(units_.GetSamples(), [this](char16_t unit) {
               Move(now_, unit, tried_);
               return tried_ == now_;
           });
}

void RegExMatcher::Move(RegExNodes const & from, char16_t unit, RegExNodes & to) const noexcept {
    RegExNFA const & nfa = ExactNFA();
    std::uint32_t const unitClass = units_.ClassOf(unit);
    to.Clear();
    for (std::uint32_t const node : from.GetList())
        nfa.ForEachEdge(node, [&](RegExNFA::Edge const & edge) {
            if (edge.set == none) return;
            bool const isIn = unitClass != RegExUnits::odd ? units_.IsIn(unitClass, edge.set)
                                                           : sets_[edge.set].IsInSet(unit);
            if (isIn) to.Add(edge.target);
        });
    to.Close(nfa);
}

} // namespace KZDetail
