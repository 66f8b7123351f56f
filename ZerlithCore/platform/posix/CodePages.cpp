// Every page is turned into tables once, by asking iconv about each byte, pair of bytes and unit; after that nothing
// but the tables is used. That costs a few milliseconds a page and gives several times iconv's speed, needs no
// descriptor a thread, and has no state that a text could leave behind: pages that compose letters (1255, 1258)
// give a unit for each byte.

#include "ZerlithCore/platform/CodePages.h"

#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/Utf8.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iconv.h>
#include <iterator>
#include <memory>
#include <mutex>
#include <new>
#include <vector>

namespace KZPlatform {
namespace {

// Units that no byte means stand for what else a byte can be.
constexpr char16_t LeadMark = 0xD800;
constexpr char16_t InvalidMark = 0xDC00;
constexpr char16_t ReplacementUnit = 0xFFFD;
constexpr unsigned RowSize = 256;
constexpr std::size_t EncodeChunk = 2048; // units that are encoded on the stack between two appends

bool IsMark(char16_t unit) { return (unit & 0xF800) == 0xD800; }

struct PageTables {
    using UnitRow = std::array<char16_t, RowSize>;
    using CodeRow = std::array<std::uint16_t, RowSize>;

    UnitRow units{};                               // by a byte: a unit or a mark
    std::array<std::uint8_t, RowSize> trailRows{}; // by a lead byte: its row in `trails`
    std::vector<UnitRow> trails;                   // by the byte behind it
    std::array<std::uint8_t, RowSize> codeRows{};  // by a unit's high byte: its row in `codes`
    std::vector<CodeRow> codes; // by its low byte: one byte, or two with the first one high
};

class Descriptor {
public:
    Descriptor(char const * to, char const * from) noexcept : handle_(iconv_open(to, from)) {}
    ~Descriptor() {
        if (IsOpen()) iconv_close(handle_);
    }
    Descriptor(Descriptor const &) = delete;
    Descriptor & operator=(Descriptor const &) = delete;

    [[nodiscard]] bool IsOpen() const noexcept { return reinterpret_cast<std::intptr_t>(handle_) != -1; }

    // Converts one character to its end. Returns the bytes written; 0 with errno set when it isn't one.
    std::size_t Convert(char const * in, std::size_t inSize, std::span<char> out) const noexcept {
        char * inAt = const_cast<char *>(in);
        char * outAt = out.data();
        std::size_t outLeft = out.size();
        iconv(handle_, nullptr, nullptr, nullptr, nullptr);
        errno = 0;
        if (iconv(handle_, &inAt, &inSize, &outAt, &outLeft) != 0 || inSize != 0) return 0;
        // Composing pages hold a letter back until they see that no accent follows.
        iconv(handle_, nullptr, nullptr, &outAt, &outLeft);
        return out.size() - outLeft;
    }

private:
    iconv_t handle_;
};

constexpr char const * UnitEncoding = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

// The unit of one or two bytes, or a mark.
char16_t ReadUnit(Descriptor const & descriptor, char const * bytes, std::size_t size) {
    char out[8];
    std::size_t const written = descriptor.Convert(bytes, size, out);
    if (written == 0) return errno == EINVAL && size == 1 ? LeadMark : InvalidMark;
    char16_t unit;
    std::memcpy(&unit, out, sizeof unit);
    return written == sizeof unit && !IsMark(unit) ? unit : InvalidMark;
}

void ReadUnits(Descriptor const & descriptor, PageTables & tables) {
    for (unsigned lead = 0; lead < RowSize; ++lead) {
        char bytes[2] = {static_cast<char>(lead), 0};
        tables.units[lead] = ReadUnit(descriptor, bytes, 1);
        if (tables.units[lead] != LeadMark) continue;
        tables.trailRows[lead] = static_cast<std::uint8_t>(tables.trails.size());
        PageTables::UnitRow & row = tables.trails.emplace_back();
        for (unsigned trail = 0; trail < RowSize; ++trail) {
            bytes[1] = static_cast<char>(trail);
            row[trail] = ReadUnit(descriptor, bytes, 2);
        }
    }
}

std::uint16_t ReadCode(Descriptor const & descriptor, char16_t unit) {
    char in[sizeof unit];
    char out[8];
    std::memcpy(in, &unit, sizeof unit);
    std::size_t const written = IsMark(unit) ? 0 : descriptor.Convert(in, sizeof in, out);
    auto const byte = [&out](std::size_t i) { return static_cast<unsigned char>(out[i]); };
    if (written == 1) return byte(0);
    if (written == 2 && byte(0) != 0) return static_cast<std::uint16_t>(byte(0) << 8 | byte(1));
    return u'?';
}

void ReadCodes(Descriptor const & descriptor, PageTables & tables) {
    PageTables::CodeRow lacking;
    lacking.fill(u'?');
    tables.codes.push_back(lacking);
    for (unsigned high = 0; high < RowSize; ++high) {
        PageTables::CodeRow row;
        for (unsigned low = 0; low < RowSize; ++low)
            row[low] = ReadCode(descriptor, static_cast<char16_t>(high * RowSize + low));
        if (row == lacking) continue;
        tables.codeRows[high] = static_cast<std::uint8_t>(tables.codes.size());
        tables.codes.push_back(row);
    }
}

std::nullptr_t TellCantOpen(int error) {
    if (error == ENOMEM) throw std::bad_alloc();
    SetLastErrorNumber(error);
    return nullptr;
}

// Errors: std::bad_alloc; null with the last error set when iconv doesn't have the page, or can't open it now.
std::unique_ptr<PageTables const> ReadTables(char const * name) {
    Descriptor const decoder(UnitEncoding, name);
    if (!decoder.IsOpen()) return TellCantOpen(errno);
    Descriptor const encoder(name, UnitEncoding);
    if (!encoder.IsOpen()) return TellCantOpen(errno);
    auto tables = std::make_unique<PageTables>();
    ReadUnits(decoder, *tables);
    ReadCodes(encoder, *tables);
    return tables;
}

// Only success is kept: iconv says of a page that it can't load, for want of memory or of open files, that there is none.
class Page {
public:
    constexpr Page(unsigned number, char const * name) noexcept : number_(number), name_(name) {}

