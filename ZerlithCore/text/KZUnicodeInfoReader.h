/// @file
/// The reader of the Unicode character database.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZUnicode.h"

#include <iosfwd>

/// Reads a file in the layout of the database's UnicodeData.txt: a line for each character, its fields between semicolons.
///
/// Code points are taken by their lower 16 bits, so those above U+FFFF overwrite the records of other units: callers that
/// don't want them pass a file without them. Fields that a line doesn't have are empty or 0; a line that starts with no
/// number is passed over; one of 4,096 characters or more ends the reading.
///
/// Thread safety: callable from any thread, each with an `info` of its own.
class KZ_EXPORT KZUnicodeInfoReader {
public:
    KZUnicodeInfoReader() = delete;

    /// Resets `info` and fills it from the file of that name. False only when there is no such file.
    /// Errors: std::ios_base::failure when the file is there and can't be opened, or not be read to its end; `info`
    /// then holds what came before.
    static bool Read(KZUnicode::CharSetInfo & info, char const * fileName);
    /// The same from a stream.
    static void Read(KZUnicode::CharSetInfo & info, std::istream & stream);

private:
    static void Reset(KZUnicode::CharSetInfo & info);
    static void ReadLine(KZUnicode::CharSetInfo & info, char const * line);
    static long ReadLongValue(char const *& cursor);
    static unsigned long ReadHexValue(char const *& cursor);
    static std::string_view ReadStringField(char const *& cursor);
};
