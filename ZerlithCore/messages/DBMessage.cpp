// Reads and writes one message. The length of a text comes from the file and may be wrong, so the text is read in blocks: a
// length that goes beyond the end of the stream makes the reader allocate one block too many, not the whole length.
#include "ZerlithCore/messages/DBMessage.h"

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/errors/KZErrorID.h"

#include <algorithm>
#include <istream>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t numberBytes = 4;
constexpr std::size_t blockBytes = 65536;
constexpr std::string_view utf8Mark("\0\xEF\xBB\xBF", 4);

void AppendNumber(std::string & out, std::uint32_t number) {
    for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>(number >> shift);
}

std::optional<std::uint32_t> ReadNumber(std::istream & stream) {
    char bytes[numberBytes];
    if (!stream.read(bytes, sizeof bytes)) return std::nullopt;
    std::uint32_t number = 0;
    for (char const byte : bytes) number = number << 8 | static_cast<unsigned char>(byte);
    return number;
}

bool ReadBytes(std::istream & stream, std::size_t size, std::string & bytes) {
    while (bytes.size() < size) {
        std::size_t const begin = bytes.size(), step = std::min(size - begin, blockBytes);
        bytes.resize(begin + step);
        if (!stream.read(bytes.data() + begin, static_cast<std::streamsize>(step))) return false;
    }
    return true;
}

/// The text in UTF-8 behind the one in the code page; nothing if there is none, or if it isn't valid.
std::optional<std::u16string> Utf8Text(std::string_view bytes) {
    bytes.remove_prefix(std::min(bytes.find('\0'), bytes.size()));
    std::u16string units;
    bool const isText =
        bytes.starts_with(utf8Mark) &&
        KZEncoding::AppendUnits(units, bytes.substr(utf8Mark.size()), KZEncoding::Utf8Mode::Strict) &&
        units.find(u'\0') == std::u16string::npos;
    return isText ? std::optional(units) : std::nullopt;
}

} // namespace

DBMessage::~DBMessage() = default;

std::ostream & operator<<(std::ostream & stream, DBMessage const & message) {
    std::string text = message.text_.AsMbString(message.converter_);
    if (message.isUtf8_) {
        text += utf8Mark;
        text += KZEncoding::UnitsToUtf8(message.text_.c_str(), KZEncoding::Utf8Mode::Replace);
    }
    std::string record;
    AppendNumber(record, static_cast<std::uint32_t>(message.id_));
    AppendNumber(record, static_cast<std::uint32_t>(text.size()));
    record += text;
    return stream.write(record.data(), static_cast<std::streamsize>(record.size()));
}

std::istream & operator>>(std::istream & stream, DBMessage & message) {
    message.position_ = stream.tellg();
    message.text_.Clear();
    message.isUtf8_ = false;
    std::optional<std::uint32_t> const id = ReadNumber(stream);
    if (!id) return stream;
    message.id_ = static_cast<std::int32_t>(*id);
    std::optional<std::uint32_t> const length = ReadNumber(stream);
    std::string bytes;
    if (!length || !ReadBytes(stream, *length, bytes)) return stream;
    if (std::optional<std::u16string> const units = Utf8Text(bytes)) {
        message.text_ = KZString(std::u16string_view(*units));
        message.isUtf8_ = true;
        return stream;
    }
    // A converter that fails may have put a part of the text into the string.
    if (message.text_.ConvertToUnicode(bytes.c_str(), message.converter_).Bad()) message.text_.Clear();
    return stream;
}
