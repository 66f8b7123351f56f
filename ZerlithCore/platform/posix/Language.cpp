// Reads the user's language from the same environment variables, in the same order, as the C library does. setlocale
// isn't used, because the program's locale is the program's own choice.
#include "ZerlithCore/platform/Language.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace KZPlatform {

namespace {

struct Language {
    long number;
    char const * locale;
};

// Of several entries with one language, the first is used when no country is given: "en" is en_US.
constexpr Language languages[] = {
    {1033, "en_US.UTF-8"}, {2057, "en_GB.UTF-8"}, {3081, "en_AU.UTF-8"}, {4105, "en_CA.UTF-8"},
    {1036, "fr_FR.UTF-8"}, {2060, "fr_BE.UTF-8"}, {3084, "fr_CA.UTF-8"}, {4108, "fr_CH.UTF-8"},
    {1031, "de_DE.UTF-8"}, {2055, "de_CH.UTF-8"}, {3079, "de_AT.UTF-8"}, {1043, "nl_NL.UTF-8"},
    {2067, "nl_BE.UTF-8"}, {1034, "es_ES.UTF-8"}, {2058, "es_MX.UTF-8"}, {1040, "it_IT.UTF-8"},
    {1046, "pt_BR.UTF-8"}, {2070, "pt_PT.UTF-8"}, {1041, "ja_JP.UTF-8"}, {1042, "ko_KR.UTF-8"},
    {2052, "zh_CN.UTF-8"}, {1028, "zh_TW.UTF-8"}, {1049, "ru_RU.UTF-8"}, {1045, "pl_PL.UTF-8"},
    {1053, "sv_SE.UTF-8"}, {1030, "da_DK.UTF-8"}, {1044, "nb_NO.UTF-8"}, {1035, "fi_FI.UTF-8"},
    {1029, "cs_CZ.UTF-8"}, {1038, "hu_HU.UTF-8"}, {1055, "tr_TR.UTF-8"}, {1032, "el_GR.UTF-8"},
};

// The user's language. Read only once, because reading the environment isn't safe while another thread changes it.
long UserLanguage() noexcept {
    static long const language = [] {
        for (char const * variable : {"LC_ALL", "LC_MESSAGES", "LANG"})
            if (char const * const name = std::getenv(variable); name && *name) return LanguageOfLocale(name);
        return englishLanguage;
    }();
    return language;
}

thread_local long threadLanguage = neutralLanguage;

long FindLocale(std::string_view name, std::size_t significant) noexcept {
    auto const found = std::find_if(std::begin(languages), std::end(languages), [&](Language const & entry) {
        return std::string_view(entry.locale).substr(0, significant) == name;
    });
    return found == std::end(languages) ? 0 : found->number;
}

} // namespace

long ThreadLanguage() noexcept { return IsNeutralLanguage(threadLanguage) ? UserLanguage() : threadLanguage; }

void SetThreadLanguage(long language) noexcept { threadLanguage = language; }

long LanguageOfLocale(std::string_view name) noexcept {
    constexpr std::size_t languageOnly = 2, withCountry = 5;
    name = name.substr(0, name.find_first_of(".@"));
    if (long const number = FindLocale(name, withCountry)) return number;
    long const number = FindLocale(name.substr(0, name.find('_')), languageOnly);
    return number ? number : englishLanguage;
}

char const * LocaleOfLanguage(long language) noexcept {
    auto const found = std::find_if(std::begin(languages), std::end(languages),
                                    [&](Language const & entry) { return entry.number == language; });
    return found == std::end(languages) ? "C" : found->locale;
}

} // namespace KZPlatform
