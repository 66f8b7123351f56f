#include "ZerlithCore/pattern/KZRegEx.h"

#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/pattern/detail/RegExDFA.h"
#include "ZerlithCore/pattern/detail/RegExMatcher.h"
#include "ZerlithCore/text/detail/KZUnitScan.h"

#include <ostream>

struct KZDetail::RegExAutomaton {
    explicit RegExAutomaton(KZSmartPtr<KZRegExSyntaxNode> const & parsed)
        : root(parsed), matcher(parsed.IsNull() ? nullptr : &*parsed) {}

    KZSmartPtr<KZRegExSyntaxNode> root;
    RegExMatcher matcher;
};

namespace {

using namespace KZDetail;

RegExNFA BuildPrinted(KZSmartPtr<KZRegExSyntaxNode> const & root, RegExSets & sets) {
    return BuildNFA(root.IsNull() ? nullptr : &*root, sets, Branches::Apart);
}

void Dump(KZSmartPtr<KZRegExSyntaxNode> const & root) {
    RegExSets sets;
    RegExNFA const nfa = BuildPrinted(root, sets);
    std::vector<DFAState> const states =
        BuildDFA(nfa, sets); // before anything is written, since it may throw
    Dump(KZGetConsole(), nfa, sets);
    Dump(KZGetConsole(), states);
    KZGetConsole().flush();
}

} // namespace

KZRegEx::KZRegEx(KZParsedRegEx const & parsed, bool debug)
    : automaton_(std::make_shared<RegExAutomaton const>(parsed.root))
    , collatingTable_(parsed.collatingTable)
    , wCollatingTable_(parsed.wCollatingTable) {
    if (debug) Dump(parsed.root);
}

KZRegEx::KZRegEx(KZRegEx const & other) = default;

KZRegEx & KZRegEx::operator=(KZRegEx const & other) = default;

KZRegEx::~KZRegEx() = default;

bool KZRegEx::Match(char16_t const * text) const {
    return MatchUnits(text ? std::u16string_view(text, KZUnitScan::Length(text)) : std::u16string_view());
}

KZString KZRegEx::GetConstantStart() const {
    RegExSets sets;
    RegExNFA const nfa = BuildPrinted(automaton_->root, sets);
    return ConstantStart(nfa, sets);
}

bool KZRegEx::MatchUnits(std::u16string_view text) const {
    if (collatingTable_.IsNull() && wCollatingTable_.IsNull()) return automaton_->matcher.Match(text);
    RegExTranslation const translation{collatingTable_.IsNull() ? nullptr : &*collatingTable_,
                                       wCollatingTable_.IsNull() ? nullptr : &*wCollatingTable_};
    return automaton_->matcher.Match(text, translation);
}
