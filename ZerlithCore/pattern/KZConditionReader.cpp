// Reads conditions from text. Each unit is read once, from left to right. Conditions that are begun but not complete
// stand on a list, so nothing recurses, and no text is copied that is still to be read.
#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/pattern/KZCondition.h"
#include "ZerlithCore/pattern/detail/ConditionText.h"

#include <algorithm>
#include <ostream>

namespace {

constexpr std::size_t deepestNesting = 1000;

// Takes `count` units off the front of `text`.
std::u16string_view Take(std::u16string_view & text, std::size_t count) {
    std::u16string_view const taken = text.substr(0, count);
    text.remove_prefix(taken.size());
    return taken;
}

// The length of the quoted text with which `text` begins, with both quotes; npos when the closing quote is missing.
std::size_t QuotedLength(std::u16string_view text) {
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] != u'"') continue;
        if (i + 1 == text.size() || text[i + 1] != u'"') return i + 1;
        ++i;
    }
    return text.npos;
}

bool IsWord(std::u16string_view token, std::u16string_view word) {
    return token.size() == word.size() && KZString(token).IsEqual(word.data(), KZString::IgnoreCase);
}

void Say(wchar_t const * line) { KZLockedCOUT().GetCout(1) << line << std::endl; }

} // namespace

// Reads a native text, as `ToString(true)` writes it. Each function returns false for an error in the text. A length or
// a count in the text that is larger than the rest of the text is an error.
class KZCondition::NativeReader {
public:
    explicit NativeReader(std::u16string_view text) noexcept : rest_(text) {}

    [[nodiscard]] std::u16string_view GetRest() const noexcept { return rest_; }

    // Reads a condition and all that is joined to it.
    bool Read(KZCondition & condition) {
        if (!ReadTerm(condition)) return false;
        while (!begun_.empty()) {
            auto & [parent, left] = begun_.back();
            if (left == 0) {
                begun_.pop_back();
                continue;
            }
            --left;
            std::uint32_t connective = 0;
            if (!ReadNumber(connective, And)) return false;
            KZSmartPtr<KZCondition> const child = parent->NewChild();
            parent->subConditions_.emplace_back(static_cast<int>(connective), child);
            if (!ReadTerm(*child)) return false;
        }
        return true;
    }

private:
    bool ReadTerm(KZCondition & condition) {
        // A null condition has no text.
        if (!rest_.starts_with(u"@@")) return true;
        rest_.remove_prefix(2);
        std::uint32_t length = 0;
        KZString name;
        std::uint32_t op = 0;
        std::uint32_t type = 0;
        std::uint32_t count = 0;
        if (!ReadNumber(length, 0xFFFFFFFF) || !ReadText(length, name) || !condition.AssignFieldName(name))
            return false;
        if (!ReadNumber(op, Greater) || !ReadNumber(type, PlainText)) return false;
        condition.SetValue(static_cast<int>(op), static_cast<int>(type));
        if (!ReadValue(condition) || !condition.PostAssignSuppliedValue()) return false;
        if (!ReadNumber(count, 0xFFFFFFFF)) return false;
        begun_.emplace_back(&condition, count);
        return true;
    }

    // Reads decimal digits followed by "@".
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

    std::u16string_view rest_;
    std::vector<std::pair<KZCondition *, std::uint32_t>> begun_; // and how many are still to be joined to it
};

// Reads what a person types. The whole text, the text in a pair of parentheses, and the text after an AND or OR are
// parts. Each part is read into a condition of its own: in "a = 1 AND (b = 2 OR c = 3)" these begin at a, at "(", at b
// and at c.
class KZCondition::Reader {
public:
    Reader(KZCondition & condition, std::u16string_view text) : rest_(text) {
        parts_.push_back({&condition, {}, Part::Whole, Or});
    }

    bool Read() {
        bool const isGood = ReadParts();
        // What was read before an error is kept, except the text of parentheses that aren't closed.
        while (parts_.size() > 1) EndPart(false);
        return isGood;
    }

private:
    struct Part {
        enum Kind { Whole, Parenthesis, Joined };
        KZCondition * condition;
        KZSmartPtr<KZCondition> owner;
        Kind kind;
        int connective;
    };

    bool ReadParts() {
        for (;;) {
            SkipBlanks();
            if (rest_.empty()) return opened_.empty();
            bool isGood = true;
            if (IsAtClosing())
                CloseParenthesis();
            else if (rest_.front() == u'(')
                isGood = OpenParenthesis();
            else
                isGood = ReadItem();
            if (!isGood) return false;
        }
    }

    bool OpenParenthesis() {
        if (opened_.size() == deepestNesting) return false;
        rest_.remove_prefix(1);
        opened_.push_back(0);
        BeginPart(Part::Parenthesis, Or);
        return ReadNative();
    }

    void CloseParenthesis() {
        while (parts_.back().kind == Part::Joined) EndPart(false);
        EndPart(true);
        opened_.pop_back();
        rest_.remove_prefix(1);
    }

    // Reads a connective or a term. A single word at the end, without an operator, is no error.
    bool ReadItem() {
        std::u16string_view const token = TakeToken();
        SkipBlanks();
        if (rest_.empty() || IsAtClosing()) return true;
        bool const isOr = IsWord(token, u"OR");
        if (!isOr && !IsWord(token, u"AND")) return ReadTerm(token);
        if (isOr) Say(L"OR Parsing not implemented!");
        BeginPart(Part::Joined, isOr ? Or : And);
        return ReadNative();
    }

