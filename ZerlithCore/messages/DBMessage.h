/// @file
/// One message of a message library file.
///
///     std::ostringstream out;
///     out << DBMessage(7, u"Datei fehlt: %s") << DBMessage(8, u"Platte voll");
///     std::istringstream in(out.str());
///     for (DBMessage message; in >> message;) std::wcout << message.GetText() << L'\n';
///
/// A message in a file has three parts: its number (4 bytes), the length of its text in bytes (4 bytes), and the text in a
/// code page. Both numbers have the high byte first. The file is a row of such messages, with nothing else in it.
///
/// A text that the code page can't hold may be there a second time: behind the text in the code page come a byte 0, the bytes
/// EF BB BF, and the text in UTF-8, all within the length. No text in a code page has a byte 0, so files without such messages
/// mean what they always meant. A program that doesn't know this form reads up to the byte 0, and so gets the text in the code
/// page, with "?" for each character that the page lacks.
#pragma once

#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZStringConverter.h"

#include <cstdint>
#include <iosfwd>

/// A number and its text, and the converter for the code page that the text has in the file.
///
/// Thread safety: as KZString.
class KZ_EXPORT DBMessage {
public:
    /// No converter means Latin-1, as with KZString.
    explicit DBMessage(KZSmartPtr<KZStringConverter> const & converter = {}) : converter_(converter) {}
    /// `id` has 32 bits.
    DBMessage(long id, KZString const & text, KZSmartPtr<KZStringConverter> const & converter = {})
        : id_(id), text_(text), converter_(converter) {}
    DBMessage(DBMessage const &) = default;
    DBMessage & operator=(DBMessage const &) = default;
    virtual ~DBMessage();

    [[nodiscard]] long GetId() const noexcept { return id_; }
    void SetId(long id) noexcept { id_ = id; }
    [[nodiscard]] KZString const & GetText() const noexcept { return text_; }
    void SetText(KZString const & text) { text_ = text; }
    [[nodiscard]] KZSmartPtr<KZStringConverter> const & GetConverter() const noexcept { return converter_; }
    void SetConverter(KZSmartPtr<KZStringConverter> const & converter) { converter_ = converter; }
    /// Whether the message has its text in UTF-8, too. False for a new message; reading sets it.
    [[nodiscard]] bool IsUtf8() const noexcept { return isUtf8_; }
    void SetUtf8(bool isUtf8) noexcept { isUtf8_ = isUtf8; }
    /// The place in the stream, in bytes, from which the message was read; -1 when the stream doesn't know its place. 0 for a
    /// message that wasn't read.
    [[nodiscard]] std::int64_t GetPosition() const noexcept { return position_; }

    /// Writes the message. A character that the code page lacks becomes "?"; if `IsUtf8`, the UTF-8 behind it has the character,
    /// with U+FFFD for a lone surrogate. The text is written up to its first 0 unit.
    friend KZ_EXPORT std::ostream & operator<<(std::ostream & stream, DBMessage const & message);
    /// Reads one message. If it has a text in UTF-8, that is the text. Otherwise the text is read up to its first byte 0, and one
    /// that isn't valid in the code page becomes empty, which is no error. At the end of the stream, and when the message is cut
    /// short, `failbit` is set and the text is empty; the number is set if the stream has all its bytes. A wrong length takes at
    /// most 64 KB of memory more than the stream has bytes.
    friend KZ_EXPORT std::istream & operator>>(std::istream & stream, DBMessage & message);

private:
    long id_ = 0;
    std::int64_t position_ = 0;
    bool isUtf8_ = false;
    KZString text_;
    KZSmartPtr<KZStringConverter> converter_;
};
