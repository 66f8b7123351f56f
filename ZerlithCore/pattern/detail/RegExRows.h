// The states of a pattern as the matcher needs them: each is a row of cells, one for each class of units, that lead to
// the next row. Rows are made when a text first needs them, so a pattern with a million states costs nothing until a
// text asks for them.
#pragma once

#include "ZerlithCore/pattern/detail/RegExNFA.h"
#include "ZerlithCore/pattern/detail/RegExUnits.h"
#include "ZerlithCore/text/detail/KZUnitScan.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace KZDetail {

struct RegExRow;

// The content of a cell is the address of a row. The lowest bit is set where the matcher can't simply go on: for a row
// that isn't plain, and for the values below.
using RegExCell = std::uintptr_t;
inline constexpr RegExCell needsLook = 1;
inline constexpr RegExCell unknownCell = 1; // no row has been made yet
inline constexpr RegExCell deadCell = 3;    // no match is possible any more
inline constexpr RegExCell singleCell = 5;  // in a cell for two units: take them one by one
inline constexpr RegExCell fullCell = 7;    // a result only: there is no room for one more row

inline RegExRow const * RowOf(RegExCell cell) noexcept {
    return reinterpret_cast<RegExRow const *>(cell & ~needsLook);
}

// Up to four ranges of units that lead a row to itself.
struct RegExLoop {
    std::uint32_t count = 0;
    std::array<char16_t, 4> low{};
    std::array<char16_t, 4> span{}; // last unit minus the first
};

// Units that must follow, each out of one range.
struct RegExRun {
    char16_t const * low = nullptr;
    char16_t const * span = nullptr; // last unit minus the first
    std::optional<KZUnitScan::Finder> finder;
};

// The cells follow the row in memory, which saves a load for each unit: one for each class and then, where rows have
// pairs, one for each pair of classes.
struct alignas(16) RegExRow {
    enum class Kind : std::uint8_t {
        Plain,
        Run, // the units of `run` must follow
        Search, // ".*" before `run`, which has no ranges: only the first place of these units in the text matters
        Rest, // accepts whatever follows, if it has no odd units
    };

    Kind kind = Kind::Plain;
    bool accepts = false;
    bool isDecided = false; // of a Rest: one more unit that isn't odd, and the odd ones are accepted, too
    std::uint32_t runLength = 0;
    RegExRun const * run = nullptr;
    mutable std::atomic<RegExCell> afterRun = unknownCell;
    mutable std::atomic<RegExLoop const *> loop = nullptr;
    std::span<std::uint32_t const> nodes;

    [[nodiscard]] std::atomic<RegExCell> & At(std::size_t cell) const noexcept {
        auto * const row = const_cast<RegExRow *>(this);
        return reinterpret_cast<std::atomic<RegExCell> *>(row + 1)[cell];
    }
};

// Memory in blocks that are freed all at once.
class RegExArena {
public:
    // Errors: std::bad_alloc.
    void * Take(std::size_t bytes);
    template <class T>
    T * TakeArray(std::size_t count) {
        return static_cast<T *>(Take(count * sizeof(T)));
    }
    [[nodiscard]] std::size_t GetUsed() const noexcept { return used_; }
    void Clear() noexcept;

private:
    std::vector<std::unique_ptr<std::byte[]>> blocks_;
    std::byte * free_ = nullptr;
    std::size_t left_ = 0;
    std::size_t used_ = 0;
};

// A set of nodes that is being made. Adding and looking take one step.
class RegExNodes {
public:
    explicit RegExNodes(std::size_t nodeCount)
        : nodeCount_(nodeCount), memory_(std::make_unique<std::uint32_t[]>(2 * nodeCount)) {}

