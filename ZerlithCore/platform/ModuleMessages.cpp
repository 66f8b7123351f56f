// Looks through the whole table and keeps the entry with the nearest language. Tables are small and texts are needed
// rarely, so no index is worth its cost.
#include "ZerlithCore/platform/ModuleMessages.h"

#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/Modules.h"

#include <cerrno>
#include <span>
#include <string_view>

namespace KZPlatform {

namespace {

constexpr std::uintptr_t tableMark = 1;

// How far a text's language is from the wanted one; 0 is the same. The lower ten bits are the language itself, those
// above are the country.
int Distance(long language, long wanted) noexcept {
    constexpr long languageProper = 0x3FF;
    if (language == wanted) return 0;
    if ((language & languageProper) == (wanted & languageProper)) return 1;
    if (IsNeutralLanguage(language)) return 2;
    return language == englishLanguage ? 3 : 4;
}

KZModuleMessage const * FindMessage(void * module, std::uint32_t code, long language) noexcept {
    KZModuleMessageTable const * const table = MessagesOfModule(module);
    if (!table) return nullptr;
    long const wanted = IsNeutralLanguage(language) ? ThreadLanguage() : language;
    KZModuleMessage const * best = nullptr;
    for (KZModuleMessage const & message : std::span(table->messages, table->count)) {
        if (static_cast<std::uint32_t>(message.code) != code || !message.text) continue;
        if (!best || Distance(message.language, wanted) < Distance(best->language, wanted)) best = &message;
    }
    return best;
}

} // namespace

KZModuleMessageTable const * MessagesOfModule(void * module) noexcept {
    auto const handle = reinterpret_cast<std::uintptr_t>(module);
    if (handle & tableMark) return reinterpret_cast<KZModuleMessageTable const *>(handle & ~tableMark);
    void * const symbol = module ? FindSymbol(module, moduleMessagesSymbol) : nullptr;
    return symbol ? reinterpret_cast<KZModuleMessageTable const * (*)()>(symbol)() : nullptr;
}

bool LoadStringText(std::u16string & out, void * module, std::uint32_t code, std::size_t limit) {
    KZModuleMessage const * const message = FindMessage(module, code, neutralLanguage);
    out = message ? std::u16string_view(message->text).substr(0, limit) : std::u16string_view();
    return message != nullptr;
}

bool LoadMessageText(std::u16string & out, void * module, std::uint32_t code, long language) {
    if (!module) {
        auto text = ErrorText(static_cast<int>(code), language);
        if (text)
            out = *text;
        else
            SetLastErrorNumber(EINVAL);
        return text.has_value();
    }
    KZModuleMessage const * const message = FindMessage(module, code, language);
    if (message) out = message->text;
    if (!message) SetLastErrorNumber(ENOMSG);
    return message != nullptr;
}

} // namespace KZPlatform
