/// @file
/// The console: the standard output as a wide stream that needs no locale.
///
///     KZGetConsole() << KZString(u"Grüße") << L'\n' << std::flush;
#pragma once

#include "ZerlithCore/KZExport.h"

#include <iosfwd>

/// The library's one stream on the standard output. It exists from its first use to the end of the process.
///
/// Text goes out as UTF-8 through the C runtime's `stdout`, with no buffer in between: it keeps its order with
/// `printf` and `std::cout`, and a flush flushes `stdout`. A lone surrogate comes out as U+FFFD. Numbers are written the
/// classic way, whatever the global locale is.
///
/// Thread safety: characters written from several threads arrive whole, but the stream's own state (width, flags,
/// errors) is shared: go through KZLockedCOUT.
[[nodiscard]] KZ_EXPORT std::wostream & KZGetConsole();
