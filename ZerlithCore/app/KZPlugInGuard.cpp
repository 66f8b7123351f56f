// Turns an exception from a plug-in into an error with its text, and writes the error line.
#include "ZerlithCore/app/detail/KZPlugInGuard.h"

#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/messages/KZError.h"

#include <exception>
#include <ostream>

namespace {

KZString TextOfException() {
    try {
        throw;
    } catch (KZException const & exception) {
        return exception.What();
    } catch (std::exception const & exception) {
        KZString text;
        text.Format(u"%S", exception.what());
        return text;
    } catch (...) {
        return u"unknown exception";
    }
}

} // namespace

void KZDetail::WriteErrorLine(KZString const & text) {
    KZLockedCOUT console;
    console.GetCout(1) << L"ERR> ***" << text << std::endl;
}

KZErrorID KZDetail::Report(KZErrorID const & error) {
    KZString text;
    // The plug-in may have defined the class of the error, so asking for its text may throw.
    KZErrorID const failure = Attempt([&] { text = error.AsString(); });
    WriteErrorLine(failure.Bad() ? failure.AsString() : text);
    return error;
}

KZErrorID KZDetail::ErrorOfException() { return KZErrorID(new KZErrorString(TextOfException())); }

void KZDetail::TellException() noexcept {
    try {
        WriteErrorLine(TextOfException());
    } catch (...) {
        // There is no memory for the report.
    }
}
