/// @file
/// The buffer under the wide file streams: UTF-8 or UTF-16 in the file, `wchar_t` in the stream.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/files/KZTextEncoding.h"
#include "ZerlithCore/platform/FileHandle.h"
#include "ZerlithCore/text/KZString.h"

#include <cstdint>
#include <ios>
#include <streambuf>
#include <string>

/// Reads and writes a text file in blocks, in one direction at a time; turning round needs no call in between.
///
/// A byte-order mark at the start of the file decides about its encoding: UTF-8, which is also that of a file without a mark,
/// or UTF-16 of either byte order. The mark isn't part of the text: it is skipped, also by what is written at position 0.
/// A new file gets the encoding that `open` was given, and its mark.
///
/// Whatever a file holds survives a load and a save in its encoding. In UTF-8 a byte that doesn't belong to a character
/// reads as the character U+DC00 + byte and is written as that byte again. In UTF-16 a surrogate without a partner reads as
/// it is, and a single byte at the end of the file as 0x110000 + byte, which is no character of Unicode (KZString takes U+FFFD for it).
/// Text that is written behind such a byte starts at the next unit.
///
/// No locale has a say. Positions are in bytes; every position that was told can be sought.
///
/// Thread safety: one object needs outside locking.
class KZ_EXPORT KZFileStreamBuf : public std::wstreambuf {
public:
    KZFileStreamBuf();
    KZFileStreamBuf(KZFileStreamBuf const &) = delete;
    KZFileStreamBuf & operator=(KZFileStreamBuf const &) = delete;
    /// Closes; a failure is lost here, so call `close` to learn of it.
    ~KZFileStreamBuf() override;

    /// Opens by the rules of the standard's file buffers; `binary` makes no difference. False when something is open
    /// already, for a mode that makes no sense, or when the system refuses, as it does for a folder.
    /// A file that is made, emptied, or empty and open for writing gets `encoding`; any other has its own.
    bool open(KZString const & path, std::ios_base::openmode mode,
              KZTextEncoding encoding = KZTextEncoding::Utf8);
    [[nodiscard]] bool is_open() const noexcept { return file_.IsOpen(); }
    /// That of the file, by the mark that was met or written last. A pipe's is known when something was read.
    [[nodiscard]] KZTextEncoding GetEncoding() const noexcept { return encoding_; }
    /// Writes what is gathered and closes. False when that, or any write before, failed, or nothing was open.
    bool close();

protected:
    int_type underflow() override;
    int_type overflow(int_type character = traits_type::eof()) override;
    int sync() override;
    pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                     std::ios_base::openmode which) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

private:
    enum class Direction : unsigned char { None, Reading, Writing };

    bool FindEncoding(KZString const & path);
    bool ReadBlock();
    std::size_t SkipMark(std::string_view block);
    std::size_t Decode(std::string_view block, bool isLast);
    bool StartWriting();
    bool WriteBlock(bool isLast);
    bool PrepareToWrite();
    [[nodiscard]] std::int64_t BytesOf(std::wstring_view characters) const;
    [[nodiscard]] std::int64_t ReadPosition() const;
    void DropAreas() noexcept;

    KZPlatform::FileHandle file_;
    std::ios_base::openmode mode_{};
    KZTextEncoding encoding_ = KZTextEncoding::Utf8;
    Direction direction_ = Direction::None;
    bool failed_ = false;          // a write didn't reach the system
    std::int64_t areaBegin_ = 0;   // bytes in front of the get area's first character
    std::int64_t decodedEnd_ = 0;  // bytes in front of the first one that isn't decoded
    std::size_t pendingBytes_ = 0; // at the start of bytes_: read, but cut inside a character
    std::string bytes_;
    std::u16string units_;
    std::wstring characters_; // behind the get area or the put area
};
