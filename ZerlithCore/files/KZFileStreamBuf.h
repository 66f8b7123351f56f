/// @file
/// The buffer of the wide file streams: UTF-8 or UTF-16 in the file, `wchar_t` in the stream.
///
///     KZFileStreamBuf buffer;
///     if (buffer.open(u"settings.ini", std::ios_base::in)) {
///         std::wistream in(&buffer);
///         for (std::wstring line; std::getline(in, line);) KZGetConsole() << line.c_str() << std::endl;
///     }
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/files/KZTextEncoding.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZUnitStreamBuf.h"

#include <cstdint>
#include <ios>
#include <memory>
#include <string>
#include <string_view>

namespace KZDetail {
class UnitFile;
}

/// Reads and writes a text file in blocks. Reads and writes may follow each other without a call in between.
///
/// A byte-order mark at the start of the file decides its encoding: UTF-8, or UTF-16 of either byte order. A file without a mark
/// is UTF-8. The mark isn't part of the text: reading skips it, and text that is written at position 0 is put after it. A new
/// file gets the encoding that was passed to `open`, and its mark.
///
/// Whatever a file holds survives a load and a save in its encoding. In UTF-8 a byte that doesn't belong to a character is
/// read as the character U+DC00 + byte, and written as that byte again. In UTF-16 a surrogate without a partner is read as
/// it is. A single byte at the end of a UTF-16 file is read as 0x110000 + byte, which isn't a character of Unicode (in a
/// KZString it becomes U+FFFD); text that is written after such a byte starts at the next unit.
///
/// The locale has no effect. Positions are in bytes, and every position that was returned can be sought.
///
/// Errors: if the system can't read the file, reading throws std::ios_base::failure, which a stream turns into `badbit`. A write
/// that fails returns the end of the file, and `close` returns false later.
///
/// Thread safety: one object needs outside locking.
class KZ_EXPORT KZFileStreamBuf : public KZUnitStreamBuf {
public:
    KZFileStreamBuf();
    KZFileStreamBuf(KZFileStreamBuf const &) = delete;
    KZFileStreamBuf & operator=(KZFileStreamBuf const &) = delete;
    /// Closes the file and ignores a failure. Call `close` to learn of it.
    ~KZFileStreamBuf() override;

    /// Opens by the rules of the standard's file buffers; `binary` makes no difference. False when a file is open already,
    /// when the mode makes no sense, or when the system refuses, as it does for a folder. A file that is made or emptied here,
    /// or is empty and open for writing, gets `encoding`; any other file keeps its own.
    bool open(KZString const & path, std::ios_base::openmode mode,
              KZTextEncoding encoding = KZTextEncoding::Utf8);
    [[nodiscard]] bool is_open() const noexcept;
    /// The encoding of the file, by the mark that was read or written last. That of a pipe is known after the first read.
    [[nodiscard]] KZTextEncoding GetEncoding() const noexcept;
    /// Writes what is gathered and closes the file. False when this or an earlier write failed, or when no file was open.
    bool close();

    bool PutUnits(std::u16string_view units) override;

protected:
    int_type underflow() override;
    int_type overflow(int_type character = traits_type::eof()) override;
    std::streamsize xsputn(wchar_t const * text, std::streamsize count) override;
    int sync() override;
    pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                     std::ios_base::openmode which) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

private:
    bool ReadBlock();
    bool StartWriting();
    void MakePutArea();
    bool WriteArea();
    [[nodiscard]] std::int64_t BytesOf(wchar_t const * begin, wchar_t const * end) const;
    [[nodiscard]] std::int64_t ReadPosition() const;
    void DropAreas() noexcept;

    std::unique_ptr<KZDetail::UnitFile> file_; // null before the first `open`
    std::wstring characters_;                  // the memory of the get area or the put area
    std::ptrdiff_t keptCount_ = 0;             // characters of the block before, at the start of the get area
};
