#include "ZerlithCore/pattern/KZCondition.h"

#include "ZerlithCore/pattern/ConditionText.h"

#include <algorithm>
#include <new>

namespace {

struct OperatorText {
    char16_t const * text;
    int op;
    bool isPattern;
};

// What is read; of two with the same number, the one with the fitting flag is printed.
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

} // namespace

KZConditionParams::~KZConditionParams() = default;

KZCondition::KZCondition() = default;

KZCondition::KZCondition(KZString const & text) { KZCondition::FromString(text); }

KZCondition::KZCondition(KZCondition const & other) = default;

KZCondition & KZCondition::operator=(KZCondition const & other) = default;

// Children whose last owner this is give up theirs first.
KZCondition::~KZCondition() {
    std::vector<SubCondition> pending = std::move(subConditions_);
    while (!pending.empty()) {
        KZSmartPtr<KZCondition> const child = std::move(pending.back().second);
        pending.pop_back();
        if (child->NbRef() != 1) continue;
        std::ranges::move(child->subConditions_, std::back_inserter(pending));
        child->subConditions_.clear();
    }
}

void KZCondition::GetFieldName(KZString & out) const { out += fieldName_; }

KZSmartPtr<KZCondition> KZCondition::NewChild() const { return KZSmartPtr<KZCondition>(new KZCondition); }

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

void KZCondition::LocalCopy(KZCondition const & other) {
    // `other` may hang below this one and end with what is overwritten.
    KZCondition copy(other);
    *this = copy;
}

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

KZCondition & KZCondition::operator%(KZString const & pattern) {
    AssignKZString(Equal, pattern);
    AsRegExp();
    return *this;
}

KZCondition & KZCondition::operator/=(KZString const & pattern) {
    AssignKZString(NotEqual, pattern);
    AsRegExp();
    return *this;
}

KZString KZCondition::GetFieldName() const {
    KZString name;
    GetFieldName(name);
    return name;
}

bool KZCondition::IsNativeFormat(KZString const & text) {
    return text.Length() >= 2 && text[0] == u'@' && text[1] == u'@';
}

KZString KZCondition::ToString(bool native) const {
    KZString out;
    native ? AppendNative(out) : AppendText(out);
    return out;
}

bool KZCondition::Evaluate(KZConditionParams const & params) const {
    bool holds = operator_ != NoOperator ? OnEvaluate(params) : !HasOr();
    for (auto const & [connective, child] : subConditions_)
        if (holds == (connective == And)) holds = child->Evaluate(params);
    return holds;
}

bool KZCondition::AsRegExp() {
    valueType_ = Pattern;
    try {
        regEx_ = KZSmartPtr<KZRegEx>(new KZRegEx(KZStringRegExParser(string_).Parse()));
        return true;
    } catch (std::bad_alloc const &) {
        return false;
    }
}

bool KZCondition::MatchRexExp(KZString const & text) const {
    if (regEx_.IsNull() || (operator_ != Equal && operator_ != NotEqual)) return false;
    return regEx_->Match(text) == (operator_ == Equal);
}

KZCondition & KZCondition::Join(int connective, KZCondition const & other) {
    KZSmartPtr<KZCondition> child = NewChild();
    child->LocalCopy(other);
    subConditions_.emplace_back(connective, std::move(child));
    return *this;
}

// A new value drops the old one, a pattern too.
void KZCondition::SetValue(int op, int type) {
    operator_ = op;
    valueType_ = type;
    string_.Clear();
    number_ = 0;
    date_ = KZDateTime();
    regEx_.Clear();
}

bool KZCondition::Has(int connective) const noexcept {
    return std::ranges::any_of(subConditions_,
                               [connective](SubCondition const & sub) { return sub.first == connective; });
}

void KZCondition::AppendText(KZString & out) const {
    bool const hasOr = HasOr();
    bool const isMixed = hasOr && HasAnd();
    for (std::size_t i = 0; hasOr && i < subConditions_.size(); ++i) out += u'(';
    if (operator_ != NoOperator) {
        GetFieldName(out);
        GetOperator(out);
        GetSuppliedValue(out);
    }
    for (std::size_t i = 0; i < subConditions_.size(); ++i) {
        auto const & [connective, child] = subConditions_[i];
        if (i > 0 || operator_ != NoOperator) out += connective == Or ? u" OR " : u" AND ";
        bool const changes = isMixed && i > 0 && connective != subConditions_[i - 1].first;
        bool const ownParentheses = changes && child->GetSubCondCount() > 0;
        if (ownParentheses) out += u'(';
        child->AppendText(out);
        if (ownParentheses) out += u')';
        if (hasOr) out += u')';
    }
}
