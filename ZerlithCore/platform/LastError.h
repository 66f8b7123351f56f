/// @file
/// The last error of the calling thread: a number of the system's, and its text.
///
///     if (!OpenLogFile(path)) throw KZWindowsLastErrorException();   // the seam has set the number, errno's EACCES say
///
/// Every function of the seam that fails sets the number. It has the values of `errno` here, but is a place of its
/// own: what succeeds in between, memory allocation say, leaves it alone.
#pragma once

#include <optional>
#include <string>

namespace KZPlatform {

/// The number that the last failing function of the seam set on this thread; 0 when none did.
[[nodiscard]] int LastErrorNumber() noexcept;
void SetLastErrorNumber(int number) noexcept;

/// Makes `text` the last error of this thread, for a failure that has a text and no number, as those of the loader of
/// modules. It gets a private number, at and above 0x20000000, which `ErrorText` understands on every thread. Equal
/// texts have equal numbers. The last 256 texts are kept.
void SetLastErrorText(std::u16string_view text);

/// The text of error `number`, without a line end, in the language `language` where the system has it and in English
/// where it hasn't. 1024, the neutral language, is that of the thread. Nothing for a number that the system doesn't know.
[[nodiscard]] std::optional<std::u16string> ErrorText(int number, long language = 1024);

} // namespace KZPlatform
