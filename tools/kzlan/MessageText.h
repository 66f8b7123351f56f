/// @file
/// Messages as text in UTF-8: one message for each line, as `number = text`.
#pragma once

#include "ZerlithCore/text/KZString.h"

#include <string>
#include <string_view>
#include <vector>

/// A message and the number of its line, from 1.
struct TextMessage {
    long id;
    KZString text;
    std::size_t line;
};

/// What is wrong with a line.
struct Complaint {
    std::size_t line;
    std::string what;
};

/// Reads all lines. Empty lines, and those that begin with "#" or ";", are skipped. Blanks around number and text are ignored.
/// In a text `\n` is a line end, `\r` a carriage return, `\t` a tab, `\\` a backslash, and `\s` a blank, which is needed only at
/// the beginning or the end of a text. A number has 32 bits and may occur only once. A byte-order mark is skipped.
///
/// A line with an error isn't among the messages; `complaints` says what is wrong, in the order of lines.
std::vector<TextMessage> ReadMessages(std::string_view bytes, std::vector<Complaint> & complaints);

/// The line from which `ReadMessages` reads this message, without its line end.
std::string PrintMessage(long id, KZString const & text);
