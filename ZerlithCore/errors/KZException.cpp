// The base of exceptions and the exception of the system's last error. That of a message source is made in
// messages/KZMsgException.cpp. An exception that is being made must not be replaced by std::bad_alloc: what there is no memory
// for stays empty.
#include "ZerlithCore/errors/KZException.h"

#include "ZerlithCore/diagnostics/KZDebug.h"
#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/diagnostics/KZStackDump.h"
#include "ZerlithCore/diagnostics/KZTrace.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/platform/LastError.h"

#include <cstdlib>
#include <new>
#include <ostream>

namespace {

// Stands between the complete report and the message for the user.
constexpr char16_t const * reportMarker = u"###***###";
constexpr std::uint32_t markerUnits = 9;

KZString FromUtf8(std::string const & text) {
    KZString units;
    static_cast<void>(units.SetFromUTF8(text));
    return units;
}

/// The result of `make`; an empty text when there is no memory for it.
template <class Maker>
KZString TextOrNone(Maker make) {
    try {
        return make();
    } catch (std::bad_alloc const &) {
        return {};
    }
}

KZString TakeStack() {
    // The environment is read once, by the first exception that records a stack.
    static bool const isDisabled = std::getenv("KZ_DISABLE_STACK") != nullptr;
    if (isDisabled) return u"(Stack disabled - KZ_DISABLE_STACK is defined)";
    KZStackDump const dump;
    return FromUtf8(dump.GetStackText());
}

KZString SystemText(int error) {
    return TextOrNone([=] { return KZString(KZPlatform::ErrorText(error).value_or(std::u16string())); });
}

} // namespace

// --- KZException

KZException::KZException(KZString const & message, bool noStack) : message_(message) {
    if (!noStack) stack_ = TextOrNone(TakeStack);
}

KZException::KZException(KZStackDump & dump)
    : stack_(TextOrNone([&] { return FromUtf8(dump.GetStackText()); })), message_(TextOrNone([&] {
        return FromUtf8(dump.GetReport()) + reportMarker + FromUtf8(dump.GetExceptionText());
    })) {}

KZException::KZException(KZException const & other) = default;

KZException & KZException::operator=(KZException const & other) = default;

KZException::~KZException() = default;

char const * KZException::what() const noexcept {
    try {
        narrow_ = KZString(What()).AsUTF8();
        return narrow_.c_str();
    } catch (...) {
        return "KZException"; // no memory for the text
    }
}

char16_t const * KZException::What() const noexcept {
    std::uint32_t const marker = message_.Find(reportMarker);
    return marker == KZString::npos ? message_.c_str() : message_.c_str() + marker + markerUnits;
}

void KZException::LogInErrorFile(LogOpt option) const {
    if (logged_ && option != LogAlways) return;
    KZString report;
    if (GlbGetTraceLevel() != 0) {
        bool const isComposed = message_.Find(reportMarker) != KZString::npos;
        report = isComposed ? Report() : KZDebug::ComposeReport(message_, stack_);
    }
    logged_ = true;
    if (report.IsNull()) return;
    KZLockedCOUT const console;
    KZLockedCOUT::GetCout(1) << report << std::flush;
}

KZString KZException::Report() const {
    std::uint32_t const marker = message_.Find(reportMarker);
    return marker == KZString::npos ? KZString() : message_.SubStr(0, marker);
}

// --- KZWindowsLastErrorException

KZWindowsLastErrorException::KZWindowsLastErrorException()
    : KZWindowsLastErrorException(KZPlatform::LastErrorNumber()) {}

KZWindowsLastErrorException::KZWindowsLastErrorException(int error)
    : KZException(SystemText(error)), error_(static_cast<unsigned long>(error)) {}

KZWindowsLastErrorException::KZWindowsLastErrorException(KZWindowsLastErrorException const & other) = default;

KZWindowsLastErrorException::~KZWindowsLastErrorException() = default;

// --- KZMsgException

KZMsgException::KZMsgException(KZMsgException const & other) = default;

KZMsgException::~KZMsgException() = default;
