/// @file
/// The buffer under the wide file streams: UTF-8 in the file, `wchar_t` in the stream.
#pragma once

#include "ZerlithCore/platform/Export.h"
#include "ZerlithCore/platform/FileHandle.h"
#include "ZerlithCore/text/KZString.h"

#include <cstdint>
#include <ios>
#include <streambuf>
#include <string>

/// Reads and writes a UTF-8 file in blocks, in one direction at a time; turning round needs no call in between.
///
/// A byte-order mark at the start of the file is skipped and none is written. A byte that isn't UTF-8 reads as the
/// character U+DC00 + byte and is written as that byte again, so whatever a file holds survives a load and a save.
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
    bool open(KZString const & path, std::ios_base::openmode mode);
    [[nodiscard]] bool is_open() const noexcept { return file_.IsOpen(); }
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

    bool ReadBlock();
    bool StartWriting();
    bool WriteBlock(bool isLast);
    [[nodiscard]] std::int64_t ReadPosition() const;
    void DropAreas() noexcept;

    KZPlatform::FileHandle file_;
    std::ios_base::openmode mode_{};
    Direction direction_ = Direction::None;
    bool failed_ = false;          // a write didn't reach the system
    std::int64_t areaBegin_ = 0;   // bytes in front of the get area's first character
    std::int64_t decodedEnd_ = 0;  // bytes in front of the first one that isn't decoded
    std::size_t pendingBytes_ = 0; // at the start of bytes_: read, but cut inside a character
    std::string bytes_;
    std::u16string units_;
    std::wstring characters_; // behind the get area or the put area
};
