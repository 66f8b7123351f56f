// A text file as units.
#pragma once

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/files/KZTextEncoding.h"
#include "ZerlithCore/platform/FileHandle.h"

#include <cstdint>
#include <ios>
#include <optional>
#include <string>
#include <string_view>

namespace KZDetail {

/// Reads and writes the units of a text file in its encoding, block by block. KZFileStreamBuf tells of modes, marks, positions and
/// bytes that are no text; it is this class with `wchar_t` around it.
///
/// Thread safety: one object needs outside locking.
class UnitFile {
public:
    using OpenMode = std::ios_base::openmode;

    /// As KZFileStreamBuf::open.
    [[nodiscard]] bool Open(std::u16string_view path, OpenMode mode,
                            KZTextEncoding encoding = KZTextEncoding::Utf8);
    [[nodiscard]] bool IsOpen() const noexcept { return file_.IsOpen(); }
    /// True when the file is open in a mode with `flag`.
    [[nodiscard]] bool Is(OpenMode flag) const noexcept { return IsOpen() && (mode_ & flag) != 0; }
    [[nodiscard]] KZTextEncoding GetEncoding() const noexcept { return encoding_; }
    /// Writes what is gathered and closes the file. False when this or an earlier write failed, or when no file was open.
    bool Close() noexcept;

    // --- Reading

    /// The next units, valid until the next call; empty at the end of the file. Pairs aren't cut. After writing: requires `Flush`.
    /// Errors: std::ios_base::failure if the system can't read, std::bad_alloc with nothing read.
    [[nodiscard]] std::u16string_view Read();
    /// The byte for which the last unit that was read, a U+FFFD, stands: the single byte at the end of a UTF-16 file.
    [[nodiscard]] std::optional<unsigned char> LoneByte() const noexcept { return loneByte_; }
    /// The position of the first unit that was read by the last call.
    [[nodiscard]] std::int64_t BlockBegin() const noexcept { return blockBegin_; }
    [[nodiscard]] bool IsReading() const noexcept { return direction_ == Direction::Reading; }
    /// Reads a line of any length, without its "\n". False at the end of the file. Errors: as `Read`.
    [[nodiscard]] bool ReadLine(std::u16string & line);

    // --- Writing

    [[nodiscard]] bool IsWriting() const noexcept { return direction_ == Direction::Writing; }
    /// Makes the file ready for `Write`. After reading, text is written at `readPosition`. False when the system refuses.
    [[nodiscard]] bool StartWriting(std::int64_t readPosition = 0);
    /// Gathers text, and writes it when there is a block of it. What the system refuses is dropped: false. A high surrogate at the end
    /// waits for its partner. Requires: `IsWriting`.
    [[nodiscard]] bool Write(std::u16string_view units);
    /// Gathers a single byte of UTF-16, which was read as one. Text after it begins at the next unit.
    [[nodiscard]] bool WriteLoneByte(unsigned char byte);
    /// Writes what is gathered. False when the system refuses; that text is dropped.
    [[nodiscard]] bool Flush();
    /// For text that was lost before it came here: `Close` will return false.
    void Fail() noexcept { failed_ = true; }

    /// Writes what is gathered, and moves. The new position in bytes; -1 if that fails.
    std::int64_t Seek(std::int64_t offset, KZPlatform::FileOrigin origin);

private:
    enum class Direction : unsigned char { None, Reading, Writing };

    bool FindEncoding(std::u16string_view path);
    std::size_t SkipMark(std::string_view block);
    std::size_t Decode(std::string_view block, bool isLast, std::size_t & count);
    void Gather(std::u16string_view units);
    bool WriteGathered();
    bool PrepareToWrite();

    KZPlatform::FileHandle file_;
    OpenMode mode_{};
    KZTextEncoding encoding_ = KZTextEncoding::Utf8;
    Direction direction_ = Direction::None;
    std::string bytes_; // when reading, the last block; when writing, what is gathered

    std::u16string units_;
    std::u16string_view line_; // what `ReadLine` has left of the last block
    std::optional<unsigned char> loneByte_;
    std::int64_t blockBegin_ = 0;
    std::int64_t decodedEnd_ = 0;  // the position of the first byte that isn't decoded yet
    std::size_t pendingBytes_ = 0; // bytes of a character that isn't complete yet, at the start of `bytes_`

    KZEncoding::Utf8Encoder encoder_{KZEncoding::Utf8Mode::Escape};
    bool failed_ = false; // text was lost
};

} // namespace KZDetail
