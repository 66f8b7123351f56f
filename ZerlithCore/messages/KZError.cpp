// The error objects with a message source, with a fixed text, and of the system. KZErrorWithArgs.cpp has the one with
// arguments.
#include "ZerlithCore/messages/KZError.h"

#include "ZerlithCore/messages/KZFormatContext.h"
#include "ZerlithCore/platform/LastError.h"

// --- KZErrorID. Its text needs a format context, so this function is defined here, not in the room of errors.

KZString KZErrorID::AsString() const {
    if (error_.IsNull()) return u"SUCCESS";
    KZString text;
    static_cast<void>(error_->AsString(text, KZFormatContext()));
    return text;
}

// --- KZError

KZError::KZError(KZSmartPtrToConst<KZMessageSource> const & source, long code, Severity severity)
    : KZCounted(code, severity), formatter_(source) {}

KZError::KZError(KZError const & other) = default;

KZError & KZError::operator=(KZError const & other) = default;

KZError::~KZError() = default;

KZSmartPtr<KZObjectI> KZError::QueryInterface(int iuid) const {
    if (iuid == Iuid) return KZSmartPtr<KZObjectI>(const_cast<KZError *>(this));
    return KZObjectI::QueryInterface(iuid);
}

KZErrorID KZError::AsString(KZString & out, KZFormatContext const & context) const {
    return formatter_->AsString(out, KZSmartPtrToConst<KZErrorI>(this), context);
}

// --- KZErrorString

KZErrorString::KZErrorString(KZString const & text) : KZCounted(-1, SeverityError), text_(text) {}

KZErrorString::KZErrorString() : KZCounted(0, SeverityError) {}

KZErrorString::~KZErrorString() = default;

KZSmartPtr<KZObjectI> KZErrorString::QueryInterface(int iuid) const {
    return KZObjectI::QueryInterface(iuid);
}

KZErrorID KZErrorString::AsString(KZString & out, KZFormatContext const &) const {
    out = text_;
    return KZErrorID(0);
}

// --- KZWinLastError

KZWinLastError::KZWinLastError()
    : KZError(KZSmartPtrToConst<KZMessageSource>(new RCMessageTableSource(nullptr)),
              KZPlatform::LastErrorNumber(), SeverityError) {}
