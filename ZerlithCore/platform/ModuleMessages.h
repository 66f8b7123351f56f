/// @file
/// The message texts that a module contains, and the choice of one by code and language. The implementation,
/// `ModuleMessages.cpp`, is common to all systems.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/platform/Language.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// One text of a module: its code, the number of its language (1024 stands for all languages), and the text.
struct KZModuleMessage {
    long code;
    long language;
    char16_t const * text;
};

/// All texts of a module. The module exports a function that returns this table; the macro KZ_MODULE_MESSAGES makes
/// both.
struct KZModuleMessageTable {
    KZModuleMessage const * messages;
    std::size_t count;
};

namespace KZPlatform {

/// The name of the function by which a module exports its table: `KZModuleMessageTable const * KZModuleMessages()`.
inline constexpr char const * moduleMessagesSymbol = "KZModuleMessages";

/// Returns a module handle that stands for `table` alone. With it code can name its own module without asking the
/// loader. It can be used for messages only: it has no symbols, and freeing it does nothing.
[[nodiscard]] inline void * ModuleOfMessages(KZModuleMessageTable const & table) noexcept {
    // The loader's handles are addresses of its records, which are aligned, so their lowest bit is 0. A 1 there marks
    // a table.
    return reinterpret_cast<void *>(reinterpret_cast<std::uintptr_t>(&table) | 1U);
}

/// The table of `module`, a handle of `LoadModule` or `ModuleOfMessages`; null when it has none. The table lives as
/// long as its module.
[[nodiscard]] KZModuleMessageTable const * MessagesOfModule(void * module) noexcept;

/// Sets `out` to the text of `code` in the language of the thread, cut to `limit` units. If there is none in that
/// language, another is chosen as in `LoadMessageText`. False, with `out` empty, when the module has no text for the
/// code.
bool LoadStringText(std::u16string & out, void * module, std::uint32_t code, std::size_t limit);

/// Sets `out` to the text of `code`: in `language`, otherwise in another form of that language (the French of another
/// country), otherwise one for all languages, otherwise in English, otherwise the first in the table. The neutral
/// language stands for that of the thread. A null `module` means the system, and `code` is then an error number.
/// False, with the last error set, when there is no text for the code.
bool LoadMessageText(std::u16string & out, void * module, std::uint32_t code, long language);

} // namespace KZPlatform
