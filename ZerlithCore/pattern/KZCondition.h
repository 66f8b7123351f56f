/// @file
/// Conditions on named fields that a person can type.
///
///     class RecordParams : public KZConditionParams { public: Record const * record; };
///     class RecordCondition : public KZCondition { ... OnEvaluate looks a field up in the record ... };
///     RecordCondition condition;
///     if (condition.FromString(u"level >= 3 AND message % .*timeout.*")) ... condition.Evaluate(params) ...
///
/// docs/conditions.md has the language.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/foundation/KZDouble.h"
#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/pattern/KZRegEx.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/time/KZDateTime.h"

#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

namespace KZDetail {
template <class T>
concept IsConditionNumber = std::is_arithmetic_v<T> ||(std::is_enum_v<T> && std::is_convertible_v<T, int>);
} // namespace KZDetail

/// What a condition is evaluated on; a class derived from KZCondition has one derived from this.
class KZ_EXPORT KZConditionParams {
public:
    virtual ~KZConditionParams();
};

/// A comparison of a named field with a value, and conditions joined to it by AND and OR.
///
/// The library has no field values: a derived class gives them in `OnEvaluate`. The joined conditions are taken strictly from
/// left to right, with no precedence. Conditions are counted; a copy shares the joined ones, which don't change any more.
///
/// Parentheses in a text may nest 1,000 deep; deeper ones are refused. Terms joined by AND and OR have no such limit, and no
/// operation recurses into them: conditions of any depth are read, printed, evaluated and released.
///
/// Thread safety: a condition is built by one thread; then any may evaluate it.
class KZ_EXPORT KZCondition {
public:
    /// The comparison. A pattern has `Equal` or `NotEqual`, and a value type of its own.
    enum Operator : int { NoOperator, Less, LessOrEqual, Equal, NotEqual, GreaterOrEqual, Greater };
    /// What the value was read or given as.
    enum ValueType : int { NoValue, String, Number, Date, Pattern, PlainText };
    /// How a condition is joined to the ones in front of it.
    enum Connective : int { Or, And };

    KZCondition();
    /// As `FromString` reads; a bad text leaves what was assigned in front of the fault. A derived class calls its own
    /// `FromString` in its own constructor.
    explicit KZCondition(KZString const & text);
    KZCondition(KZCondition const & other);
    KZCondition & operator=(KZCondition const & other);
    virtual ~KZCondition();

    // --- For derived classes. The three that take a string append to it.

    virtual void GetFieldName(KZString & out) const;
    /// A new condition of the same kind, for what is joined to this one.
    [[nodiscard]] virtual KZSmartPtr<KZCondition> NewChild();
    /// False refuses the name.
    virtual bool AssignFieldName(KZString const & name);
    /// Reads a condition, or what `ToString(true)` wrote; blanks alone change nothing. False for a text that isn't one;
    /// what was assigned in front of the fault stays, except from a native text, which then changes nothing. Called for the
    /// whole text only: parts of it are read by the functions below, of the conditions that `NewChild` makes.
    /// Errors: std::bad_alloc, and what these functions throw; members of this class are unchanged then.
    virtual bool FromString(KZString const & text);
    /// The comparison itself; false here.
    [[nodiscard]] virtual bool OnEvaluate(KZConditionParams const & params) const;
    /// Takes "<", "<=", "=", "!=", ">=", ">", or "%" and "/=" for patterns. False, and no operator, for anything else.
    virtual bool AssignOperatorFromStr(bool & isPattern, KZString const & text);
    /// Takes a number, TO_DATE(...), a pattern, or a text with or without quotes.
    virtual bool AssignSuppliedValueFromStr(bool isPattern, KZString const & text);
    /// Called when a value was read; false refuses it.
    virtual bool PostAssignSuppliedValue();
    virtual void GetOperator(KZString & out) const;
    virtual void GetSuppliedValue(KZString & out) const;
    /// Becomes a copy of `other`, its joined conditions shared.
    virtual void LocalCopy(KZCondition const & other);

    // --- Counting

    unsigned long AddRef() const noexcept { return count_.Increment(); }
    unsigned long Release() const;
    [[nodiscard]] unsigned long NbRef() const noexcept { return count_.Get(); }

    // --- Building: each sets the operator and the value, and gives the condition. Numbers of all types are kept as a double,
    // which is exact to 2^53; a unit is a text.

