#include "ZerlithCore/pattern/KZCondition.h"

#include "ZerlithCore/pattern/detail/ConditionText.h"
#include "ZerlithCore/pattern/detail/RegExNFA.h"

#include <algorithm>
#include <array>

namespace {

struct OperatorText {
    char16_t const * text;
    int op;
    bool isPattern;
};

// The texts of the operators. Two operators have two texts: one is printed for a pattern, the other for any other
// value.
constexpr OperatorText operatorTexts[] = {
    {u"<", KZCondition::Less, false},
    {u"<=", KZCondition::LessOrEqual, false},
    {u"=", KZCondition::Equal, false},
    {u"%", KZCondition::Equal, true},
    {u"!=", KZCondition::NotEqual, false},
    {u"/=", KZCondition::NotEqual, true},
    {u">=", KZCondition::GreaterOrEqual, false},
    {u">", KZCondition::Greater, false},
};

KZSmartPtr<KZRegEx> Compile(KZString const & pattern) {
    return KZSmartPtr<KZRegEx>(new KZRegEx(KZStringRegExParser(pattern).Parse()));
}

} // namespace

KZConditionParams::~KZConditionParams() = default;

KZCondition::KZCondition() = default;

KZCondition::KZCondition(KZString const & text) { KZCondition::FromString(text); }

KZCondition::KZCondition(KZCondition const & other) = default;

// Makes a copy and swaps, so that a failure changes nothing. `other` may be joined to this condition: so the old
// content is destroyed last.
KZCondition & KZCondition::operator=(KZCondition const & other) {
    KZCondition copy(other);
    Swap(copy);
    return *this;
}

// Deletes the children that have no other owner, without recursion and without allocating. On the way down a child
// stores the list in which it stood, and its place in that list stores the way back up.
KZCondition::~KZCondition() {
    std::vector<SubCondition> list = std::move(subConditions_);
    KZSmartPtr<KZCondition> parent;
    for (;;) {
        if (!list.empty()) {
            KZSmartPtr<KZCondition> child = std::move(list.back().second);
            if (child->NbRef() == 1 && !child->subConditions_.empty()) {
                list.back().second = std::move(parent);
                list.swap(child->subConditions_);
                parent = std::move(child);
            } else {
                list.pop_back();
            }
        } else {
            if (parent.IsNull()) return;
            list.swap(parent->subConditions_);
            parent = std::move(list.back().second);
            list.pop_back();
        }
    }
}

void KZCondition::GetFieldName(KZString & out) const { out += fieldName_; }

KZSmartPtr<KZCondition> KZCondition::NewChild() { return KZSmartPtr<KZCondition>(new KZCondition); }

bool KZCondition::AssignFieldName(KZString const & name) {
    fieldName_ = name;
    return true;
}

bool KZCondition::OnEvaluate(KZConditionParams const &) const { return false; }

bool KZCondition::AssignOperatorFromStr(bool & isPattern, KZString const & text) {
    auto const * const found =
        std::ranges::find_if(operatorTexts, [&text](auto const & row) { return text == row.text; });
    bool const isKnown = found != std::end(operatorTexts);
    operator_ = isKnown ? found->op : NoOperator;
    isPattern = isKnown && found->isPattern;
    return isKnown;
}

bool KZCondition::AssignSuppliedValueFromStr(bool isPattern, KZString const & text) {
    std::u16string_view const units(text.c_str());
    bool const isQuoted = units.starts_with(u'"');
    if (!units.empty() && units.find_first_not_of(u"0123456789.") == units.npos) {
        SetValue(operator_, Number);
        number_ = KZDouble(text.AsDouble());
    } else if (KZDetail::WithoutQuotes(units).starts_with(KZDetail::dateCall)) {
        if (!ReadDate(units)) return false;
    } else {
        SetValue(operator_, isPattern ? Pattern : isQuoted ? String : PlainText);
        string_ = isQuoted ? KZDetail::Unquote(units) : text;
        if (isPattern && !AsRegExp()) return false;
    }
    return PostAssignSuppliedValue();
}

bool KZCondition::PostAssignSuppliedValue() { return true; }

void KZCondition::GetOperator(KZString & out) const {
    for (OperatorText const & row : operatorTexts) {
        bool const hasBoth = operator_ == Equal || operator_ == NotEqual;
        if (row.op != operator_ || (hasBoth && row.isPattern != IsRegularExpression())) continue;
        out += u' ';
        out += row.text;
        out += u' ';
    }
}

void KZCondition::GetSuppliedValue(KZString & out) const {
    KZString text;
    switch (valueType_) {
    case String:
    case Pattern:
        text = string_;
        text.Replace(u"\"", u"\"\"");
        out += u'"';
        out += text;
        out += u'"';
        break;
    case Number:
        text.Format(u"%.*g", 15, number_);
        out += text;
        break;
    case Date: out += date_.AsString(); break;
    default: out += string_; break;
    }
}

