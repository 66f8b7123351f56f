/// @file
/// Regular expressions: a pattern compiled once, and texts matched against it in one pass.
///
///     KZRegEx const number(KZStringRegExParser(u"-?[0-9]+(\\.[0-9]+)?").Parse());
///     bool const isNumber = number.Match(u"-12.5");      // true
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

/// A pattern that texts are matched against. A match is of the whole text; there is no search and there are no captures.
///
/// Construction takes time and memory in proportion to the pattern, which counts multiply. A pattern with more than
/// 400,000 nodes, or one that would take too long at each unit, throws std::bad_alloc; docs/patterns.md tells more. A
/// pattern that didn't parse matches nothing.
///
/// A match takes linear time. It makes states as the text needs them, and keeps them for later matches, in 4 MB at most;
/// a match that needs more has 2 MB of its own until it ends, and one object keeps these for the next such match. A match
/// never fails, but is slow where there is no memory for states. U+FFFF is in no set, so a text with it matches no
/// pattern, with one exception: a match ends as soon as no further unit can change the result, so "a.*" matches an "a"
/// that U+FFFF follows.
///
/// Copies share the states.
///
/// Thread safety: one object may match in any number of threads.
class KZ_EXPORT KZRegEx : public KZRefCount {
public:
    /// Compiles `parsed`, and keeps its tree, which mustn't change any more. A collating table in it translates each
    /// unit of a text before it is matched: the table of 8 bits the units below 257, by their lower byte; the table of
    /// 16 bits all units, but only if there is none of 8 bits. With `debug` all nodes and states are written to the
    /// console. Errors: std::bad_alloc.
    explicit KZRegEx(KZParsedRegEx const & parsed, bool debug = false);
    KZRegEx(KZRegEx const & other);
    KZRegEx & operator=(KZRegEx const & other);
    ~KZRegEx() override;

    /// Returns true when the pattern matches the whole `text` up to its first 0; null is the empty text.
    [[nodiscard]] bool Match(char16_t const * text) const;
    [[nodiscard]] bool Match(KZString const & text) const {
        return MatchUnits(static_cast<std::u16string_view>(text));
    }

    /// A prefix with which callers narrow a search. The states are visited in the order in which they were made: an
    /// accepting state is skipped, a state that goes on with one range of units adds the lowest of these, and a state
    /// with several ranges ends the prefix. For "[a-c]x" the result is "ax": callers rely on it. Each call makes the
    /// states that tell the prefix, so keep the result. Errors: std::bad_alloc, also beyond 64 MB or a second of them.
    [[nodiscard]] KZString GetConstantStart() const;

private:
    [[nodiscard]] bool MatchUnits(std::u16string_view text) const;

    std::shared_ptr<KZDetail::RegExAutomaton const> automaton_;
    KZSmartPtr<KZCollatingTable<char>> collatingTable_;
    KZSmartPtr<KZCollatingTable<unsigned short>> wCollatingTable_;
};
