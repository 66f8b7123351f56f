/// @file
/// The console: the standard output as a wide stream that needs no locale.
///
///     KZGetConsole() << KZString(u"Grüße") << L'\n' << std::flush;
///     KZWriteToConsole(u"a whole line in one piece\n");
#pragma once

#include "ZerlithCore/KZExport.h"

#include <iosfwd>
#include <string_view>

/// The library's only stream on the standard output. It exists from its first use to the end of the process.
///
/// Text is written as UTF-8 through the C runtime's `stdout`, with no buffer in between. So it keeps its order with `printf`
/// and `std::cout`, and a flush flushes `stdout`. A lone surrogate is written as U+FFFD. Numbers are written as in the classic
/// locale, whatever the global locale is. Errors: the stream goes bad when the standard output refuses text.
///
/// Thread safety: characters written from several threads arrive whole. The stream's own state (width, flags, errors) is
/// shared, so hold a KZLockedCOUT while writing if several threads write.
[[nodiscard]] KZ_EXPORT std::wostream & KZGetConsole();

/// Writes `text` to the standard output as that stream does, 0 units included, but in one piece and without the stream's state.
/// False when the standard output refuses some of it. Errors: std::bad_alloc for texts of more than 512 units, and nothing of the
/// text is written. Thread safety: callable from any thread; texts don't mix.
KZ_EXPORT bool KZWriteToConsole(std::u16string_view text);
