/// @file
/// The library's own errors: the numbers of its messages, and the function that makes an error of one. Not installed.
///
/// An error object holds the source of its text, and texts need the calendar, which is above these rooms. So both functions
/// are declared here and defined in `messages/KZOwnMessages.cpp`, beside the table of the texts.
#pragma once

#include "ZerlithCore/text/KZString.h"

#include <initializer_list>
#include <variant>

namespace KZDetail {

/// The numbers of the library's own messages. Users know them, so none ever changes.
enum class OwnMessage : long {
    OneLanguageOnly = 1,
    InvalidLanguage = 2,
    NoFileName = 3,
    InvalidCodePage = 4,
    NoSuchMessage = 5,
    NoMessageFile = 6,
    CantConvertDate = 7,
    DateOfAnotherFormat = 8,
    InvalidDate = 9,
    InvalidConverter = 10,
    UnsupportedCharacters = 11,
    IdentityInUse = 12,
    DependencyFailed = 13,
    NoSuchDependency = 14,
    ThreadStarted = 15,
    BenchmarkMissed = 16,
    InvalidIsoDate = 17
};

/// What a template of the library's own messages refers to.
using OwnArgument = std::variant<KZString, long>;

/// An error with the library's own message `message`. `arguments` go into its template.
/// Errors: std::bad_alloc.
[[nodiscard]] KZErrorID OwnError(OwnMessage message, std::initializer_list<OwnArgument> arguments = {});

/// An error with the number and the text of the system's last error on this thread.
/// Errors: std::bad_alloc.
[[nodiscard]] KZErrorID LastSystemError();

} // namespace KZDetail
