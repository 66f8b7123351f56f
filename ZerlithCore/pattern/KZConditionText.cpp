// Prints conditions. Those that are begun but not complete stand on a list, innermost last, so that nothing recurses.
#include "ZerlithCore/pattern/KZCondition.h"

namespace {

struct Begun {
    KZCondition const * condition;
    bool hasOr;
    bool isMixed;
    bool ownParentheses;
    std::size_t next = 0;
};

} // namespace

KZString KZCondition::ToString(bool native) const {
    KZString out;
    native ? AppendNative(out) : AppendText(out);
    return out;
}

void KZCondition::AppendText(KZString & out) const {
    std::vector<Begun> begun;
    auto const begin = [&out, &begun](KZCondition const & condition, bool ownParentheses) {
        if (ownParentheses) out += u'(';
        bool const hasOr = condition.HasOr();
        begun.push_back({&condition, hasOr, hasOr && condition.HasAnd(), ownParentheses});
        for (std::size_t i = 0; hasOr && i < condition.subConditions_.size(); ++i) out += u'(';
        condition.AppendTerm(out);
    };
    begin(*this, false);
    while (!begun.empty()) {
        Begun & at = begun.back();
        std::vector<SubCondition> const & list = at.condition->subConditions_;
        if (at.next == list.size()) {
            if (at.ownParentheses) out += u')';
            begun.pop_back();
            if (!begun.empty() && begun.back().hasOr) out += u')';
            continue;
        }
        std::size_t const i = at.next++;
        auto const & [connective, child] = list[i];
        if (i > 0 || at.condition->operator_ != NoOperator) out += connective == Or ? u" OR " : u" AND ";
        bool const changes = at.isMixed && i > 0 && connective != list[i - 1].first;
        begin(*child, changes && child->GetSubCondCount() > 0);
    }
}

void KZCondition::AppendTerm(KZString & out) const {
    if (operator_ == NoOperator) return;
    GetFieldName(out);
    GetOperator(out);
    GetSuppliedValue(out);
}

// Writes nothing for a condition that has neither an operator nor joined conditions.
void KZCondition::AppendNative(KZString & out) const {
    std::vector<std::pair<KZCondition const *, std::size_t>> begun;
    auto const begin = [&out, &begun](KZCondition const & condition) {
        if (condition.operator_ == NoOperator && condition.subConditions_.empty()) return;
        condition.AppendNativeTerm(out);
        begun.emplace_back(&condition, 0);
    };
    KZString part;
    begin(*this);
    while (!begun.empty()) {
        auto & [condition, next] = begun.back();
        if (next == condition->subConditions_.size()) {
            begun.pop_back();
            continue;
        }
        auto const & [connective, child] = condition->subConditions_[next++];
        part.Format(u"%d@", connective);
        out += part;
        begin(*child);
    }
}

void KZCondition::AppendNativeTerm(KZString & out) const {
    KZString part;
    part.Format(u"@@%u@%s@%d@%d@", fieldName_.Length(), fieldName_, operator_, valueType_);
    out.Append(part.c_str(), part.Length());
    part.Clear();
    if (valueType_ == String || valueType_ == Pattern || valueType_ == PlainText)
        part.Format(u"%u@%s", string_.Length(), string_);
    else if (valueType_ == Number)
        part.Format(u"%.15g", number_);
    else if (valueType_ == Date)
        part.Format(u"%u", date_.AsSeconds());
    out.Append(part.c_str(), part.Length());
    part.Format(u"@%u@", subConditions_.size());
    out += part;
}
