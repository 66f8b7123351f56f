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
    // The error may be of a class of the plug-in's.
    KZErrorID const failure = Attempt([&] { text = error.AsString(); });
    WriteErrorLine(failure.Bad() ? failure.AsString() : text);
    return error;
}

KZErrorID KZDetail::ErrorOfException() { return KZErrorID(new KZErrorString(TextOfException())); }

void KZDetail::TellException() noexcept {
    try {
        WriteErrorLine(TextOfException());
    } catch (...) {
        // There is no memory to say so.
    }
}