    void Clear() noexcept;
    void Add(std::uint32_t node) noexcept {
        if (Has(node)) return;
        memory_[node] = mark_;
        memory_[nodeCount_ + count_++] = node;
    }
    [[nodiscard]] bool Has(std::uint32_t node) const noexcept { return memory_[node] == mark_; }
    // Adds what can be reached without a unit.
    void Close(RegExNFA const & nfa) noexcept;
    [[nodiscard]] std::span<std::uint32_t const> GetList() const noexcept {
        return {&memory_[nodeCount_], count_};
    }
    bool operator==(RegExNodes const & other) const noexcept;

private:
    std::size_t nodeCount_;
    std::unique_ptr<std::uint32_t[]> memory_; // the mark of each node, then the list
    std::size_t count_ = 0;
    std::uint32_t mark_ = 1;
};

// The rows made so far. Functions that make rows need a lock; cells may be read at the same time. They return
// `fullCell` when the rows would take more than the limit, and throw std::bad_alloc.
class RegExRows {
public:
    // Keeps references.
    RegExRows(RegExNFA const & nfa, RegExSets const & sets, RegExUnits const & units, std::size_t mostBytes);

    RegExCell Start();
    // Where a unit, or two, of these classes lead from `row`; stored in its cell. Requires: not the odd class.
    RegExCell Step(RegExRow const & row, std::uint32_t unitClass);
    RegExCell StepTwice(RegExRow const & row, std::uint32_t first, std::uint32_t second);
    // Where the units of the run of `row` lead; stored in the run.
    RegExCell StepRun(RegExRow const & row);
    // The row of these rows that equals `row` of others. `Restart` drops all rows and makes one that equals `row`, which
    // may be one of them.
    RegExCell Adopt(RegExRow const & row);
    RegExCell Restart(RegExRow const & row);
    [[nodiscard]] RegExLoop const & LoopOf(RegExRow const & row);

    // True when rows have cells for two units.
    [[nodiscard]] bool HasPairs() const noexcept { return hasPairs_; }
    // The cell for two units, by their classes, or by units below 256; that only when there is a row.
    [[nodiscard]] std::size_t PairOf(std::uint32_t first, std::uint32_t second) const noexcept {
        return std::size_t{first + 1} * units_.GetCount() + second;
    }
    [[nodiscard]] std::size_t PairOf(RegExUnits const & units, char16_t first,
                                     char16_t second) const noexcept {
        return std::size_t{pairs_[first]} + units.ClassOfLow(second);
    }

private:
    void Take(RegExRow const & row);
    void Clear() noexcept;
    RegExCell StepAll(RegExRow const & row);
    RegExCell StepEach(RegExRow const & row);
    void Move(std::span<std::uint32_t const> nodes, std::uint32_t unitClass);
    void Reduce();
    RegExCell FindOrMakeClosed();
    RegExCell FindOrMake();
    RegExCell Make(std::size_t hash);
    [[nodiscard]] bool HasUnits(std::uint32_t node) const;
    [[nodiscard]] bool IsLoopOverAny(std::uint32_t node) const;
    [[nodiscard]] bool IsLoopToExit(std::uint32_t node) const;
    void FillPairs();
    void MakeCells(RegExRow const & row);
    void AddRun(RegExRow & row);
    bool MakeRun(RegExRow & row, std::uint32_t node, std::size_t least, bool onlySingle);
    static RegExCell CellOf(RegExRow const & row) noexcept {
        return reinterpret_cast<RegExCell>(&row) | (row.kind != RegExRow::Kind::Plain ? needsLook : 0);
    }

    RegExNFA const & nfa_;
    RegExSets const & sets_;
    RegExUnits const & units_;
    std::size_t mostBytes_;
    bool hasPairs_;
    std::array<std::uint16_t, 256> pairs_; // by the first unit, where its cells for two units begin
    RegExArena arena_;
    std::vector<RegExRow const *> rows_;
    IndexTable rowOfNodes_;
    // The state that is being looked for: nodes that have edges with units, in order.
    RegExNodes found_;
    std::vector<std::uint32_t> nodes_;
    bool accepts_ = false;
    bool isDecided_ = false;
};

} // namespace KZDetail
