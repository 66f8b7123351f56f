/// @file
/// The console: the standard output as a wide stream that needs no locale.
///
///     KZGetConsole() << KZString(u"Grüße") << L'\n' << std::flush;
#pragma once

#include "ZerlithCore/KZExport.h"

#include <iosfwd>

/// The library's only stream on the standard output. It exists from its first use to the end of the process.
///
/// Text is written as UTF-8 through the C runtime's `stdout`, with no buffer in between. So it keeps its order with `printf`
/// and `std::cout`, and a flush flushes `stdout`. A lone surrogate is written as U+FFFD. Numbers are written as in the classic
/// locale, whatever the global locale is. Errors: the stream goes bad when the standard output refuses text.
///
/// Thread safety: characters written from several threads arrive whole. The stream's own state (width, flags, errors) is
/// shared, so hold a KZLockedCOUT while writing if several threads write.
[[nodiscard]] KZ_EXPORT std::wostream & KZGetConsole();
