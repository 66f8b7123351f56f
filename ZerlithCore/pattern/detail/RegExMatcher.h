// Matches texts against a pattern, by rows that are made as the texts need them.
#pragma once

#include "ZerlithCore/pattern/detail/RegExRows.h"
#include "ZerlithCore/text/KZCollator.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>

namespace KZDetail {

// The units of texts are replaced by their weights in a collating table, of which at most one isn't null.
struct RegExTranslation {
    KZCollatingTable<char> const * narrow;
    KZCollatingTable<unsigned short> const * wide;

    char16_t operator()(char16_t unit) const noexcept {
        if (!narrow) return static_cast<char16_t>(wide->GetWeight(unit));
        return unit < 257 ? static_cast<char16_t>(narrow->GetWeight(static_cast<unsigned char>(unit))) : unit;
    }
};

// Rows are shared by all threads: they are read without a lock, made under one, and stay. Once they take their share of
// memory, a match that needs more borrows rows of its own, which are dropped whenever they are full. Where even these
// can't be had, the match goes from node to node in memory that is there from the start. So a match always has a result.
//
// A text ends at its first 0. Matches throw nothing; any number of threads may match at the same time.
class RegExMatcher {
public:
    // Keeps pointers into the tree; null matches nothing. Errors: std::bad_alloc, also as a PatternTooLarge.
    explicit RegExMatcher(KZRegExSyntaxNode const * root);
    RegExMatcher(RegExMatcher const &) = delete;
    RegExMatcher & operator=(RegExMatcher const &) = delete;

    [[nodiscard]] bool Match(std::u16string_view text) const noexcept;
    [[nodiscard]] bool Match(std::u16string_view text, RegExTranslation const & translation) const noexcept;

private:
    struct Identity {
        char16_t operator()(char16_t unit) const noexcept { return unit; }
    };
    enum class Verdict { No, Yes, Open, Again };
    // What must stand at the end of a text: the items after the last ".*" of the outermost sequence.
    struct Tail {
        Tail(std::span<KZRegExSyntaxNode const * const> items, RegExSets & sets)
            : nfa(BuildBackwardNFA(items, sets)) {}

        RegExNFA nfa;
        std::optional<RegExRows> rows;
        std::atomic<RegExCell> start = unknownCell;
        bool isAll = false; // nothing comes before the ".*"
    };
    class RowsInUse;
    template <class Translate>
    class Walk;

    void FindEnd(KZRegExSyntaxNode const & root);
    [[nodiscard]] RegExNFA const & ExactNFA() const noexcept { return exact_.nodes.empty() ? nfa_ : exact_; }
    [[nodiscard]] bool HasEnd() const noexcept { return tail_ || lastSet_ != none; }
    [[nodiscard]] Verdict LookAtEnd(std::u16string_view text) const noexcept;
    [[nodiscard]] Verdict LookAtTail(std::u16string_view text) const noexcept;
    template <class Make>
    [[nodiscard]] RegExCell MakeTail(Make make) const noexcept;
    template <class Translate>
    [[nodiscard]] bool Go(std::u16string_view text, Translate translate) const noexcept;
    template <class Translate>
    [[nodiscard]] bool Simulate(std::u16string_view text, Translate translate) const noexcept;
    [[nodiscard]] bool AcceptsEverything() const noexcept;
    void Move(RegExNodes const & from, char16_t unit, RegExNodes & to) const noexcept;

    RegExSets sets_;
    RegExNFA nfa_;
    RegExUnits units_;
    RegExNFA exact_; // with branches apart; empty if it would be the same, or isn't needed
    std::unique_ptr<Tail> tail_;
    std::uint32_t lastSet_ = none; // where a match ends with a unit of this set, and there is no tail
    mutable std::mutex lock_;      // for all below
    mutable RegExRows rows_;
    mutable std::atomic<RegExCell> start_ = unknownCell;
    mutable std::unique_ptr<RegExRows> spare_; // one to borrow
    mutable RegExNodes now_;
    mutable RegExNodes next_;
    mutable RegExNodes tried_;
};

} // namespace KZDetail
