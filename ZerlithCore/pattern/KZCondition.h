/// @file
/// Conditions on named fields that a person can type.
///
///     struct LineParams : KZConditionParams { int level = 3; };
///     class LineCondition : public KZCondition {
///     public:
///         KZSmartPtr<KZCondition> NewChild() override { return new LineCondition; }
///         bool OnEvaluate(KZConditionParams const & params) const override {
///             int const level = static_cast<LineParams const &>(params).level;
///             return GetName() == u"level" && GetOperatorValue() == GreaterOrEqual && level >= GetNumberValue();
///         }
///     };
///     LineCondition condition;
///     bool const holds = condition.FromString(u"level >= 3 AND level >= 2") && condition.Evaluate(LineParams());
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

/// The data on which a condition is evaluated. A class derived from KZCondition needs a class derived from this one.
///
/// Thread safety: as the derived class.
class KZ_EXPORT KZConditionParams {
public:
    virtual ~KZConditionParams();
};

/// A comparison of a named field with a value, and conditions joined to it by AND and OR.
///
/// The library doesn't know the values of fields: a derived class looks them up in `OnEvaluate`. Conditions that are
/// joined to one are evaluated from left to right; AND has no precedence over OR. In a text everything after an AND or
/// OR is joined to the term before it: "a = 1 AND b = 2 OR c = 3" is a = 1 AND (b = 2 OR c = 3). Conditions are
/// counted; a copy shares the joined ones, which don't change any more.
///
/// Parentheses in a text may nest 1,000 deep; deeper ones are refused. Any number of terms may be joined by AND and OR:
/// no operation recurses into them.
///
/// Errors: functions that change or print a condition throw std::bad_alloc.
///
/// Thread safety: one thread builds a condition; after that any number of threads may evaluate it.
class KZ_EXPORT KZCondition {
public:
    /// The comparison. A pattern has `Equal` or `NotEqual`, and the value type `Pattern`.
    enum Operator : int { NoOperator, Less, LessOrEqual, Equal, NotEqual, GreaterOrEqual, Greater };
    /// The type of the value that the field is compared with.
    enum ValueType : int { NoValue, String, Number, Date, Pattern, PlainText };
    /// How a condition is joined to the ones before it.
    enum Connective : int { Or, And };

    KZCondition();
    /// Reads `text` as `FromString` does; of a wrong text the part before the error is kept. This constructor can't
    /// call the `FromString` of a derived class: the constructor of that class must do so.
    explicit KZCondition(KZString const & text);
    KZCondition(KZCondition const & other);
    KZCondition & operator=(KZCondition const & other);
    virtual ~KZCondition();

    // --- For derived classes to override. The three functions with an `out` append to it.

    virtual void GetFieldName(KZString & out) const;
    /// Makes a new condition of the same class, which will be joined to this one.
    [[nodiscard]] virtual KZSmartPtr<KZCondition> NewChild();
    /// Sets the field name. Returns false to refuse the name.
    virtual bool AssignFieldName(KZString const & name);
    /// Reads a condition as a person types it, or as `ToString(true)` wrote it; blanks alone change nothing. Returns
    /// false for any other text: the part before the error is kept, but a text of `ToString(true)` with an error
    /// changes nothing. This function is called for the whole text only. Its parts are read into conditions that
    /// `NewChild` makes, with the functions below. Errors: std::bad_alloc, and what those functions throw; the members
    /// of this class are then unchanged.
    virtual bool FromString(KZString const & text);
    /// Compares the field with the value. Returns false unless a derived class overrides it.
    [[nodiscard]] virtual bool OnEvaluate(KZConditionParams const & params) const;
    /// Sets the operator: "<", "<=", "=", "!=", ">=", ">", or "%" and "/=" for patterns. Returns false, and sets no
    /// operator, for any other text.
    virtual bool AssignOperatorFromStr(bool & isPattern, KZString const & text);
    /// Sets the value: a number, TO_DATE(...), a pattern, or a text with or without quotes.
    virtual bool AssignSuppliedValueFromStr(bool isPattern, KZString const & text);
    /// Called after a value was read. Returns false to refuse it.
    virtual bool PostAssignSuppliedValue();
    virtual void GetOperator(KZString & out) const;
    virtual void GetSuppliedValue(KZString & out) const;
    /// Becomes a copy of `other`, and shares its joined conditions.
    virtual void LocalCopy(KZCondition const & other);

    // --- Counting

    unsigned long AddRef() const noexcept { return count_.Increment(); }
    unsigned long Release() const;
    [[nodiscard]] unsigned long NbRef() const noexcept { return count_.Get(); }

    // --- Building: each function sets the operator and the value, and returns this condition. Numbers of all types
    // become a double, which is exact up to 2^53; a unit becomes a text.

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
    /// The field matches, or doesn't match, a pattern. Errors: std::bad_alloc, also for a pattern that is too large to
    /// compile; the condition is then unchanged.
    KZCondition & operator%(KZString const & pattern);
    KZCondition & operator/=(KZString const & pattern);
    /// Joins a copy of `other` by AND, or OR.
    KZCondition & operator&(KZCondition const & other) { return Join(And, other); }
    KZCondition & operator||(KZCondition const & other) { return Join(Or, other); }
    void ClearSubCondV() { subConditions_.clear(); }

    // --- Questions

    [[nodiscard]] KZString GetFieldName() const;
    [[nodiscard]] std::size_t GetSubCondCount() const noexcept { return subConditions_.size(); }
    /// True when there is no field name and no joined condition.
    [[nodiscard]] bool IsNull() const noexcept { return fieldName_.IsNull() && subConditions_.empty(); }
    [[nodiscard]] bool IsRegularExpression() const noexcept { return valueType_ == Pattern; }
    [[nodiscard]] bool HasOr() const noexcept { return Has(Or); }
    [[nodiscard]] bool HasAnd() const noexcept { return Has(And); }
    /// True for a text that starts with "@@".
    [[nodiscard]] static bool IsNativeFormat(KZString const & text);
    /// Prints the condition as a person types it, or, when `native`, in a form from which `FromString` makes the same
    /// tree.
    [[nodiscard]] KZString ToString(bool native) const;
    /// Returns whether the condition holds; one with neither operator nor joined conditions does. Allocates memory only
    /// where more than 32 parentheses nest, each followed by another term.
    [[nodiscard]] bool Evaluate(KZConditionParams const & params) const;

protected:
    [[nodiscard]] int GetOperatorValue() const noexcept { return operator_; }
    [[nodiscard]] int GetValueType() const noexcept { return valueType_; }
    [[nodiscard]] KZString const & GetName() const noexcept { return fieldName_; }
    [[nodiscard]] KZString const & GetStringValue() const noexcept { return string_; }
    [[nodiscard]] double GetNumberValue() const noexcept { return number_; }
    [[nodiscard]] KZDateTime const & GetDateValue() const noexcept { return date_; }

    /// Compiles the string value as a pattern. Returns false when it is too large to compile (docs/patterns.md).
    bool AsRegExp();
    /// For `OnEvaluate`: returns whether `text` matches the pattern, or, with the operator `NotEqual`, whether it
    /// doesn't; false without a pattern.
    [[nodiscard]] bool MatchRexExp(KZString const & text) const;
    /// Reads what `ToString(true)` wrote. Returns false, and changes nothing, for any other text.
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
    /// Swaps everything but the reference counts.
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
