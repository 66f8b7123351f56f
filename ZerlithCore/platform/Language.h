/// @file
/// Languages by number, and the language in which the calling thread wants its messages.
#pragma once

#include "ZerlithCore/KZExport.h"

#include <string_view>

namespace KZPlatform {

/// Stands for the language of the thread. So does 0.
inline constexpr long neutralLanguage = 1024;
/// English as in the United States; used when nothing else is known.
inline constexpr long englishLanguage = 1033;

[[nodiscard]] constexpr bool IsNeutralLanguage(long language) noexcept { return (language & 0x3FF) == 0; }

/// The language of this thread: the one given to `SetThreadLanguage`, otherwise that of the user (LC_ALL, LC_MESSAGES
/// or LANG, as they were at the first call). Never the neutral one.
[[nodiscard]] KZ_EXPORT long ThreadLanguage() noexcept;
/// Sets the language of this thread; the neutral one sets it back to that of the user.
KZ_EXPORT void SetThreadLanguage(long language) noexcept;

/// The number of a locale's language: 1036 for "fr_FR.UTF-8" and for "fr", 1033 for "C" and for an unknown name.
[[nodiscard]] long LanguageOfLocale(std::string_view name) noexcept;
/// The name of a locale with that language, such as "fr_FR.UTF-8"; "C" when none is known.
[[nodiscard]] char const * LocaleOfLanguage(long language) noexcept;

} // namespace KZPlatform
