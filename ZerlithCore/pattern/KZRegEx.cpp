#include "ZerlithCore/pattern/KZRegEx.h"

#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/pattern/detail/RegExMatcher.h"
#include "ZerlithCore/text/detail/KZUnitScan.h"

#include <ostream>

namespace {

using KZDetail::RegExAutomaton;

std::shared_ptr<RegExAutomaton const> Compile(KZSmartPtr<KZRegExSyntaxNode> const & root, bool debug) {
    KZDetail::Budget budget;
    KZDetail::NFA nfa = KZDetail::BuildNFA(root, budget);
    if (debug) Dump(KZGetConsole(), nfa);
    std::vector<KZDetail::DFAState> states = KZDetail::BuildDFA(std::move(nfa), budget);
    if (debug) {
        Dump(KZGetConsole(), states);
        KZGetConsole().flush();
    }
    KZDetail::MatchTables tables(states, budget);
    return std::make_shared<RegExAutomaton const>(RegExAutomaton{std::move(states), std::move(tables)});
}

} // namespace

KZRegEx::KZRegEx(KZParsedRegEx const & parsed, bool debug)
    : automaton_(Compile(parsed.root, debug))
    , collatingTable_(parsed.collatingTable)
    , wCollatingTable_(parsed.wCollatingTable) {}

KZRegEx::KZRegEx(KZRegEx const & other) = default;

KZRegEx & KZRegEx::operator=(KZRegEx const & other) = default;

KZRegEx::~KZRegEx() = default;

bool KZRegEx::Match(char16_t const * text) const {
    return MatchUnits(text ? std::u16string_view(text, KZUnitScan::Length(text)) : std::u16string_view());
}

KZString KZRegEx::GetConstantStart() const {
    KZString start;
    for (KZDetail::DFAState const & state : automaton_->states) {
        if (state.isAccepting) continue;
        if (state.transitions.size() > 1) break;
        if (state.transitions.size() == 1) start += state.transitions.begin()->low;
    }
    return start;
}

bool KZRegEx::MatchUnits(std::u16string_view text) const {
    if (!collatingTable_.IsNull())
        return automaton_->Match(text, [&table = *collatingTable_](char16_t unit) {
            return unit < 257 ? static_cast<char16_t>(table.GetWeight(static_cast<unsigned char>(unit)))
                              : unit;
        });
    if (!wCollatingTable_.IsNull())
        return automaton_->Match(text, [&table = *wCollatingTable_](char16_t unit) {
            return static_cast<char16_t>(table.GetWeight(unit));
        });
    return automaton_->Match(text);
}
