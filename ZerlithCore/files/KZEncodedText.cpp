#include "ZerlithCore/files/detail/KZEncodedText.h"

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/text/KZWideText.h"

#include <algorithm>

namespace KZDetail {

namespace {

using enum KZTextEncoding;
constexpr KZTextEncoding marked[] = {Utf8WithMark, Utf16LittleEndian, Utf16BigEndian};

// How many bits a unit is shifted to the right to get its first byte.
constexpr unsigned FirstShift(KZTextEncoding encoding) { return encoding == Utf16LittleEndian ? 0 : 8; }

} // namespace

std::string_view MarkOf(KZTextEncoding encoding) noexcept {
    constexpr std::string_view marks[] = {"", "\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"};
    return marks[static_cast<int>(encoding)];
}

KZTextEncoding EncodingByMark(std::string_view bytes) noexcept {
    for (KZTextEncoding const encoding : marked)
        if (bytes.starts_with(MarkOf(encoding))) return encoding;
    return Utf8;
}

bool IsPartOfMark(std::string_view bytes) noexcept {
    return std::ranges::any_of(marked, [bytes](KZTextEncoding encoding) {
        return bytes.size() < MarkOf(encoding).size() && MarkOf(encoding).starts_with(bytes);
    });
}

void AppendEncoded(std::string & bytes, std::u16string_view units, KZTextEncoding encoding) {
    if (!IsUtf16(encoding)) {
        KZEncoding::AppendUtf8(bytes, units, KZEncoding::Utf8Mode::Escape);
        return;
    }
    unsigned const first = FirstShift(encoding), second = 8 - first;
    std::size_t at = bytes.size();
    bytes.resize(at + 2 * units.size());
    for (char16_t const unit : units) {
        bytes[at++] = static_cast<char>(unit >> first);
        bytes[at++] = static_cast<char>(unit >> second);
    }
}

void AppendEncoded(std::string & bytes, std::wstring_view characters, KZTextEncoding encoding) {
    while (IsUtf16(encoding)) {
        auto const lone = std::ranges::find_if(characters, IsLoneByte);
        if (lone == characters.end()) break;
        auto const length = static_cast<std::size_t>(lone - characters.begin());
        AppendEncoded(bytes, KZFromWide(characters.substr(0, length)), encoding);
        bytes += static_cast<char>(*lone);
        characters.remove_prefix(length + 1);
        if (!characters.empty()) bytes += '\0';
    }
    AppendEncoded(bytes, KZFromWide(characters), encoding);
}

std::size_t DecodeUtf16(std::string_view bytes, char16_t * units, KZTextEncoding encoding) noexcept {
    unsigned const first = FirstShift(encoding), second = 8 - first;
    std::size_t const count = bytes.size() / 2;
    for (std::size_t i = 0; i < count; ++i) {
        auto const byte = [&](std::size_t at) {
            return static_cast<unsigned>(static_cast<unsigned char>(bytes[at]));
        };
        units[i] = static_cast<char16_t>(byte(2 * i) << first | byte(2 * i + 1) << second);
    }
    return count;
}

} // namespace KZDetail
