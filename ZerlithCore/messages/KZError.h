/// @file
/// The classes of error objects: an error with a message source, one with arguments, one with a fixed text, and the system's
/// last error.
///
///     KZErrorWithArgs * error = new KZErrorWithArgs(glbKZOREMsgSourceP, 14, KZErrorI::SeverityError);
///     error->AddParam(KZString(u"Report"));
///     return KZErrorID(error);
#pragma once

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/messages/KZMessageSource.h"

#include <vector>

/// An error whose text is made by its message source, when somebody asks for it, in the language that is asked for.
///
/// Thread safety: as KZErrorI.
class KZ_EXPORT KZError : public KZCounted<KZError, KZErrorI> {
public:
    /// The number of this class for `QueryInterface`; `GetIUID` returns that of KZErrorI.
    static constexpr int Iuid = 8;

    /// Requires: `source` isn't null.
    KZError(KZSmartPtrToConst<KZMessageSource> const & source, long code, Severity severity = SeverityError);
    /// Copies the code, the severity and the source; the copy has count 0.
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

    /// Appends a copy of `value` and returns its index; the first argument has index 0. A tiny KZDouble may become 0 when it is
    /// copied (KZDouble.h).
    unsigned int AddParam(double const & value);
    unsigned int AddParam(int const & value);
    unsigned int AddParam(long const & value);
    unsigned int AddParam(KZString const & value);
    unsigned int AddParam(KZDateTime const & value);
    unsigned int AddParam(KZDouble const & value);

    /// Copies the argument `index` to `out`. Returns false and leaves `out` alone when there is no such argument, or when it has
    /// another type.
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

/// An error with a fixed text. Its code is -1 and its severity 1, so it is always bad.
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

/// The last error of the system on this thread at the time of construction. The code is the system's error number, and the
/// text is the system's. Make the object before you call anything else that may fail and so replace the last error.
class KZ_EXPORT KZWinLastError : public KZError {
public:
    KZWinLastError();
};

/// The source of the library's own messages. It is set when the library is loaded and never destroyed, so constructors and
/// destructors of static objects may use it.
extern KZ_EXPORT KZSmartPtrToConst<KZMessageSource> glbKZOREMsgSourceP;