void KZCondition::LocalCopy(KZCondition const & other) { *this = other; }

unsigned long KZCondition::Release() const {
    unsigned long const left = count_.Decrement();
    if (left == 0) delete this;
    return left;
}

KZCondition & KZCondition::AssignDouble(int op, KZDouble const & value) {
    SetValue(op, Number);
    number_ = value;
    return *this;
}

KZCondition & KZCondition::AssignKZString(int op, KZString const & value) {
    KZString const kept = value;
    SetValue(op, String);
    string_ = kept;
    return *this;
}

KZCondition & KZCondition::AssignKZDateTime(int op, KZDateTime const & value) {
    KZDateTime const kept = value;
    SetValue(op, Date);
    date_ = kept;
    return *this;
}

KZCondition & KZCondition::operator%(KZString const & pattern) { return AssignPattern(Equal, pattern); }

KZCondition & KZCondition::operator/=(KZString const & pattern) { return AssignPattern(NotEqual, pattern); }

KZString KZCondition::GetFieldName() const {
    KZString name;
    GetFieldName(name);
    return name;
}

bool KZCondition::IsNativeFormat(KZString const & text) {
    return text.Length() >= 2 && text[0] == u'@' && text[1] == u'@';
}

// The list holds the conditions that still have terms to evaluate, and the next of these terms. A condition that is at
// its last term is taken off first: that term gives its result.
bool KZCondition::Evaluate(KZConditionParams const & params) const {
    struct Place {
        KZCondition const * condition;
        std::size_t next;
    };
    std::array<Place, 32> near;
    std::vector<Place> far;
    std::size_t depth = 0;
    Place at{this, 0};
    bool holds = HoldsAlone(params);
    for (;;) {
        std::vector<SubCondition> const & list = at.condition->subConditions_;
        // While the result is true, only an AND can change it; while it is false, only an OR. The other terms are
        // skipped.
        while (at.next < list.size() && holds != (list[at.next].first == And)) ++at.next;
        if (at.next < list.size()) {
            KZCondition const & child = *list[at.next].second;
            if (++at.next < list.size()) {
                if (depth < near.size())
                    near[depth] = at;
                else
                    far.push_back(at);
                ++depth;
            }
            at = {&child, 0};
            holds = child.HoldsAlone(params);
        } else if (depth == 0) {
            return holds;
        } else if (--depth < near.size()) {
            at = near[depth];
        } else {
            at = far.back();
            far.pop_back();
        }
    }
}

bool KZCondition::HoldsAlone(KZConditionParams const & params) const {
    return operator_ != NoOperator ? OnEvaluate(params) : !HasOr();
}

bool KZCondition::AsRegExp() {
    valueType_ = Pattern;
    try {
        regEx_ = Compile(string_);
        return true;
    } catch (KZDetail::PatternTooLarge const &) {
        return false;
    }
}

bool KZCondition::MatchRexExp(KZString const & text) const {
    if (regEx_.IsNull() || (operator_ != Equal && operator_ != NotEqual)) return false;
    return regEx_->Match(text) == (operator_ == Equal);
}

KZCondition & KZCondition::AssignPattern(int op, KZString const & pattern) {
    KZString const kept = pattern;
    KZSmartPtr<KZRegEx> const regEx = Compile(kept);
    SetValue(op, Pattern);
    string_ = kept;
    regEx_ = regEx;
    return *this;
}

KZCondition & KZCondition::Join(int connective, KZCondition const & other) {
    KZSmartPtr<KZCondition> child = NewChild();
    child->LocalCopy(other);
    subConditions_.emplace_back(connective, std::move(child));
    return *this;
}

// Replaces the value; a pattern that was compiled is dropped.
void KZCondition::SetValue(int op, int type) {
    operator_ = op;
    valueType_ = type;
    string_.Clear();
    number_ = 0;
    date_ = KZDateTime();
    regEx_.Clear();
}

void KZCondition::Swap(KZCondition & other) noexcept {
    std::swap(fieldName_, other.fieldName_);
    std::swap(operator_, other.operator_);
    std::swap(valueType_, other.valueType_);
    std::swap(string_, other.string_);
    std::swap(number_, other.number_);
    std::swap(date_, other.date_);
    subConditions_.swap(other.subConditions_);
    std::swap(regEx_, other.regEx_);
}

bool KZCondition::Has(int connective) const noexcept {
    return std::ranges::any_of(subConditions_,
                               [connective](SubCondition const & sub) { return sub.first == connective; });
}
