/// @file
/// Keeps the host alive when a plug-in throws or faults.
#pragma once

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/text/KZString.h"

namespace KZDetail {

/// Writes "ERR> ***" and `text` as a line of its own to the application's console stream.
void WriteErrorLine(KZString const & text);
/// The same with the text of `error`, and returns the error.
KZErrorID Report(KZErrorID const & error);

/// An error with the text of the exception that is being handled.
[[nodiscard]] KZErrorID ErrorOfException();
/// Tells an exception that is being handled on the console, if there is memory for that.
void TellException() noexcept;

/// Calls `call`. An exception comes back as an error with its text.
template <class Call>
[[nodiscard]] KZErrorID Attempt(Call && call) {
    try {
        call();
        return KZErrorID(0);
    } catch (...) {
        return ErrorOfException();
    }
}

/// Calls `call`; an exception's text becomes an error line. Tells whether the call came back by itself.
template <class Call>
bool CallGuarded(Call && call) noexcept {
    try {
        call();
        return true;
    } catch (...) {
        TellException();
        return false;
    }
}

} // namespace KZDetail
