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

#include "ZerlithCore/foundation/KZDouble.h"
#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/pattern/KZRegEx.h"
#include "ZerlithCore/platform/Export.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/time/KZDateTime.h"

#include <cstdint>
#include <utility>
#include <vector>

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
/// A text may nest 1,000 deep, parentheses and terms behind an AND or OR together; deeper ones are refused.
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
    /// Releases trees of any depth without recursion.
    virtual ~KZCondition();

    // --- For derived classes. The three that take a string append to it.

    virtual void GetFieldName(KZString & out) const;
    /// A new condition of the same kind, for what is joined to this one.
    [[nodiscard]] virtual KZSmartPtr<KZCondition> NewChild() const;
    /// False refuses the name.
    virtual bool AssignFieldName(KZString const & name);
    /// Reads a condition, or what `ToString(true)` wrote; blanks alone change nothing. False for a text that isn't one;
    /// what was assigned in front of the fault stays, except from a native text, which then changes nothing.
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

    // --- Building: each sets the operator and the value, and gives the condition

    KZCondition & operator==(int value) { return AssignInt(Equal, value); }
    KZCondition & operator==(std::int64_t value) { return AssignInt64(Equal, value); }
    KZCondition & operator==(double value) { return AssignDouble(Equal, KZDouble(value)); }
    KZCondition & operator==(KZDouble const & value) { return AssignDouble(Equal, value); }
    KZCondition & operator==(KZString const & value) { return AssignKZString(Equal, value); }
    KZCondition & operator==(KZDateTime const & value) { return AssignKZDateTime(Equal, value); }
    KZCondition & operator!=(int value) { return AssignInt(NotEqual, value); }
    KZCondition & operator!=(std::int64_t value) { return AssignInt64(NotEqual, value); }
    KZCondition & operator!=(double value) { return AssignDouble(NotEqual, KZDouble(value)); }
    KZCondition & operator!=(KZDouble const & value) { return AssignDouble(NotEqual, value); }
    KZCondition & operator!=(KZString const & value) { return AssignKZString(NotEqual, value); }
    KZCondition & operator!=(KZDateTime const & value) { return AssignKZDateTime(NotEqual, value); }
    KZCondition & operator<(int value) { return AssignInt(Less, value); }
    KZCondition & operator<(std::int64_t value) { return AssignInt64(Less, value); }
    KZCondition & operator<(double value) { return AssignDouble(Less, KZDouble(value)); }
    KZCondition & operator<(KZDouble const & value) { return AssignDouble(Less, value); }
    KZCondition & operator<(KZString const & value) { return AssignKZString(Less, value); }
    KZCondition & operator<(KZDateTime const & value) { return AssignKZDateTime(Less, value); }
    KZCondition & operator<=(int value) { return AssignInt(LessOrEqual, value); }
    KZCondition & operator<=(std::int64_t value) { return AssignInt64(LessOrEqual, value); }
    KZCondition & operator<=(double value) { return AssignDouble(LessOrEqual, KZDouble(value)); }
    KZCondition & operator<=(KZDouble const & value) { return AssignDouble(LessOrEqual, value); }
    KZCondition & operator<=(KZString const & value) { return AssignKZString(LessOrEqual, value); }
    KZCondition & operator<=(KZDateTime const & value) { return AssignKZDateTime(LessOrEqual, value); }
    KZCondition & operator>(int value) { return AssignInt(Greater, value); }
    KZCondition & operator>(std::int64_t value) { return AssignInt64(Greater, value); }
    KZCondition & operator>(double value) { return AssignDouble(Greater, KZDouble(value)); }
    KZCondition & operator>(KZDouble const & value) { return AssignDouble(Greater, value); }
    KZCondition & operator>(KZString const & value) { return AssignKZString(Greater, value); }
    KZCondition & operator>(KZDateTime const & value) { return AssignKZDateTime(Greater, value); }
    KZCondition & operator>=(int value) { return AssignInt(GreaterOrEqual, value); }
    KZCondition & operator>=(std::int64_t value) { return AssignInt64(GreaterOrEqual, value); }
    KZCondition & operator>=(double value) { return AssignDouble(GreaterOrEqual, KZDouble(value)); }
    KZCondition & operator>=(KZDouble const & value) { return AssignDouble(GreaterOrEqual, value); }
    KZCondition & operator>=(KZString const & value) { return AssignKZString(GreaterOrEqual, value); }
    KZCondition & operator>=(KZDateTime const & value) { return AssignKZDateTime(GreaterOrEqual, value); }
    KZCondition & AssignInt(int op, int value) { return AssignDouble(op, KZDouble(value)); }
    /// Kept as a double, exact to 2^53.
    KZCondition & AssignInt64(int op, std::int64_t value) {
        return AssignDouble(op, KZDouble(static_cast<double>(value)));
    }
    KZCondition & AssignDouble(int op, KZDouble const & value);
    KZCondition & AssignKZString(int op, KZString const & value);
    KZCondition & AssignKZDateTime(int op, KZDateTime const & value);
    /// Equal to, and not equal to, a pattern.
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
    /// Whether the condition holds; one with neither operator nor joined conditions does. Allocates nothing.
    [[nodiscard]] bool Evaluate(KZConditionParams const & params) const;

protected:
    [[nodiscard]] int GetOperatorValue() const noexcept { return operator_; }
    [[nodiscard]] int GetValueType() const noexcept { return valueType_; }
    [[nodiscard]] KZString const & GetName() const noexcept { return fieldName_; }
    [[nodiscard]] KZString const & GetStringValue() const noexcept { return string_; }
    [[nodiscard]] double GetNumberValue() const noexcept { return number_; }
    [[nodiscard]] KZDateTime const & GetDateValue() const noexcept { return date_; }

    /// Compiles the string value as a pattern. False when it is too large to compile.
    bool AsRegExp();
    /// For `OnEvaluate`: whether `text` matches the pattern, or, with the operator "not equal", doesn't; false without
    /// a pattern.
    [[nodiscard]] bool MatchRexExp(KZString const & text) const;
    /// Reads what `ToString(true)` wrote. False, without a change, for anything else.
    bool FromNativeString(KZString const & text);

private:
    class NativeReader;
    using SubCondition = std::pair<int, KZSmartPtr<KZCondition>>;

    KZCondition & Join(int connective, KZCondition const & other);
    void SetValue(int op, int type);
    [[nodiscard]] bool Has(int connective) const noexcept;
    bool ReadTerm(std::u16string_view & rest);
    bool ReadDate(std::u16string_view call);
    void AppendText(KZString & out) const;
    void AppendNative(KZString & out) const;

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
