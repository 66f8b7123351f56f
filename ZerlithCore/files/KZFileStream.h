/// @file
/// Wide streams on text files.
///
///     std::wstring text;
///     KZFileStream in(u"settings.ini");
///     for (std::wstring line; std::getline(in, line);) text += line + L'\n';
///     in.close();
///     KZOFileStream out(u"settings.ini");
///     out << text << L"[Section]\n";
///     if (!out.close()) KZGetConsole() << L"settings.ini could not be written" << std::endl; // the disk is full, say
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/files/KZFileStreamBuf.h"
#include "ZerlithCore/text/KZString.h"

#include <istream>
#include <ostream>

/// A wide stream that reads, or reads and writes, a text file in UTF-8, or in UTF-16 if the file begins with a byte-order mark.
/// KZFileStreamBuf describes how bytes become characters. `failbit` is set when opening or `close` fails; `badbit` when the
/// file can't be read or written in between.
///
/// Thread safety: one object needs outside locking.
class KZ_EXPORT KZFileStream : public std::wiostream {
public:
    /// Makes a stream without a file; `open` gives it one.
    KZFileStream() : std::wiostream(nullptr) { init(&buffer_); }
    /// As `open`.
    explicit KZFileStream(KZString const & path, std::ios_base::openmode mode = std::ios_base::in,
                          KZTextEncoding encoding = KZTextEncoding::Utf8);
    ~KZFileStream() override;

    /// Opens the file; afterwards the stream is good or has `failbit`. `encoding` is used for a file without content.
    void open(KZString const & path, std::ios_base::openmode mode = std::ios_base::in,
              KZTextEncoding encoding = KZTextEncoding::Utf8);
    [[nodiscard]] bool is_open() const noexcept { return buffer_.is_open(); }
    /// The encoding of the file.
    [[nodiscard]] KZTextEncoding GetEncoding() const noexcept { return buffer_.GetEncoding(); }
    /// Writes what is gathered and closes the file. Returns false and sets `failbit` when this or an earlier write failed, when
    /// the stream is bad, or when no file was open.
    bool close();
    [[nodiscard]] KZFileStreamBuf * rdbuf() const noexcept { return const_cast<KZFileStreamBuf *>(&buffer_); }

private:
    KZFileStreamBuf buffer_;
};

/// A wide stream that writes a text file. Opening empties the file, unless the mode has `app`. Otherwise as KZFileStream.
///
/// Thread safety: one object needs outside locking.
class KZ_EXPORT KZOFileStream : public std::wostream {
public:
    /// Makes a stream without a file; `open` gives it one.
    KZOFileStream() : std::wostream(nullptr) { init(&buffer_); }
    /// As `open`; `out` needn't be in `mode`.
    explicit KZOFileStream(KZString const & path,
                           std::ios_base::openmode mode = std::ios_base::out | std::ios_base::trunc,
                           KZTextEncoding encoding = KZTextEncoding::Utf8);
    ~KZOFileStream() override;

    /// Opens the file; afterwards the stream is good or has `failbit`. `encoding` is used for a file without content.
    void open(KZString const & path, std::ios_base::openmode mode = std::ios_base::out | std::ios_base::trunc,
              KZTextEncoding encoding = KZTextEncoding::Utf8);
    [[nodiscard]] bool is_open() const noexcept { return buffer_.is_open(); }
    /// The encoding of the file.
    [[nodiscard]] KZTextEncoding GetEncoding() const noexcept { return buffer_.GetEncoding(); }
    /// Writes what is gathered and closes the file. Returns false and sets `failbit` when this or an earlier write failed, when
    /// the stream is bad, or when no file was open.
    bool close();
    [[nodiscard]] KZFileStreamBuf * rdbuf() const noexcept { return const_cast<KZFileStreamBuf *>(&buffer_); }

private:
    KZFileStreamBuf buffer_;
};
