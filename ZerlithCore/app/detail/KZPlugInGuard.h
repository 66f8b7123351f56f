/// @file
/// Calls code of plug-ins so that the host survives when it throws or faults. Not installed.
#pragma once

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/text/KZString.h"

namespace KZDetail {

/// Writes "ERR> ***" and `text` as one line to the application's console stream.
void WriteErrorLine(KZString const & text);
/// The same with the text of `error`, and returns the error.
KZErrorID Report(KZErrorID const & error);

/// An error with the text of the exception that is being handled.
[[nodiscard]] KZErrorID ErrorOfException();
/// Writes the exception that is being handled to the console. Without memory for that it writes nothing.
void TellException() noexcept;

/// Calls `call`. If it throws, returns an error with the text of the exception.
template <class Call>
[[nodiscard]] KZErrorID Attempt(Call && call) {
    try {
        call();
        return KZErrorID(0);
    } catch (...) {
        return ErrorOfException();
    }
}

/// Calls `call`. If it throws, writes the text of the exception as an error line and returns false.
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
