/// @file
/// Languages by number, and the one that the calling thread wants its messages in.
#pragma once

#include "ZerlithCore/KZExport.h"

#include <string_view>

namespace KZPlatform {

/// The neutral language: that of the thread. 0 means the same.
inline constexpr long neutralLanguage = 1024;
/// English as in the United States: what is taken when nothing else is known.
inline constexpr long englishLanguage = 1033;

[[nodiscard]] constexpr bool IsNeutralLanguage(long language) noexcept { return (language & 0x3FF) == 0; }

/// The language of this thread: what `SetThreadLanguage` set, else that of the user (LC_ALL, LC_MESSAGES or LANG, as
/// they were at the first question). Never neutral.
[[nodiscard]] KZ_EXPORT long ThreadLanguage() noexcept;
/// Sets it for this thread; a neutral language goes back to that of the user.
KZ_EXPORT void SetThreadLanguage(long language) noexcept;

/// The number of the language of a locale's name: 1036 for "fr_FR.UTF-8" and "fr", 1033 for "C" and what is unknown.
[[nodiscard]] long LanguageOfLocale(std::string_view name) noexcept;
/// The name of a locale with that language, "fr_FR.UTF-8"; "C" where none is known.
[[nodiscard]] char const * LocaleOfLanguage(long language) noexcept;

} // namespace KZPlatform
