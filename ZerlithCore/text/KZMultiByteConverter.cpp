// Converts by the caller's tables, unit by unit. The bytes are read twice: first to count the units, then to store
// them.
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZStringConverter.h"
#include "ZerlithCore/text/detail/KZStringText.h"

#include <optional>

namespace {

constexpr unsigned rowSize = 256;

// A null mapping is used as one without tables.
constexpr KZMultiByteMapping emptyMapping{};

// Reads units from bytes one by one.
class MappedReader {
public:
    MappedReader(KZMultiByteMapping const & mapping, char const * bytes) : mapping_(mapping), at_(bytes) {}

    // The next unit; 0 when no table has one; nothing at the end of the bytes.
    std::optional<char16_t> Next() {
        if (!at_ || *at_ == '\0') return std::nullopt;
        char const byte = *at_++;
        char16_t const * const table = mapping_.tables[KZMultiByteMapping::Bytes];
        fromTable_ = table != nullptr;
        if (!table) return static_cast<char16_t>(static_cast<signed char>(byte));
        auto const lead = static_cast<unsigned char>(byte);
        char16_t const * const trails = mapping_.tables[KZMultiByteMapping::Trails + lead];
        if (table[lead] != 0 || !trails || *at_ == '\0') return table[lead];
        return trails[static_cast<unsigned char>(*at_++)];
    }

    // True when the unit read last came from a table.
    [[nodiscard]] bool IsFromTable() const { return fromTable_; }

private:
    KZMultiByteMapping const & mapping_;
    char const * at_;
    bool fromTable_ = false;
};

} // namespace

KZMultiByteConverter::KZMultiByteConverter(KZMultiByteMapping const * mapping)
    : mapping_(mapping ? mapping : &emptyMapping) {}

KZMultiByteConverter::~KZMultiByteConverter() = default;

void KZMultiByteConverter::ConvertMbToStr(KZString & dest, char const * src) const {
    std::uint32_t count = 0;
    bool hasWideUnits = false;
    for (MappedReader reader(*mapping_, src); auto const unit = reader.Next();) {
        ++count;
        hasWideUnits = hasWideUnits || (reader.IsFromTable() && *unit >= rowSize);
    }
    dest.Clear();
    dest.Reserve(count);
    if (!hasWideUnits) return;
    char16_t * text = GetStrDataP(dest);
    for (MappedReader reader(*mapping_, src); auto const unit = reader.Next();)
        *text++ = *unit != 0 ? *unit : u'?';
    *text = u'\0';
    *GetStrDataLenP(dest) = count;
}

std::string KZMultiByteConverter::ConvertStrToMb(KZString const & src) const {
    std::string bytes;
    bytes.reserve(src.Length() * std::size_t{2});
    for (char16_t const unit : KZTextOf(src)) {
        char16_t const * const codes = mapping_->tables[unit / rowSize];
        char16_t const code = codes ? codes[unit % rowSize] : u'\0';
        if (code >= rowSize) bytes += static_cast<char>(code / rowSize);
        bytes += code != 0 ? static_cast<char>(code % rowSize) : '?';
    }
    return bytes;
}
