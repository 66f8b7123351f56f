// Finds functions in the symbol table of a module's file. That table also lists functions with hidden or internal
// linkage, which the loader doesn't know.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace KZPlatform {

struct SymbolQuery {
    std::uintptr_t address; ///< counted as in the file
    std::size_t tag;        ///< free for the caller
    std::string name;       ///< answer: the function at the address, by its mangled name; empty for none
    std::uintptr_t start;   ///< answer: the start of that function
};

/// Answers `queries` from the ELF file `path`, and sorts them by address. Queries stay without an answer when the
/// file can't be read, isn't an ELF file of this machine's word size, or is damaged.
void FindSymbols(char const * path, std::span<SymbolQuery> queries);

} // namespace KZPlatform
