/// @file
/// The reader of the Unicode character database.
///
///     KZUnicode::CharSetInfo info;
///     if (!KZUnicodeInfoReader::Read(info, "UnicodeData.txt")) return;    // there is no such file
///     std::cout << info[u'A'].name << '\n';                               // LATIN CAPITAL LETTER A
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZUnicode.h"

#include <iosfwd>

/// Reads a file in the layout of the database's UnicodeData.txt: a line for each character, its fields between
/// semicolons.
///
/// Only the lower 16 bits of a code point count, so those above U+FFFF overwrite the records of other units; to avoid
/// that, pass a file without them. Fields that a line doesn't have are empty or 0. A line that doesn't start with a
/// number is skipped. A line of 4,096 characters or more ends the reading, without an error.
///
/// Thread safety: may be called from any thread, if each passes its own `info`.
class KZ_EXPORT KZUnicodeInfoReader {
public:
    KZUnicodeInfoReader() = delete;

    /// Resets `info` and fills it from the file of that name. Returns false only if there is no such file.
    /// Errors: std::ios_base::failure when the file exists but can't be opened, or can't be read to its end; `info`
    /// then holds what was read before. std::bad_alloc.
    static bool Read(KZUnicode::CharSetInfo & info, char const * fileName);
    /// The same, reading from a stream.
    static void Read(KZUnicode::CharSetInfo & info, std::istream & stream);

private:
    static void Reset(KZUnicode::CharSetInfo & info);
    static void ReadLine(KZUnicode::CharSetInfo & info, char const * line);
    static long ReadLongValue(char const *& cursor);
    static unsigned long ReadHexValue(char const *& cursor);
    static std::string_view ReadStringField(char const *& cursor);
};
