/// @file
/// The last error of the calling thread: a number of the system's, and its text.
///
///     if (!OpenLogFile(path)) throw KZWindowsLastErrorException();   // the seam has set the number, such as EACCES
///
/// Every function of the seam that fails sets the number. On this system the number has the values of `errno`, but it
/// is kept apart from it: functions that succeed, and the C runtime, leave it alone.
#pragma once

#include <optional>
#include <string>

namespace KZPlatform {

/// The number that the last failing function of the seam set on this thread; 0 before the first failure.
[[nodiscard]] int LastErrorNumber() noexcept;
void SetLastErrorNumber(int number) noexcept;

/// Makes `text` the last error of this thread. It is for a failure that has a text and no number, such as one of the
/// loader of modules. The text gets a private number, 0x20000000 or above, for which `ErrorText` returns the text on
/// every thread. Equal texts have equal numbers. The last 256 texts are kept.
void SetLastErrorText(std::u16string_view text);

/// The text of error `number`, without a line end: in `language` where the system has that, otherwise in English.
/// 1024, the neutral language, stands for that of the thread. Nothing for a number that the system doesn't know.
[[nodiscard]] std::optional<std::u16string> ErrorText(int number, long language = 1024);

} // namespace KZPlatform
