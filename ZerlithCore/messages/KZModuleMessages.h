/// @file
/// How a module, a plug-in say, carries its own messages.
///
///     enum : long { Greeting = 1 };
///     KZ_MODULE_MESSAGES({Greeting, KZLanguage::EnglishUS, u"Good morning, %s"},
///                        {Greeting, KZLanguage::French, u"Bonjour, %s"})
///
///     KZErrorID Refuse() {
///         return KZErrorID(new KZError(new RCMessageTableSource(KZ_THIS_MODULE), Greeting));
///     }
///
/// The texts are data that the module exports by the function `KZModuleMessages`. Who has loaded the module can read
/// them by its handle; the module itself says KZ_THIS_MODULE. Both last as long as the module is loaded, and a source on
/// either keeps it in memory (KZMessageSource.h).
#pragma once

#include "ZerlithCore/platform/ModuleMessages.h"

#include <iterator>

/// The numbers of languages, and the language of the calling thread.
struct KZ_EXPORT KZLanguage {
    /// Leaves the choice to the thread; of a text: it serves for all languages.
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

    /// What this thread gets where no language is named: what was set, else the user's, by LC_ALL, LC_MESSAGES or LANG.
    [[nodiscard]] static long OfThread() noexcept { return KZPlatform::ThreadLanguage(); }
    /// Sets it for this thread; `Neutral` goes back to the user's.
    static void SetOfThread(long language) noexcept { KZPlatform::SetThreadLanguage(language); }
};

extern "C" {
/// What other modules find. A function, since each module has one: data of one name in several is taken for an error
/// by the address sanitizer.
KZ_EXPORT KZModuleMessageTable const * KZModuleMessages();
/// What the module finds itself: bound when it is linked, null where there is none, never that of another module.
extern __attribute__((weak, visibility("hidden"))) KZModuleMessageTable const KZHiddenModuleMessages;
}

namespace KZDetail {
inline constexpr KZModuleMessageTable noMessages{nullptr, 0};
} // namespace KZDetail

/// The module in which this stands, for the message sources. It has no messages where nobody wrote KZ_MODULE_MESSAGES.
#define KZ_THIS_MODULE \
    KZPlatform::ModuleOfMessages(&KZHiddenModuleMessages ? KZHiddenModuleMessages : KZDetail::noMessages)

/// Gives a module its messages: entries of code, language and text. Once in a module, in one source, at file level.
#define KZ_MODULE_MESSAGES(...)                                                                   \
    namespace KZDetail {                                                                          \
    static constexpr KZModuleMessage moduleMessages[] = {__VA_ARGS__};                            \
    }                                                                                             \
    extern "C" {                                                                                  \
    KZModuleMessageTable const KZHiddenModuleMessages{KZDetail::moduleMessages,                   \
                                                      std::size(KZDetail::moduleMessages)};       \
    KZ_EXPORT KZModuleMessageTable const * KZModuleMessages() { return &KZHiddenModuleMessages; } \
    }
