/// @file
/// The base of all exceptions of the library.
///
///     try {
///         throw KZException(u"The plan store is closed");
///     } catch (KZException const & error) {
///         std::cerr << error.what() << '\n';
///     }
#pragma once

#include "ZerlithCore/text/KZString.h"

#include <exception>
#include <string>

class KZMessageSource;
class KZStackDump;

/// An exception with a text and the call stack of the place where it was made.
///
/// The marker "###***###" may stand in the text: in front of it is a complete report, behind it the message for the
/// user. Taking the stack is dear (a walk under a process-wide lock); `noStack`, or the environment variable
/// KZ_DISABLE_STACK, avoids it where exceptions are frequent.
///
/// Thread safety: `what` isn't for two threads on one object.
class KZ_EXPORT KZException : public std::exception {
public:
    /// 1: log even if logged before.
    enum LogOpt : int { LogOnce = 0, LogAlways = 1 };

    explicit KZException(KZString const & message, bool noStack = false);
    KZException(KZException const & other);
    KZException & operator=(KZException const & other);
    ~KZException() override;

    /// The message for the user as UTF-8, valid until the next call.
    char const * what() const noexcept override;
    /// The message for the user; valid as long as the exception.
    virtual char16_t const * What() const noexcept;
    /// Writes the report to the locked console when tracing is on: once for each object, or always with `LogAlways`.
    virtual void LogInErrorFile(LogOpt option = LogOnce) const;

    [[nodiscard]] KZString const & Stack() const noexcept { return stack_; }

protected:
    /// Takes report, short text and stack from `dump`.
    explicit KZException(KZStackDump & dump);
    /// What stands in front of the marker; nothing without one.
    [[nodiscard]] KZString Report() const;

private:
    KZString stack_;
    KZString message_;
    mutable std::string narrow_;
    mutable bool logged_ = false;
};

/// A failed call of the system: its error number and the system's text for it.
class KZ_EXPORT KZWindowsLastErrorException : public KZException {
public:
    /// Reads the thread's last error.
    KZWindowsLastErrorException();
    KZWindowsLastErrorException(KZWindowsLastErrorException const & other);
    ~KZWindowsLastErrorException() override;

    [[nodiscard]] unsigned long GetErrorNumber() const noexcept { return error_; }

private:
    explicit KZWindowsLastErrorException(int error);

    unsigned long error_;
};

/// The text of a code of a message source, thrown.
class KZ_EXPORT KZMsgException : public KZException {
public:
    KZMsgException(long code, KZSmartPtr<KZMessageSource> const & source);
    KZMsgException(KZMsgException const & other);
    ~KZMsgException() override;
};
