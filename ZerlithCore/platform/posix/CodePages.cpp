// The first use of a page asks iconv about each byte, pair of bytes and unit, and keeps the answers in tables. From
// then on only the tables are used. Making them takes a few milliseconds for each page; conversions are then several
// times as fast as iconv, and no thread needs an iconv descriptor of its own.

#include "ZerlithCore/platform/CodePages.h"

#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/encoding/detail/CodePageTables.h"
#include "ZerlithCore/platform/LastError.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iconv.h>
#include <iterator>
#include <memory>
#include <mutex>
#include <new>

namespace KZPlatform {
namespace {

using KZEncoding::CodePageTables;

class Descriptor {
public:
    Descriptor(char const * to, char const * from) noexcept : handle_(iconv_open(to, from)) {}
    ~Descriptor() {
        if (IsOpen()) iconv_close(handle_);
    }
    Descriptor(Descriptor const &) = delete;
    Descriptor & operator=(Descriptor const &) = delete;

    [[nodiscard]] bool IsOpen() const noexcept { return reinterpret_cast<std::intptr_t>(handle_) != -1; }

    // Converts one whole character and returns the number of bytes written; 0 with errno set when `in` isn't one
    // character.
    std::size_t Convert(char const * in, std::size_t inSize, std::span<char> out) const noexcept {
        char * inAt = const_cast<char *>(in);
        char * outAt = out.data();
        std::size_t outLeft = out.size();
        iconv(handle_, nullptr, nullptr, nullptr, nullptr);
        errno = 0;
        if (iconv(handle_, &inAt, &inSize, &outAt, &outLeft) != 0 || inSize != 0) return 0;
        // Pages with combining accents hold a letter back until they see that no accent follows; this call writes it.
        iconv(handle_, nullptr, nullptr, &outAt, &outLeft);
        return out.size() - outLeft;
    }

private:
    iconv_t handle_;
};

constexpr char const * unitEncoding = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

class Reader final : public KZEncoding::CodePageReader {
public:
    Reader(Descriptor const & decoder, Descriptor const & encoder) noexcept
        : decoder_(decoder), encoder_(encoder) {}

    char16_t UnitOf(std::string_view bytes) const override {
        char out[8];
        std::size_t const written = decoder_.Convert(bytes.data(), bytes.size(), out);
        if (written == 0) return errno == EINVAL && bytes.size() == 1 ? leadMark : invalidMark;
        char16_t unit;
        std::memcpy(&unit, out, sizeof unit);
        return written == sizeof unit && !KZEncoding::IsSurrogate(unit) ? unit : invalidMark;
    }

    std::uint16_t CodeOf(char16_t unit) const override {
        char in[sizeof unit];
        char out[8];
        std::memcpy(in, &unit, sizeof unit);
        std::size_t const written = KZEncoding::IsSurrogate(unit) ? 0 : encoder_.Convert(in, sizeof in, out);
        auto const byte = [&out](std::size_t i) { return static_cast<unsigned char>(out[i]); };
        if (written == 1) return byte(0);
        if (written == 2 && byte(0) != 0) return static_cast<std::uint16_t>(byte(0) << 8 | byte(1));
        return u'?';
    }

private:
    Descriptor const & decoder_;
    Descriptor const & encoder_;
};

std::nullptr_t TellCantOpen(int error) {
    if (error == ENOMEM) throw std::bad_alloc();
    SetLastErrorNumber(error);
    return nullptr;
}

// Errors: std::bad_alloc; null with the last error set when iconv doesn't have the page, or can't open it now.
std::unique_ptr<CodePageTables const> ReadTables(char const * name) {
    Descriptor const decoder(unitEncoding, name);
    if (!decoder.IsOpen()) return TellCantOpen(errno);
    Descriptor const encoder(name, unitEncoding);
    if (!encoder.IsOpen()) return TellCantOpen(errno);
    return std::make_unique<CodePageTables>(Reader(decoder, encoder));
}

// A page with its tables, made at the first use. A failure isn't remembered: when iconv can't load a page for lack of
// memory or file handles, it says that the page doesn't exist, and a later try may succeed.
class Page {
public:
    constexpr Page(unsigned number, char const * name) noexcept : number_(number), name_(name) {}

    unsigned Number() const noexcept { return number_; }

    CodePageTables const * GetTables() {
        CodePageTables const * tables = tables_.load(std::memory_order_acquire);
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
    std::atomic<CodePageTables const *> tables_{
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

// Null, with the last error set, for a page that isn't in the list or has no tables.
CodePageTables const * FindTables(unsigned number) {
    auto * const page = std::ranges::lower_bound(pages, number, {}, &Page::Number);
    if (page != std::end(pages) && page->Number() == number) return page->GetTables();
    SetLastErrorNumber(EINVAL);
    return nullptr;
}

bool IsUtf8(unsigned page) { return page == defaultCodePage || page == utf8CodePage; }

} // namespace

bool CodePageExists(unsigned page) { return IsUtf8(page) || FindTables(page) != nullptr; }

std::optional<std::size_t> DecodeCodePage(unsigned page, std::string_view bytes, std::span<char16_t> out,
                                          InvalidBytes invalid) {
    if (IsUtf8(page)) {
        bool const strict = invalid == InvalidBytes::Refuse;
        KZEncoding::Utf8Result const result = KZEncoding::DecodeUtf8(
            bytes, out, strict ? KZEncoding::Utf8Mode::Strict : KZEncoding::Utf8Mode::Replace);
        if (result.status == KZEncoding::Utf8Status::Done) return result.written;
        SetLastErrorNumber(EILSEQ);
        return std::nullopt;
    }
    CodePageTables const * const tables = FindTables(page);
    if (!tables) return std::nullopt;
    std::optional<std::size_t> const count = tables->Decode(bytes, out, invalid);
    if (!count) SetLastErrorNumber(EILSEQ);
    return count;
}

bool EncodeCodePage(unsigned page, std::u16string_view units, std::string & out) {
    if (IsUtf8(page)) return KZEncoding::AppendUtf8(out, units, KZEncoding::Utf8Mode::Replace);
    CodePageTables const * const tables = FindTables(page);
    if (!tables) return false;
    tables->Encode(units, out);
    return true;
}

} // namespace KZPlatform
