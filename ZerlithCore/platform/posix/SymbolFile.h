// The symbol table in the file of a module: it knows the functions that the loader doesn't, those with hidden or
// internal linkage.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace KZPlatform {

struct SymbolQuery {
    std::uintptr_t address; ///< as the file counts
    std::size_t tag;        ///< the asker's own
    std::string name;     ///< answer: the function around the address as the linker calls it; empty for none
    std::uintptr_t start; ///< answer: where that function starts
};

/// Answers `queries` from the ELF file `path`, and sorts them by address. A file that can't be read, is no ELF file of this
/// machine's word size, or is damaged answers nothing.
void FindSymbols(char const * path, std::span<SymbolQuery> queries);

} // namespace KZPlatform
