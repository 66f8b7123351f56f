/// @file
/// The result of an operation that can fail: an identifier that is passed by value and is null for success.
///
///     KZString text;
///     KZErrorID const id = text.SetFromUTF8("caf\xC3\xA9");
///     if (id.Bad()) std::wclog << id.AsString() << L'\n';
#pragma once

#include "ZerlithCore/foundation/KZObject.h"
#include "ZerlithCore/text/KZString.h"

class KZDateTime;
class KZDouble;
class KZExecContext;
class KZFormatContext;

/// The base of all error objects. An error has a code, a severity, a text, and parameters that the text refers to.
///
/// Error objects are immutable once they are wrapped in a KZErrorID, and may then be read from any thread.
class KZ_EXPORT KZErrorI : public KZObjectI {
public:
    /// The library itself makes errors of severity 1 only.
    enum Severity : int { SeverityNone = 0, SeverityError = 1 };

    /// The types of parameters. They are the types that `KZErrorWithArgs::AddParam` and `GetParam` take.
    enum ErrorParamType : int {
        ParamNone = 0,
        ParamDouble = 1,
        ParamInt = 2,
        ParamLong = 3,
        ParamString = 4,
        ParamDateTime = 5,
        ParamKZDouble = 6
    };

    /// The number of this interface.
    static constexpr int Iuid = 3;

    KZErrorI(long code, Severity severity) noexcept : code_(code), severity_(severity) {}
    ~KZErrorI() override;

    /// `Iuid`.
    int GetIUID() const override;
    bool IsKindOf(int iuid) const override;
    KZSmartPtr<KZObjectI> QueryInterface(int iuid) const override = 0;

    /// Puts the text in the language of `context` into `out`. Errors: those of the message source.
    virtual KZErrorID AsString(KZString & out, KZFormatContext const & context) const = 0;
    virtual unsigned int GetParameterCount() const;
    /// `ParamNone` when `index` is out of range.
    virtual ErrorParamType GetParameterType(unsigned int index) const;
    /// The value itself, of the type that `GetParameterType` tells; null when out of range. Owned by the error.
    virtual void const * GetParameterValue(unsigned int index) const;
    /// The value as text; empty when out of range.
    virtual KZString GetParameterValueAsString(unsigned int index, KZExecContext const & context) const;

    [[nodiscard]] long GetCode() const noexcept { return code_; }
    [[nodiscard]] Severity GetSeverity() const noexcept { return severity_; }

protected:
    KZErrorI(KZErrorI const &) = default;
    KZErrorI & operator=(KZErrorI const &) = default;

private:
    long code_;
    Severity severity_;
};

/// The result of an operation that can fail: a shared pointer to an immutable error, null for success.
///
/// Success allocates nothing. An error with code 0 counts as success too, but has its text.
///
/// Thread safety: identifiers of one error may be copied and dropped on several threads.
class KZ_EXPORT KZErrorID {
public:
    /// The constant of success. Every integer makes an identifier of success as well; it is usually written `KZErrorID(0)`.
    enum DefaultConstant : int { Success = 0 };

    KZErrorID() noexcept = default;
    KZErrorID(DefaultConstant) noexcept {}
    explicit KZErrorID(int) noexcept {}
    KZErrorID(KZSmartPtrToConst<KZErrorI> error) noexcept : error_(std::move(error)) {}
    /// Holds `error`, usually a new object; null means success.
    KZErrorID(KZErrorI const * error) : error_(error) {}

    KZErrorID & operator=(DefaultConstant) {
        error_.Clear();
        return *this;
    }

    /// 0 for null, else the error's code. So a condition is true for an error, as with `std::error_code`: `if (error) ...`
    operator int() const noexcept { return error_.IsNull() ? 0 : static_cast<int>(error_->GetCode()); }

    [[nodiscard]] bool Good() const noexcept { return error_.IsNull() || error_->GetCode() == 0; }
    [[nodiscard]] bool IsSuccess() const noexcept { return Good(); }
    [[nodiscard]] bool Bad() const noexcept { return !Good(); }

    /// The error itself, to choose a language or read parameters; null for success.
    KZSmartPtrToConst<KZErrorI> const & operator->() const noexcept { return error_; }

    /// "SUCCESS" for null; else the error's text in the default language, date format and zone.
    [[nodiscard]] KZString AsString() const;

private:
    KZSmartPtrToConst<KZErrorI> error_;
};

/// By the code, as `==` compares identifiers.
template <>
struct std::hash<KZErrorID> {
    std::size_t operator()(KZErrorID const & value) const noexcept { return std::hash<int>()(value); }
};
