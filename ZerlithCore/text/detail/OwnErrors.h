/// @file
/// Makes the library's own errors, for the rooms below `messages/`. An error object holds the source of its text, and
/// texts need the calendar, which is above these rooms. So both functions are declared here and defined in
/// `messages/KZOwnMessages.cpp`.
#pragma once

#include <initializer_list>

class KZErrorID;
class KZString;

namespace KZDetail {

/// An error with the library's own message number `code`. `arguments` go into its template.
/// Errors: std::bad_alloc.
[[nodiscard]] KZErrorID OwnError(long code, std::initializer_list<KZString> arguments = {});

/// An error with the number and the text of the system's last error on this thread.
/// Errors: std::bad_alloc.
[[nodiscard]] KZErrorID LastSystemError();

} // namespace KZDetail