    bool ReadTerm(std::u16string_view field) {
        std::u16string_view const op = TakeToken();
        SkipBlanks();
        std::u16string_view const value = TakeValue();
        KZCondition & condition = *parts_.back().condition;
        bool isPattern = false;
        return !value.empty() && condition.AssignFieldName(KZString(field)) &&
               condition.AssignOperatorFromStr(isPattern, KZString(op)) &&
               condition.AssignSuppliedValueFromStr(isPattern, KZString(value));
    }

    // A whole part may be a native text.
    bool ReadNative() {
        if (parts_.back().kind == Part::Joined) SkipBlanks();
        if (!rest_.starts_with(u"@@")) return true;
        KZCondition & condition = *parts_.back().condition;
        KZSmartPtr<KZCondition> const read = condition.NewChild();
        NativeReader reader(rest_);
        if (!reader.Read(*read)) return false;
        rest_ = reader.GetRest();
        if (!rest_.empty() && !IsAtClosing()) return false;
        condition.LocalCopy(*read);
        return true;
    }

    // --- Parts

    void BeginPart(Part::Kind kind, int connective) {
        KZSmartPtr<KZCondition> child = parts_.back().condition->NewChild();
        KZCondition * const condition = child.GetPtr();
        parts_.push_back({condition, std::move(child), kind, connective});
    }

    void EndPart(bool isClosed) {
        Part const part = std::move(parts_.back());
        parts_.pop_back();
        KZCondition & outer = *parts_.back().condition;
        if (part.kind == Part::Joined)
            outer.Join(part.connective, *part.condition);
        else if (isClosed)
            outer.LocalCopy(*part.condition);
    }

    // --- Tokens. Parentheses inside a token are counted, so that "(a = f(x))" ends at the second ")".

    void SkipBlanks() {
        rest_.remove_prefix(
            static_cast<std::size_t>(std::ranges::find_if_not(rest_, KZEncoding::IsBlank) - rest_.begin()));
    }

    bool IsAtClosing() const { return !opened_.empty() && opened_.back() == 0 && rest_.starts_with(u')'); }

    // Counts `unit` if it is a parenthesis. Returns false for the one that closes the part.
    bool Pass(char16_t unit) {
        if (opened_.empty()) return true;
        if (unit == u')' && opened_.back() == 0) return false;
        if (unit == u'(') ++opened_.back();
        if (unit == u')') --opened_.back();
        return true;
    }

    std::u16string_view TakeToken() {
        std::size_t size = 0;
        while (size < rest_.size() && !KZEncoding::IsBlank(rest_[size]) && Pass(rest_[size])) ++size;
        return Take(rest_, size);
    }

    // Reads a value; empty for a quote that isn't closed. Parentheses in quotes don't count. A quote that isn't the
    // first unit of the value is a unit like others.
    std::u16string_view TakeValue() {
        if (rest_.starts_with(u'"')) {
            std::size_t const length = QuotedLength(rest_);
            return length == rest_.npos ? std::u16string_view() : Take(rest_, length);
        }
        std::u16string_view const text = rest_;
        std::u16string_view const token = TakeToken();
        std::size_t const call = token.find(u"TO_DATE");
        if (call == token.npos || token.find(u')', call) != token.npos) return token;
        std::size_t size = 0;
        bool isCall = true; // up to its ")", blanks belong to the value
        while (isCall && size < rest_.size() && Pass(rest_[size])) isCall = rest_[size++] != u')';
        return text.substr(0, token.size() + Take(rest_, size).size());
    }

    std::u16string_view rest_;
    std::vector<Part> parts_;         // innermost last
    std::vector<std::size_t> opened_; // for each "(" around a part: how many are open in its tokens
};

bool KZCondition::FromString(KZString const & text) {
    if (IsNativeFormat(text)) return FromNativeString(text);
    KZString const kept = text; // `text` may be a member of this condition, which changes below
    KZCondition before(*this);
    try {
        return Reader(*this, kept.c_str()).Read();
    } catch (...) {
        Swap(before);
        throw;
    }
}

bool KZCondition::FromNativeString(KZString const & text) {
    KZSmartPtr<KZCondition> const read = NewChild();
    NativeReader reader(static_cast<std::u16string_view>(text));
    if (!reader.Read(*read) || !reader.GetRest().empty()) return false;
    LocalCopy(*read);
    return true;
}

bool KZCondition::ReadDate(std::u16string_view call) {
    std::u16string const text = KZDetail::WithoutQuotes(call);
    std::size_t const end = text.find(u')');
    if (end == text.npos) return false;
    std::size_t const start = KZDetail::dateCall.size();
    std::size_t const comma = std::min(text.find(u',', start), end);
    auto const item = [&text](std::size_t from, std::size_t to) {
        KZString trimmed(std::u16string_view(text).substr(from, to - from));
        trimmed.LTrim();
        trimmed.RTrim();
        return trimmed;
    };
    KZString const format = comma < end ? item(comma + 1, end) : KZString(KZDateTime::DefaultFormat);
    SetValue(operator_, Date);
    if (date_.FromString(item(start, comma), format).Good()) return true;
    Say(L"ERROR: KZCondition fails in KZDateTime::FromString()");
    return false;
}
