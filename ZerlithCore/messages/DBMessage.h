/// @file
/// One message of a message library file.
///
///     std::ostringstream out;
///     out << DBMessage(7, u"Datei fehlt: %s") << DBMessage(8, u"Platte voll");
///     std::istringstream in(out.str());
///     for (DBMessage message; in >> message;) std::wcout << message.GetText() << L'\n';
///
/// In the file a message is its number, 4 bytes, the length of its text in bytes, 4 bytes, both with the high byte first,
/// and the text in a code page. One follows the other, with nothing before, between and behind them.
#pragma once

#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZStringConverter.h"

#include <cstdint>
#include <iosfwd>

/// A number and its text, and the converter that stands for the code page of the text in a file.
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
    /// Where in the stream the reader found the message, in bytes; -1 where the stream can't tell. 0 until it is read.
    [[nodiscard]] std::int64_t GetPosition() const noexcept { return position_; }

    /// Writes the message. What the code page lacks becomes "?", and a text ends in front of its first 0 unit.
    friend KZ_EXPORT std::ostream & operator<<(std::ostream & stream, DBMessage const & message);
    /// Reads one message. A text that isn't of the code page is empty, without an error; one with a byte 0 ends there. A
    /// message that is cut short sets `failbit`, as does the end of the stream, and has no text; its number counts when
    /// that is whole. Memory: for bytes that are there, whatever length the message claims.
    friend KZ_EXPORT std::istream & operator>>(std::istream & stream, DBMessage & message);

private:
    long id_ = 0;
    std::int64_t position_ = 0;
    KZString text_;
    KZSmartPtr<KZStringConverter> converter_;
};
