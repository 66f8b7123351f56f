/// @file
/// Gives a module, for example a plug-in, messages of its own.
///
///     enum : long { Greeting = 1 };
///     KZ_MODULE_MESSAGES({Greeting, KZLanguage::EnglishUS, u"Good morning, %s"},
///                        {Greeting, KZLanguage::French, u"Bonjour, %s"})
///
///     KZErrorID Refuse() {
///         return KZErrorID(new KZError(new RCMessageTableSource(KZ_THIS_MODULE), Greeting));
///     }
///
/// The texts are data of the module, which exports them by the function `KZModuleMessages`. The module itself reads them by
/// KZ_THIS_MODULE, a program that has loaded the module by the module's handle. Both are valid as long as the module is
/// loaded, and a message source made with either keeps the module in memory (KZMessageSource.h).
#pragma once

#include "ZerlithCore/platform/ModuleMessages.h"

#include <iterator>

/// The numbers of languages, and the language of the calling thread.
struct KZ_EXPORT KZLanguage {
    /// The language of the thread; as the language of a text: the text is for all languages.
    static constexpr long Neutral = KZPlatform::neutralLanguage;
    static constexpr long German = 1031;
    static constexpr long EnglishUS = KZPlatform::englishLanguage;
    static constexpr long Spanish = 1034;
    static constexpr long French = 1036;
    static constexpr long Japanese = 1041;
    static constexpr long Korean = 1042;
    static constexpr long Dutch = 1043;
    static constexpr long PortugueseBrazil = 1046;
    static constexpr long SpanishMexico = 2058;

    /// The language of texts on this thread when none is named: the one that was set, else the user's, which LC_ALL,
    /// LC_MESSAGES or LANG names.
    [[nodiscard]] static long OfThread() noexcept { return KZPlatform::ThreadLanguage(); }
    /// Sets the language of this thread; `Neutral` sets the user's again.
    static void SetOfThread(long language) noexcept { KZPlatform::SetThreadLanguage(language); }
};

extern "C" {
/// Gives the module's texts to other modules, which find it by its name. It is a function because each module has one of that
/// name; the address sanitizer reports data of one name in several modules as an error.
KZ_EXPORT KZModuleMessageTable const * KZModuleMessages();
/// The module's texts for the module itself. The linker binds it inside the module, so it is never that of another module;
/// its address is null when the module has no messages.
extern __attribute__((weak, visibility("hidden"))) KZModuleMessageTable const KZHiddenModuleMessages;
}

namespace KZDetail {
inline constexpr KZModuleMessageTable noMessages{nullptr, 0};
} // namespace KZDetail

/// The handle, for message sources, of the module whose source this stands in. A module without KZ_MODULE_MESSAGES has no
/// messages.
#define KZ_THIS_MODULE \
    KZPlatform::ModuleOfMessages(&KZHiddenModuleMessages ? KZHiddenModuleMessages : KZDetail::noMessages)

/// Defines the messages of a module: entries of code, language and text. Write it once in a module, in a source file, outside
/// of all namespaces and functions.
#define KZ_MODULE_MESSAGES(...)                                                                   \
    namespace KZDetail {                                                                          \
    static constexpr KZModuleMessage moduleMessages[] = {__VA_ARGS__};                            \
    }                                                                                             \
    extern "C" {                                                                                  \
    KZModuleMessageTable const KZHiddenModuleMessages{KZDetail::moduleMessages,                   \
                                                      std::size(KZDetail::moduleMessages)};       \
    KZ_EXPORT KZModuleMessageTable const * KZModuleMessages() { return &KZHiddenModuleMessages; } \
    }