    template <KZDetail::IsConditionNumber Number>
    KZCondition & operator==(Number value) {
        return AssignNumber(Equal, value);
    }
    KZCondition & operator==(KZDouble const & value) { return AssignDouble(Equal, value); }
    KZCondition & operator==(KZString const & value) { return AssignKZString(Equal, value); }
    KZCondition & operator==(KZDateTime const & value) { return AssignKZDateTime(Equal, value); }
    template <KZDetail::IsConditionNumber Number>
    KZCondition & operator!=(Number value) {
        return AssignNumber(NotEqual, value);
    }
    KZCondition & operator!=(KZDouble const & value) { return AssignDouble(NotEqual, value); }
    KZCondition & operator!=(KZString const & value) { return AssignKZString(NotEqual, value); }
    KZCondition & operator!=(KZDateTime const & value) { return AssignKZDateTime(NotEqual, value); }
    template <KZDetail::IsConditionNumber Number>
    KZCondition & operator<(Number value) {
        return AssignNumber(Less, value);
    }
    KZCondition & operator<(KZDouble const & value) { return AssignDouble(Less, value); }
    KZCondition & operator<(KZString const & value) { return AssignKZString(Less, value); }
    KZCondition & operator<(KZDateTime const & value) { return AssignKZDateTime(Less, value); }
    template <KZDetail::IsConditionNumber Number>
    KZCondition & operator<=(Number value) {
        return AssignNumber(LessOrEqual, value);
    }
    KZCondition & operator<=(KZDouble const & value) { return AssignDouble(LessOrEqual, value); }
    KZCondition & operator<=(KZString const & value) { return AssignKZString(LessOrEqual, value); }
    KZCondition & operator<=(KZDateTime const & value) { return AssignKZDateTime(LessOrEqual, value); }
    template <KZDetail::IsConditionNumber Number>
    KZCondition & operator>(Number value) {
        return AssignNumber(Greater, value);
    }
    KZCondition & operator>(KZDouble const & value) { return AssignDouble(Greater, value); }
    KZCondition & operator>(KZString const & value) { return AssignKZString(Greater, value); }
    KZCondition & operator>(KZDateTime const & value) { return AssignKZDateTime(Greater, value); }
    template <KZDetail::IsConditionNumber Number>
    KZCondition & operator>=(Number value) {
        return AssignNumber(GreaterOrEqual, value);
    }
    KZCondition & operator>=(KZDouble const & value) { return AssignDouble(GreaterOrEqual, value); }
    KZCondition & operator>=(KZString const & value) { return AssignKZString(GreaterOrEqual, value); }
    KZCondition & operator>=(KZDateTime const & value) { return AssignKZDateTime(GreaterOrEqual, value); }
    KZCondition & AssignInt(int op, int value) { return AssignDouble(op, KZDouble(value)); }
    KZCondition & AssignInt64(int op, std::int64_t value) {
        return AssignDouble(op, KZDouble(static_cast<double>(value)));
    }
    KZCondition & AssignDouble(int op, KZDouble const & value);
    KZCondition & AssignKZString(int op, KZString const & value);
    KZCondition & AssignKZDateTime(int op, KZDateTime const & value);
    /// Equal to, and not equal to, a pattern. Errors: std::bad_alloc, also for a pattern that is too large to compile; the
    /// condition is unchanged then.
    KZCondition & operator%(KZString const & pattern);
    KZCondition & operator/=(KZString const & pattern);
    /// Joins a copy of `other` by AND, or OR.
    KZCondition & operator&(KZCondition const & other) { return Join(And, other); }
    KZCondition & operator||(KZCondition const & other) { return Join(Or, other); }
    void ClearSubCondV() { subConditions_.clear(); }

    // --- Questions

    [[nodiscard]] KZString GetFieldName() const;
    [[nodiscard]] std::size_t GetSubCondCount() const noexcept { return subConditions_.size(); }
    /// No field name and nothing joined.
    [[nodiscard]] bool IsNull() const noexcept { return fieldName_.IsNull() && subConditions_.empty(); }
    [[nodiscard]] bool IsRegularExpression() const noexcept { return valueType_ == Pattern; }
    [[nodiscard]] bool HasOr() const noexcept { return Has(Or); }
    [[nodiscard]] bool HasAnd() const noexcept { return Has(And); }
    /// True for a text that starts with "@@".
    [[nodiscard]] static bool IsNativeFormat(KZString const & text);
    /// Prints the condition as it can be typed, or, when `native`, so that `FromString` gives back the same tree.
    [[nodiscard]] KZString ToString(bool native) const;
    /// Whether the condition holds; one with neither operator nor joined conditions does. Allocates nothing, unless more than
    /// 32 parentheses with something behind them nest.
    [[nodiscard]] bool Evaluate(KZConditionParams const & params) const;

protected:
    [[nodiscard]] int GetOperatorValue() const noexcept { return operator_; }
    [[nodiscard]] int GetValueType() const noexcept { return valueType_; }
    [[nodiscard]] KZString const & GetName() const noexcept { return fieldName_; }
    [[nodiscard]] KZString const & GetStringValue() const noexcept { return string_; }
    [[nodiscard]] double GetNumberValue() const noexcept { return number_; }
    [[nodiscard]] KZDateTime const & GetDateValue() const noexcept { return date_; }

    /// Compiles the string value as a pattern. False when it is too large to compile (docs/patterns.md).
    bool AsRegExp();
    /// For `OnEvaluate`: whether `text` matches the pattern, or, with the operator "not equal", doesn't; false without
    /// a pattern.
    [[nodiscard]] bool MatchRexExp(KZString const & text) const;
    /// Reads what `ToString(true)` wrote. False, without a change, for anything else.
    bool FromNativeString(KZString const & text);

private:
    class Reader;
    class NativeReader;
    using SubCondition = std::pair<int, KZSmartPtr<KZCondition>>;

    template <class Number>
    KZCondition & AssignNumber(int op, Number value) {
        if constexpr (KZDetail::IsUnit<Number>)
            return AssignKZString(op, KZString(static_cast<char16_t>(value)));
        else
            return AssignDouble(op, KZDouble(static_cast<double>(value)));
    }
    KZCondition & Join(int connective, KZCondition const & other);
    KZCondition & AssignPattern(int op, KZString const & pattern);
    void SetValue(int op, int type);
    /// Exchanges all but the counts.
    void Swap(KZCondition & other) noexcept;
    [[nodiscard]] bool Has(int connective) const noexcept;
    bool ReadDate(std::u16string_view call);
    [[nodiscard]] bool HoldsAlone(KZConditionParams const & params) const;
    void AppendText(KZString & out) const;
    void AppendTerm(KZString & out) const;
    void AppendNative(KZString & out) const;
    void AppendNativeTerm(KZString & out) const;

    KZCounter count_;
    KZString fieldName_;
    int operator_ = NoOperator;
    int valueType_ = NoValue;
    KZString string_;
    double number_ = 0;
    KZDateTime date_;
    std::vector<SubCondition> subConditions_;
    KZSmartPtr<KZRegEx> regEx_;
};
