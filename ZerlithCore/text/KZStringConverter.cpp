// The base classes, and the converters for Latin-1 and UTF-8.
#include "ZerlithCore/text/KZStringConverter.h"

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/text/detail/KZStringText.h"
#include "ZerlithCore/text/detail/OwnErrors.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>

namespace {

// A size as an argument of `Reserve`. A size beyond what a string can hold becomes one that `Reserve` refuses.
std::uint32_t RoomFor(std::size_t size) {
    return static_cast<std::uint32_t>(std::min<std::size_t>(size, KZString::npos));
}

// Whether `bytes` are likely to be all ASCII: eight places in them are.
bool LooksLikeAscii(std::string_view bytes) {
    constexpr std::size_t places = 8;
    std::uint64_t seen = 0;
    for (std::size_t i = 0; i < places && bytes.size() >= sizeof seen; ++i) {
        std::uint64_t piece;
        std::memcpy(&piece, bytes.data() + (bytes.size() - sizeof piece) * i / (places - 1), sizeof piece);
        seen |= piece;
    }
    return (seen & 0x8080808080808080) == 0;
}

// Moves a text that only looked like ASCII to a block of its size. Without memory for one it stays where it is.
void TakeLessRoom(KZString & string) {
    try {
        string = KZString(static_cast<std::u16string_view>(string));
    } catch (std::bad_alloc const &) {
        return;
    }
}

} // namespace

// --- KZStringConverter

KZStringConverter::~KZStringConverter() = default;

bool KZStringConverter::IsValid() const { return true; }

char16_t * KZStringConverter::GetStrDataP(KZString & string) {
    string.ResizeCapacity(string.Length());
    return string.data_->text;
}

std::uint32_t * KZStringConverter::GetStrDataLenP(KZString & string) {
    string.ResizeCapacity(string.Length());
    return &string.data_->length;
}

// --- KZMbStringConverter

KZMbStringConverter::~KZMbStringConverter() = default;

KZErrorID KZMbStringConverter::ConvertToUnicode(KZString & dest, char const * src) const {
    ConvertMbToStr(dest, src);
    return {};
}

KZErrorID KZMbStringConverter::ConvertFromUnicode(std::string & dest, KZString const & src) const {
    dest = ConvertStrToMb(src);
    return {};
}

void KZMbStringConverter::ConvertMbToStr(KZString &, char const *) const {}

std::string KZMbStringConverter::ConvertStrToMb(KZString const &) const { return {}; }

// --- KZLatinStringConverter

KZLatinStringConverter::~KZLatinStringConverter() = default;

KZErrorID KZLatinStringConverter::ConvertToUnicode(KZString & dest, char const * src) const {
    std::string_view const bytes = KZBytesOf(src);
    dest.Clear();
    dest.Reserve(RoomFor(bytes.size() + 1));
    char16_t * const text = GetStrDataP(dest);
    for (std::size_t i = 0; i < bytes.size(); ++i) text[i] = static_cast<unsigned char>(bytes[i]);
    text[bytes.size()] = u'\0';
    *GetStrDataLenP(dest) = static_cast<std::uint32_t>(bytes.size());
    return {};
}

KZErrorID KZLatinStringConverter::ConvertFromUnicode(std::string & dest, KZString const & src) const {
    std::u16string_view const units = KZTextOf(src);
    unsigned seen = 0;
    for (char16_t const unit : src) seen |= unit;
    KZErrorID error;
    if (seen >= 256) error = KZDetail::OwnError(KZDetail::OwnMessage::UnsupportedCharacters);
    dest.resize(units.size());
    std::ranges::transform(units, dest.begin(),
                           [](char16_t unit) { return unit < 256 ? static_cast<char>(unit) : '?'; });
    return error;
}

// --- KZStringUTF8Converter

KZStringUTF8Converter::~KZStringUTF8Converter() = default;

KZErrorID KZStringUTF8Converter::ConvertToUnicode(KZString & dest, char const * src) const {
    std::string_view const bytes = KZBytesOf(src);
    if (bytes.empty()) {
        dest.Clear();
        return {};
    }
    // ASCII takes a unit for each byte, so its units needn't be counted.
    std::size_t size = LooksLikeAscii(bytes) ? bytes.size() : KZEncoding::UnitsInUtf8(bytes);
    KZEncoding::Utf8Result result;
    for (;; size = bytes.size()) {
        dest.Reserve(RoomFor(size + 1));
        result = KZEncoding::DecodeUtf8(bytes, {GetStrDataP(dest), size}, KZEncoding::Utf8Mode::Replace);
        if (result.status == KZEncoding::Utf8Status::Done) break;
        // Invalid sequences take more units than were counted, but no more than there are bytes. If there is no
        // memory for those, the string must not keep the part that was decoded.
        dest.Clear();
    }
    GetStrDataP(dest)[result.written] = u'\0';
    *GetStrDataLenP(dest) = static_cast<std::uint32_t>(result.written);
    if (result.written < size - size / 8) TakeLessRoom(dest);
    return {};
}

KZErrorID KZStringUTF8Converter::ConvertFromUnicode(std::string & dest, KZString const & src) const {
    dest = KZEncoding::TerminatedToUtf8(std::u16string_view(src), KZEncoding::Utf8Mode::Replace);
    return {};
}
