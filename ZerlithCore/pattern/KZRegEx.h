/// @file
/// Regular expressions: a pattern compiled once, and texts matched against it in one pass.
///
///     KZRegEx const number(KZStringRegExParser(u"-?[0-9]+(\\.[0-9]+)?").Parse());
///     if (number.Match(text)) ...
///
/// docs/patterns.md has the syntax.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/pattern/KZRegExParser.h"
#include "ZerlithCore/text/KZCollator.h"
#include "ZerlithCore/text/KZString.h"

#include <memory>
#include <string_view>

namespace KZDetail {
struct RegExAutomaton;
}

/// A deterministic automaton for a pattern. A match is of the whole text; there is no search and there are no captures.
///
/// Construction costs what the pattern asks for: the automaton may have many states, as repeats and alternates multiply. What
/// would take more than some 64 MB, or more than about a second, throws std::bad_alloc. Both are reckoned from what is made,
/// not measured, so a pattern fails on every machine or on none. A pattern that didn't parse gives an automaton that matches
/// nothing.
///
/// A match allocates nothing, costs a few table look-ups a unit (a binary search where tables would be too large), and takes
/// linear time. U+FFFF belongs to no set, so no pattern passes it; but a match that nothing can change any more, as behind
/// the "a" of "a.*", ends there.
///
/// Copies share the automaton.
///
/// Thread safety: one object may match in any number of threads.
class KZ_EXPORT KZRegEx : public KZRefCount {
public:
    /// Compiles `parsed`, whose collating tables, if there are any, translate each unit of a text: the narrow one those
    /// below 257 by their lower byte, the wide one all, where there is no narrow one. With `debug` the nodes and states are
    /// written to the console.
    explicit KZRegEx(KZParsedRegEx const & parsed, bool debug = false);
    KZRegEx(KZRegEx const & other);
    KZRegEx & operator=(KZRegEx const & other);
    ~KZRegEx() override;

    /// True when the pattern matches all of `text` up to its first 0; null is the empty text.
    [[nodiscard]] bool Match(char16_t const * text) const;
    [[nodiscard]] bool Match(KZString const & text) const {
        return MatchUnits(static_cast<std::u16string_view>(text));
    }

    /// A prefix to narrow a search with: walks the states in the order they were made, adds the lowest unit of each that has
    /// just one range of units to go on with, passes over accepting ones, and ends at one with more. For "[a-c]x" that
    /// is "ax": callers rely on it.
    [[nodiscard]] KZString GetConstantStart() const;

private:
    [[nodiscard]] bool MatchUnits(std::u16string_view text) const;

    std::shared_ptr<KZDetail::RegExAutomaton const> automaton_;
    KZSmartPtr<KZCollatingTable<char>> collatingTable_;
    KZSmartPtr<KZCollatingTable<unsigned short>> wCollatingTable_;
};
