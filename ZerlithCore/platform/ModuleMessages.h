/// @file
/// The texts that a module carries, and how one is picked from them.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/platform/Language.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// One text of a module: its code, the number of its language (1024 for all languages), and the text.
struct KZModuleMessage {
    long code;
    long language;
    char16_t const * text;
};

/// The texts of a module, which its function `KZModuleMessages` gives; KZ_MODULE_MESSAGES makes both.
struct KZModuleMessageTable {
    KZModuleMessage const * messages;
    std::size_t count;
};

namespace KZPlatform {

/// The function under which a module exports its table: `KZModuleMessageTable const * KZModuleMessages()`.
inline constexpr char const * moduleMessagesSymbol = "KZModuleMessages";

/// A module handle that stands for `table` alone, so that code can name its own module without asking the loader.
/// Good for the messages only: it has no symbols, and freeing it does nothing.
[[nodiscard]] inline void * ModuleOfMessages(KZModuleMessageTable const & table) noexcept {
    // Handles of the loader are addresses of its records, which are aligned: the lowest bit is free.
    return reinterpret_cast<void *>(reinterpret_cast<std::uintptr_t>(&table) | 1U);
}

/// The table of `module`, a handle of the loader or of `ModuleOfMessages`; null when it has none.
[[nodiscard]] KZModuleMessageTable const * MessagesOfModule(void * module) noexcept;

/// Puts the text of `code` in the language of the thread into `out`, cut to `limit` units. The nearest language counts,
/// as `LoadMessageText` tells. False, with `out` empty, when the module has no such text.
bool LoadStringText(std::u16string & out, void * module, std::uint32_t code, std::size_t limit);

/// Puts the text of `code` into `out`: in `language`, else in another form of that language, else one for all
/// languages, else in English, else the first there is. The neutral language is that of the thread. A null `module`
/// means the system, and `code` an error number. False, with the last error set, when there is no such text.
bool LoadMessageText(std::u16string & out, void * module, std::uint32_t code, long language);

} // namespace KZPlatform
