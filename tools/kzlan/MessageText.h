/// @file
/// Messages as text: one a line, `number = text`, in UTF-8.
#pragma once

#include "ZerlithCore/text/KZString.h"

#include <string>
#include <string_view>
#include <vector>

/// A message and the line that it stands on, from 1.
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

/// Reads all lines. Blank ones, and those that begin with "#" or ";", are passed over; blanks around number and text don't
/// count. In a text `\n` is a line end, `\r` a carriage return, `\t` a tab, `\s` a blank (which one at an end of the text
/// needs), `\\` a backslash. A number has 32 bits and stands once. A byte-order mark is skipped.
///
/// What has something wrong with it goes into `complaints`, in the order of lines, and isn't among the messages.
std::vector<TextMessage> ReadMessages(std::string_view bytes, std::vector<Complaint> & complaints);

/// The line of a message, without its end, that `ReadMessages` reads back.
std::string PrintMessage(long id, KZString const & text);
