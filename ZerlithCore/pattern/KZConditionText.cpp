// Reading and writing conditions as text.
#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/pattern/ConditionText.h"
#include "ZerlithCore/pattern/KZCondition.h"

#include <algorithm>
#include <ostream>

namespace {

constexpr bool IsBlank(char16_t unit) { return unit == u' ' || unit == u'\t'; }

void SkipBlanks(std::u16string_view & text) {
    text.remove_prefix(static_cast<std::size_t>(std::ranges::find_if_not(text, IsBlank) - text.begin()));
}

// Takes `count` units off the front of `text`.
std::u16string_view Take(std::u16string_view & text, std::size_t count) {
    std::u16string_view const taken = text.substr(0, count);
    text.remove_prefix(taken.size());
    return taken;
}

std::u16string_view TakeToken(std::u16string_view & text) {
    return Take(text, static_cast<std::size_t>(std::ranges::find_if(text, IsBlank) - text.begin()));
}

// The length of the quoted text in front, its quotes included; npos when it isn't closed.
std::size_t QuotedLength(std::u16string_view text) {
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] != u'"') continue;
        if (i + 1 == text.size() || text[i + 1] != u'"') return i + 1;
        ++i;
    }
    return text.npos;
}

// The length of the parenthesis in front, its closing one included; those inside quotes don't count.
std::size_t ParenthesisLength(std::u16string_view text) {
    std::size_t open = 0;
    bool isQuoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'"') isQuoted = !isQuoted;
        if (isQuoted) continue;
        if (text[i] == u'(') ++open;
        if (text[i] == u')' && --open == 0) return i + 1;
    }
    return text.npos;
}

// Takes the value off the front of a term; a quote that isn't closed gives an empty one.
std::u16string_view TakeValue(std::u16string_view & text) {
    if (text.starts_with(u'"')) {
        std::size_t const length = QuotedLength(text);
        return length == text.npos ? std::u16string_view() : Take(text, length);
    }
    std::u16string_view rest = text;
    std::u16string_view const token = TakeToken(rest);
    std::size_t const call = token.find(u"TO_DATE");
    if (call == token.npos || token.find(u')', call) != token.npos) return Take(text, token.size());
    std::size_t const end = text.find(u')', call);
    return Take(text, end == text.npos ? text.size() : end + 1);
}

bool IsWord(std::u16string_view token, char16_t const * word) {
    return KZString(token).IsEqual(word, KZString::IgnoreCase);
}

void Say(wchar_t const * line) { KZLockedCOUT().GetCout(1) << line << std::endl; }

} // namespace

bool KZCondition::FromString(KZString const & text) {
    KZDetail::NestingGuard const guard;
    if (KZDetail::NestingGuard::IsTooDeep()) return false;
    if (IsNativeFormat(text)) return FromNativeString(text);
    KZString const kept = text; // may be a part of this condition
    std::u16string_view rest(kept.c_str());
    for (;;) {
        SkipBlanks(rest);
        if (rest.empty()) return true;
        if (rest.front() == u'(') {
            std::size_t const length = ParenthesisLength(rest);
            if (length == rest.npos) return false;
            KZSmartPtr<KZCondition> const inside = NewChild();
            if (!inside->FromString(KZString(Take(rest, length).substr(1, length - 2)))) return false;
            LocalCopy(*inside);
            continue;
        }
        std::u16string_view behind = rest;
        std::u16string_view const token = TakeToken(behind);
        SkipBlanks(behind);
        if (behind.empty()) return true;
        bool const isAnd = IsWord(token, u"AND");
        if (!isAnd && !IsWord(token, u"OR")) {
            if (!ReadTerm(rest)) return false;
            continue;
        }
        if (!isAnd) Say(L"OR Parsing not implemented!");
        KZSmartPtr<KZCondition> const child = NewChild();
        bool const isGood = child->FromString(KZString(behind));
        Join(isAnd ? And : Or, *child);
        return isGood;
    }
}

// A field, an operator and a value.
bool KZCondition::ReadTerm(std::u16string_view & rest) {
    std::u16string_view const field = TakeToken(rest);
    SkipBlanks(rest);
    std::u16string_view const op = TakeToken(rest);
    SkipBlanks(rest);
    std::u16string_view const value = TakeValue(rest);
    bool isPattern = false;
    return !value.empty() && AssignFieldName(KZString(field)) &&
           AssignOperatorFromStr(isPattern, KZString(op)) &&
           AssignSuppliedValueFromStr(isPattern, KZString(value));
}

bool KZCondition::ReadDate(std::u16string_view call) {
    std::u16string const text = KZDetail::WithoutQuotes(call);
    std::size_t const end = text.find(u')');
    if (end == text.npos) return false;
    std::size_t const start = KZDetail::dateCall.size();
    std::size_t const comma = std::min(text.find(u',', start), end);
    KZString format(KZDateTime::DefaultFormat);
    if (comma < end) {
        format = KZString(std::u16string_view(text).substr(comma + 1, end - comma - 1));
        format.LTrim();
        format.RTrim();
    }
    SetValue(operator_, Date);
    if (date_.FromString(KZString(std::u16string_view(text).substr(start, comma - start)), format).Good())
        return true;
    Say(L"ERROR: KZCondition fails in KZDateTime::FromString()");
    return false;
}

