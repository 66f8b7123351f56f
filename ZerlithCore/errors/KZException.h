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
/// The text may contain the marker "###***###". The part before it is a complete report, and the part after it is the message
/// for the user. Recording the stack is slow: it is walked while a lock of the process is held. Where exceptions are
/// frequent, `noStack` or the environment variable KZ_DISABLE_STACK turns it off.
///
/// Thread safety: `what` and `LogInErrorFile` of one object must not be called on two threads at once.
class KZ_EXPORT KZException : public std::exception {
public:
    /// Whether an exception that has been logged before is logged again: `LogAlways` logs it again.
    enum LogOpt : int { LogOnce = 0, LogAlways = 1 };

    explicit KZException(KZString const & message, bool noStack = false);
    KZException(KZException const & other);
    KZException & operator=(KZException const & other);
    ~KZException() override;

    /// The message for the user as UTF-8, valid until the next call.
    char const * what() const noexcept override;
    /// The message for the user; valid as long as the exception.
    virtual char16_t const * What() const noexcept;
    /// Writes the report to the console, under its lock, if the trace level isn't 0. An object is logged once only, unless
    /// `option` is `LogAlways`.
    virtual void LogInErrorFile(LogOpt option = LogOnce) const;

    [[nodiscard]] KZString const & Stack() const noexcept { return stack_; }

protected:
    /// Takes the report, the message for the user and the stack from `dump`.
    explicit KZException(KZStackDump & dump);
    /// The part of the text before the marker; empty when the text has no marker.
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
    /// Takes the last error of the calling thread.
    KZWindowsLastErrorException();
    KZWindowsLastErrorException(KZWindowsLastErrorException const & other);
    ~KZWindowsLastErrorException() override;

    [[nodiscard]] unsigned long GetErrorNumber() const noexcept { return error_; }

private:
    explicit KZWindowsLastErrorException(int error);

    unsigned long error_;
};

/// An exception whose text is that of a code of a message source.
class KZ_EXPORT KZMsgException : public KZException {
public:
    KZMsgException(long code, KZSmartPtr<KZMessageSource> const & source);
    KZMsgException(KZMsgException const & other);
    ~KZMsgException() override;
};
