/// @file
/// Keeps the host alive when a plug-in throws or faults.
#pragma once

#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/text/KZString.h"

#include <exception>
#include <ostream>

namespace KZDetail {

/// Writes "ERR> ***" and `text` as a line of its own to the application's console stream.
inline void WriteErrorLine(KZString const & text) {
    KZLockedCOUT console;
    console.GetCout(1) << L"ERR> ***" << text << std::endl;
}

/// Calls `call`; an exception's text becomes an error line. Tells whether the call came back by itself.
template <class Call>
bool CallGuarded(Call && call) {
    try {
        call();
        return true;
    } catch (KZException const & exception) {
        WriteErrorLine(exception.What());
    } catch (std::exception const & exception) {
        KZString text;
        text.Format(u"%S", exception.what());
        WriteErrorLine(text);
    } catch (...) {
        WriteErrorLine(u"unknown exception");
    }
    return false;
}

} // namespace KZDetail