// --- The native form

void KZCondition::AppendNative(KZString & out) const {
    if (operator_ == NoOperator && subConditions_.empty()) return;
    KZString part;
    part.Format(u"@@%u@", fieldName_.Length());
    out += part;
    out.Append(fieldName_.c_str(), fieldName_.Length());
    part.Format(u"@%d@%d@", operator_, valueType_);
    out += part;
    part.Clear();
    if (valueType_ == String || valueType_ == Pattern || valueType_ == PlainText) {
        part.Format(u"%u@", string_.Length());
        out += part;
        part = string_;
    } else if (valueType_ == Number) {
        part.Format(u"%.15g", number_);
    } else if (valueType_ == Date) {
        part.Format(u"%u", date_.AsSeconds());
    }
    out.Append(part.c_str(), part.Length());
    part.Format(u"@%u@", static_cast<unsigned int>(subConditions_.size()));
    out += part;
    for (auto const & [connective, child] : subConditions_) {
        part.Format(u"%d@", connective);
        out += part;
        child->AppendNative(out);
    }
}

// Takes a native text apart; each function is false where the text isn't one. Lengths and counts are believed only as
// far as the text goes.
class KZCondition::NativeReader {
public:
    explicit NativeReader(std::u16string_view text) noexcept : rest_(text) {}

    [[nodiscard]] bool IsAtEnd() const noexcept { return rest_.empty(); }

    bool ReadCondition(KZCondition & condition) {
        KZDetail::NestingGuard const guard;
        if (KZDetail::NestingGuard::IsTooDeep()) return false;
        // A null condition has no text.
        if (!rest_.starts_with(u"@@")) return true;
        rest_.remove_prefix(2);
        std::uint32_t length = 0;
        KZString name;
        std::uint32_t op = 0;
        std::uint32_t type = 0;
        if (!ReadNumber(length, 0xFFFFFFFF) || !ReadText(length, name) || !condition.AssignFieldName(name))
            return false;
        if (!ReadNumber(op, Greater) || !ReadNumber(type, PlainText)) return false;
        condition.SetValue(static_cast<int>(op), static_cast<int>(type));
        if (!ReadValue(condition) || !condition.PostAssignSuppliedValue()) return false;
        return ReadChildren(condition);
    }

private:
    // Decimal digits with "@" behind them.
    bool ReadNumber(std::uint32_t & value, std::uint32_t high) {
        std::uint64_t sum = 0;
        std::size_t digits = 0;
        for (; digits < rest_.size() && rest_[digits] >= u'0' && rest_[digits] <= u'9'; ++digits) {
            sum = sum * 10 + static_cast<std::uint64_t>(rest_[digits] - u'0');
            if (sum > high) return false;
        }
        value = static_cast<std::uint32_t>(sum);
        if (digits == 0 || digits == rest_.size() || rest_[digits] != u'@') return false;
        rest_.remove_prefix(digits + 1);
        return true;
    }

    bool ReadText(std::uint32_t length, KZString & text) {
        if (length >= rest_.size() || rest_[length] != u'@') return false;
        text = KZString(Take(rest_, length));
        rest_.remove_prefix(1);
        return true;
    }

    bool ReadValue(KZCondition & condition) {
        std::uint32_t number = 0;
        bool isGood = true;
        KZString text;
        switch (condition.valueType_) {
        case NoValue: return ReadText(0, text);
        case Number:
            isGood = ReadText(static_cast<std::uint32_t>(std::min(rest_.find(u'@'), rest_.size())), text);
            if (isGood) condition.number_ = text.AsDouble(&isGood);
            return isGood;
        case Date:
            isGood = ReadNumber(number, 0xFFFFFFFF);
            condition.date_ = KZDateTime(number);
            return isGood;
        default:
            if (!ReadNumber(number, 0xFFFFFFFF) || !ReadText(number, condition.string_)) return false;
            return condition.valueType_ != Pattern || condition.AsRegExp();
        }
    }

    bool ReadChildren(KZCondition & condition) {
        std::uint32_t count = 0;
        if (!ReadNumber(count, 0xFFFFFFFF)) return false;
        for (; count > 0; --count) {
            std::uint32_t connective = 0;
            KZSmartPtr<KZCondition> child = condition.NewChild();
            if (!ReadNumber(connective, And) || !ReadCondition(*child)) return false;
            condition.subConditions_.emplace_back(static_cast<int>(connective), std::move(child));
        }
        return true;
    }

    std::u16string_view rest_;
};

bool KZCondition::FromNativeString(KZString const & text) {
    KZSmartPtr<KZCondition> const read = NewChild();
    NativeReader reader(static_cast<std::u16string_view>(text));
    if (!reader.ReadCondition(*read) || !reader.IsAtEnd()) return false;
    LocalCopy(*read);
    return true;
}
