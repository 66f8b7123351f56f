// Finds all functions in one pass over the symbol table. The file is read and not mapped: it may be shortened or
// overwritten meanwhile, and reading a mapping would then be a fault, during the report of another fault.
#include "ZerlithCore/platform/posix/SymbolFile.h"

#include <algorithm>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <unistd.h>
#include <vector>

namespace KZPlatform {

namespace {

using Header = ElfW(Ehdr);
using Section = ElfW(Shdr);
using Symbol = ElfW(Sym);

constexpr std::size_t maxSections = 4096;
constexpr std::size_t maxNameBytes = 4096;

class ElfFile {
public:
    explicit ElfFile(char const * path) noexcept : file_(open(path, O_RDONLY | O_CLOEXEC)) {}
    ElfFile(ElfFile const &) = delete;
    ElfFile & operator=(ElfFile const &) = delete;
    ~ElfFile() {
        if (file_ >= 0) close(file_);
    }

    /// Reads up to `size` bytes at `offset`; returns how many were read.
    std::size_t Read(void * bytes, std::size_t size, std::uint64_t offset) const noexcept {
        ssize_t const count = pread(file_, bytes, size, static_cast<off_t>(offset));
        return count > 0 ? static_cast<std::size_t>(count) : 0;
    }

    std::vector<Section> Sections() const {
        Header header;
        if (Read(&header, sizeof header, 0) != sizeof header) return {};
        constexpr unsigned char wordSize = sizeof(void *) == 8 ? ELFCLASS64 : ELFCLASS32;
        if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != wordSize)
            return {};
        if (header.e_shentsize != sizeof(Section) || header.e_shnum > maxSections) return {};
        std::vector<Section> sections(header.e_shnum);
        std::size_t const bytes = sections.size() * sizeof(Section);
        if (Read(sections.data(), bytes, header.e_shoff) != bytes) sections.clear();
        return sections;
    }

    /// The name at `offset` of the string table; empty when it lies outside or has no end.
    std::string Name(Section const & strings, std::uint64_t offset) const {
        if (offset >= strings.sh_size) return {};
        char name[maxNameBytes];
        std::size_t const size = Read(name, std::min<std::uint64_t>(sizeof name, strings.sh_size - offset),
                                      strings.sh_offset + offset);
        void const * const end = std::memchr(name, '\0', size);
        return end ? std::string(name) : std::string();
    }

private:
    int file_;
};

struct Match {
    std::uint64_t nameOffset = 0;
    bool found = false;
};

void MatchSymbol(Symbol const & symbol, std::span<SymbolQuery> queries, std::span<Match> matches) {
    if ((symbol.st_info & 0xF) != STT_FUNC || symbol.st_shndx == SHN_UNDEF) return;
    auto query = std::ranges::lower_bound(queries, symbol.st_value, {}, &SymbolQuery::address);
    for (; query != queries.end() && query->address - symbol.st_value < symbol.st_size; ++query) {
        matches[static_cast<std::size_t>(query - queries.begin())] = {symbol.st_name, true};
        query->start = symbol.st_value;
    }
}

void SearchTable(ElfFile const & file, Section const & table, Section const & strings,
                 std::span<SymbolQuery> queries) {
    std::vector<Symbol> chunk(2048);
    std::vector<Match> matches(queries.size());
    for (std::uint64_t done = 0; done < table.sh_size;) {
        std::size_t const wanted =
            std::min<std::uint64_t>(chunk.size() * sizeof(Symbol), table.sh_size - done);
        std::size_t const count = file.Read(chunk.data(), wanted, table.sh_offset + done) / sizeof(Symbol);
        if (count == 0) break;
        for (std::size_t i = 0; i < count; ++i) MatchSymbol(chunk[i], queries, matches);
        done += count * sizeof(Symbol);
    }
    for (std::size_t i = 0; i < queries.size(); ++i)
        if (matches[i].found) queries[i].name = file.Name(strings, matches[i].nameOffset);
}

} // namespace

void FindSymbols(char const * path, std::span<SymbolQuery> queries) {
    std::ranges::sort(queries, {}, &SymbolQuery::address);
    ElfFile const file(path);
    std::vector<Section> const sections = file.Sections();
    auto const table =
        std::ranges::find(sections, static_cast<decltype(Section::sh_type)>(SHT_SYMTAB), &Section::sh_type);
    if (table == sections.end() || table->sh_entsize != sizeof(Symbol) || table->sh_link >= sections.size())
        return;
    SearchTable(file, *table, sections[table->sh_link], queries);
}

} // namespace KZPlatform