    unsigned Number() const noexcept { return number_; }

    PageTables const * GetTables() {
        PageTables const * tables = tables_.load(std::memory_order_acquire);
        if (tables) return tables;
        std::lock_guard const guard(making);
        tables = tables_.load(std::memory_order_relaxed);
        if (!tables) tables_.store(tables = ReadTables(name_).release(), std::memory_order_release);
        return tables;
    }

private:
    static constinit std::mutex making;

    unsigned number_;
    char const * name_;
    std::atomic<PageTables const *> tables_{
        nullptr}; // never freed: destructors of static objects may still convert
};

constinit std::mutex Page::making;

constinit Page pages[] = {
    {437, "CP437"},         {850, "CP850"},         {932, "CP932"},         {936, "CP936"},
    {949, "CP949"},         {950, "CP950"},         {1250, "CP1250"},       {1251, "CP1251"},
    {1252, "CP1252"},       {1253, "CP1253"},       {1254, "CP1254"},       {1255, "CP1255"},
    {1256, "CP1256"},       {1257, "CP1257"},       {1258, "CP1258"},       {20127, "US-ASCII"},
    {28591, "ISO-8859-1"},  {28592, "ISO-8859-2"},  {28593, "ISO-8859-3"},  {28594, "ISO-8859-4"},
    {28595, "ISO-8859-5"},  {28596, "ISO-8859-6"},  {28597, "ISO-8859-7"},  {28598, "ISO-8859-8"},
    {28599, "ISO-8859-9"},  {28600, "ISO-8859-10"}, {28601, "ISO-8859-11"}, {28602, "ISO-8859-12"},
    {28603, "ISO-8859-13"}, {28604, "ISO-8859-14"}, {28605, "ISO-8859-15"},
};

// Null with the last error set.
PageTables const * FindTables(unsigned number) {
    auto * const page = std::ranges::lower_bound(pages, number, {}, &Page::Number);
    if (page != std::end(pages) && page->Number() == number) return page->GetTables();
    SetLastErrorNumber(EINVAL);
    return nullptr;
}

bool IsUtf8(unsigned page) { return page == DefaultCodePage || page == Utf8CodePage; }

// ASCII is the same in every page, and is taken eight characters at once while there are so many.
char const * DecodeAscii(char const * in, char const * end, char16_t *& out) {
    for (; end - in >= 8; in += 8, out += 8) {
        std::uint64_t eight;
        std::memcpy(&eight, in, sizeof eight);
        if ((eight & 0x8080808080808080U) != 0) break;
        for (int i = 0; i < 8; ++i) out[i] = static_cast<unsigned char>(in[i]);
    }
    return in;
}

// The length of a step is a branch, and not computed from what was read: steps don't wait for the tables then.
char const * DecodePairs(PageTables const & tables, char const * in, char const * end, char16_t *& out) {
    for (; end - in >= 2; in += 2) {
        auto const lead = static_cast<unsigned char>(in[0]);
        if (tables.units[lead] != LeadMark) break;
        char16_t const unit = tables.trails[tables.trailRows[lead]][static_cast<unsigned char>(in[1])];
        if (IsMark(unit)) break;
        *out++ = unit;
    }
    return in;
}

std::optional<std::size_t> DecodeByTables(PageTables const & tables, std::string_view bytes,
                                          std::span<char16_t> units, InvalidBytes invalid) {
    char16_t * out = units.data();
    char const * in = bytes.data();
    for (char const * const end = in + bytes.size();; ++in) {
        in = DecodePairs(tables, DecodeAscii(in, end, out), end, out);
        if (in == end) return static_cast<std::size_t>(out - units.data());
        // A lead byte that comes here has no valid byte behind it, which is then looked at for itself.
        char16_t unit = tables.units[static_cast<unsigned char>(*in)];
        if (IsMark(unit)) {
            if (invalid == InvalidBytes::Refuse) return std::nullopt;
            unit = ReplacementUnit;
        }
        *out++ = unit;
    }
}

char16_t const * EncodeAscii(char16_t const * in, char16_t const * end, char *& out) {
    for (; end - in >= 8; in += 8, out += 8) {
        unsigned seen = 0;
        for (int i = 0; i < 8; ++i) seen |= in[i];
        if (seen >= 0x80) break;
        for (int i = 0; i < 8; ++i) out[i] = static_cast<char>(in[i]);
    }
    return in;
}

char * EncodeByTables(PageTables const & tables, std::u16string_view units, char * out) {
    char16_t const * in = units.data();
    for (char16_t const * const end = in + units.size(); in != end;) {
        in = EncodeAscii(in, end, out);
        // Always writes two bytes; of a code of one, the next code goes over the second.
        for (char16_t const * const stop = in + std::min<std::ptrdiff_t>(end - in, 8); in != stop; ++in) {
            unsigned const code = tables.codes[tables.codeRows[*in / RowSize]][*in % RowSize];
            bool const isPair = code > 0xFF;
            out[0] = static_cast<char>(isPair ? code >> 8 : code);
            out[1] = static_cast<char>(code);
            out += 1 + isPair;
        }
    }
    return out;
}

} // namespace

bool CodePageExists(unsigned page) { return IsUtf8(page) || FindTables(page) != nullptr; }

std::optional<std::size_t> DecodeCodePage(unsigned page, std::string_view bytes, std::span<char16_t> out,
                                          InvalidBytes invalid) {
    if (IsUtf8(page)) {
        bool const strict = invalid == InvalidBytes::Refuse;
        Utf8Result const result = DecodeUtf8(bytes, out, strict ? Utf8Mode::Strict : Utf8Mode::Replace);
        if (result.status == Utf8Status::Done) return result.written;
        SetLastErrorNumber(EILSEQ);
        return std::nullopt;
    }
    PageTables const * const tables = FindTables(page);
    if (!tables) return std::nullopt;
    std::optional<std::size_t> const count = DecodeByTables(*tables, bytes, out, invalid);
    if (!count) SetLastErrorNumber(EILSEQ);
    return count;
}

bool EncodeCodePage(unsigned page, std::u16string_view units, std::string & out) {
    if (IsUtf8(page)) return AppendUtf8(out, units, Utf8Mode::Replace);
    PageTables const * const tables = FindTables(page);
    if (!tables) return false;
    out.reserve(out.size() + units.size());
    char buffer[2 * EncodeChunk];
    for (; !units.empty(); units.remove_prefix(std::min(units.size(), EncodeChunk))) {
        char const * const end = EncodeByTables(*tables, units.substr(0, EncodeChunk), buffer);
        out.append(buffer, static_cast<std::size_t>(end - buffer));
    }
    return true;
}

} // namespace KZPlatform
