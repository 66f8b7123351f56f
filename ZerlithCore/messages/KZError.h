/// @file
/// The error objects: with a message source, with arguments, with a fixed text, and of the system.
///
///     KZErrorWithArgs * error = new KZErrorWithArgs(glbKZOREMsgSourceP, 14, KZErrorI::SeverityError);
///     error->AddParam(KZString(u"Report"));
///     return KZErrorID(error);
#pragma once

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/messages/KZMessageSource.h"

#include <vector>

/// An error whose text its message source makes, on demand, in the language then asked for.
///
/// Thread safety: as KZErrorI.
class KZ_EXPORT KZError : public KZCounted<KZError, KZErrorI> {
public:
    /// The number of this class for `QueryInterface`; `GetIUID` returns that of KZErrorI.
    static constexpr int Iuid = 8;

    /// Requires: `source` isn't null.
    KZError(KZSmartPtrToConst<KZMessageSource> const & source, long code, Severity severity = SeverityError);
    /// Copies code, severity and source; the copy's count is 0.
    KZError(KZError const & other);
    KZError & operator=(KZError const & other);
    ~KZError() override;

    /// Serves `KZErrorI::Iuid` and `Iuid`.
    KZSmartPtr<KZObjectI> QueryInterface(int iuid) const override;
    KZErrorID AsString(KZString & out, KZFormatContext const & context) const override;

    [[nodiscard]] KZSmartPtrToConst<KZMessageSource> const & GetFormatter() const noexcept {
        return formatter_;
    }

private:
    KZSmartPtrToConst<KZMessageSource> formatter_;
};

/// An error with typed arguments, which its template refers to.
///
/// Filled by `AddParam` before it is wrapped, read-only afterwards. Copies own deep copies of the arguments. It has a count of
/// its own; that of its base class KZError stays unused.
class KZ_EXPORT KZErrorWithArgs : public KZCounted<KZErrorWithArgs, KZError> {
public:
    static constexpr int Iuid = 9;

    KZErrorWithArgs(KZSmartPtrToConst<KZMessageSource> const & source, long code,
                    Severity severity = SeverityError);
    KZErrorWithArgs(KZErrorWithArgs const & other);
    KZErrorWithArgs & operator=(KZErrorWithArgs const & other);
    ~KZErrorWithArgs() override;

    /// `Iuid`.
    int GetIUID() const override;
    /// Serves `Iuid` only.
    KZSmartPtr<KZObjectI> QueryInterface(int iuid) const override;
    KZErrorID AsString(KZString & out, KZFormatContext const & context) const override;
    unsigned int GetParameterCount() const override;
    ErrorParamType GetParameterType(unsigned int index) const override;
    void const * GetParameterValue(unsigned int index) const override;
    KZString GetParameterValueAsString(unsigned int index, KZExecContext const & context) const override;

    /// Appends a copy of `value`; returns the new argument's index, from 0. A KZDouble is copied by its zeroing rule.
    unsigned int AddParam(double const & value);
    unsigned int AddParam(int const & value);
    unsigned int AddParam(long const & value);
    unsigned int AddParam(KZString const & value);
    unsigned int AddParam(KZDateTime const & value);
    unsigned int AddParam(KZDouble const & value);

    /// Copies argument `index` to `out`. False, with `out` untouched, when there is none or it has another type.
    bool GetParam(double & out, unsigned int index) const;
    bool GetParam(int & out, unsigned int index) const;
    bool GetParam(long & out, unsigned int index) const;
    bool GetParam(KZString & out, unsigned int index) const;
    bool GetParam(KZDateTime & out, unsigned int index) const;
    bool GetParam(KZDouble & out, unsigned int index) const;

private:
    struct Storage;
    template <class T>
    unsigned int Append(T const & value);
    template <class T>
    bool Get(T & out, unsigned int index) const;

    std::vector<Storage> params_;
};

/// An error whose text is fixed: code -1, severity 1, so always bad.
class KZ_EXPORT KZErrorString : public KZCounted<KZErrorString, KZErrorI> {
public:
    explicit KZErrorString(KZString const & text);
    KZErrorString(KZErrorString const &) = default;
    KZErrorString & operator=(KZErrorString const &) = default;
    ~KZErrorString() override;

    KZSmartPtr<KZObjectI> QueryInterface(int iuid) const override;
    KZErrorID AsString(KZString & out, KZFormatContext const & context) const override;

protected:
    /// Code 0, severity 1, no text.
    KZErrorString();

private:
    KZString text_;
};

/// The system's last error on this thread, as the moment of construction found it: the code is its number, the text the
/// system's. Make it before anything else that may fail.
class KZ_EXPORT KZWinLastError : public KZError {
public:
    KZWinLastError();
};

/// The source of the library's own messages, set once when the library is loaded. It is there for all static objects of
/// the program, the destructors of which it outlives.
extern KZ_EXPORT KZSmartPtrToConst<KZMessageSource> glbKZOREMsgSourceP;
