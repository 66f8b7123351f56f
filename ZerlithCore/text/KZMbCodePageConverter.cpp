// Converts by the code pages of the platform.
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/platform/CodePages.h"
#include "ZerlithCore/text/KZStringConverter.h"
#include "ZerlithCore/text/detail/KZStringText.h"
#include "ZerlithCore/text/detail/OwnErrors.h"

#include <memory>
#include <optional>
#include <span>
#include <utility>

namespace {

constexpr std::size_t stackUnits = 4096; // longer texts are decoded on the heap
constexpr std::uint32_t jisCodePage = 932;

} // namespace

KZMbCodePageConverter::KZMbCodePageConverter(std::uint32_t codePage) : codePage_(codePage) {}

KZMbCodePageConverter::~KZMbCodePageConverter() = default;

// Converts into a buffer first: if invalid bytes come late, the destination must not have changed.
KZErrorID KZMbCodePageConverter::ConvertToUnicode(KZString & dest, char const * src) const {
    std::string_view const bytes = KZBytesOf(src);
    char16_t stack[stackUnits];
    std::unique_ptr<char16_t[]> heap;
    if (bytes.size() > stackUnits) heap = std::make_unique_for_overwrite<char16_t[]>(bytes.size());
    std::span<char16_t> const buffer = heap ? std::span(heap.get(), bytes.size()) : std::span(stack);
    std::optional<std::size_t> const size =
        KZPlatform::DecodeCodePage(codePage_, bytes, buffer, KZPlatform::InvalidBytes::Refuse);
    if (!size) return KZDetail::LastSystemError();
    dest = KZString(std::u16string_view(buffer.data(), *size));
    return {};
}

KZErrorID KZMbCodePageConverter::ConvertFromUnicode(std::string & dest, KZString const & src) const {
    std::string bytes;
    if (!src.IsNull() && !KZPlatform::EncodeCodePage(codePage_, KZTextOf(src), bytes)) {
        dest.clear();
        return KZDetail::LastSystemError();
    }
    dest = std::move(bytes);
    return {};
}

bool KZMbCodePageConverter::IsValid() const {
    return codePage_ == KZPlatform::defaultCodePage || KZPlatform::CodePageExists(codePage_);
}

KZJisConverter::KZJisConverter() : KZMbCodePageConverter(jisCodePage) {}

KZJisConverter::~KZJisConverter() = default;
