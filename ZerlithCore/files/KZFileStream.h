/// @file
/// Wide streams on text files.
///
///     KZFileStream in(u"settings.ini");
///     for (std::wstring line; std::getline(in, line);) ...
///     KZOFileStream out(u"settings.ini");
///     out << L"[Section]\n";
///     if (!out.close()) ...              // the disk is full
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/files/KZFileStreamBuf.h"
#include "ZerlithCore/text/KZString.h"

#include <istream>
#include <ostream>

/// A wide stream for reading, or for reading and writing, a text file in UTF-8 or, by its mark, in UTF-16;
/// KZFileStreamBuf tells how bytes and characters meet. A failure to open sets `failbit`, as does a failed `close`.
///
/// Thread safety: one object needs outside locking.
class KZ_EXPORT KZFileStream : public std::wiostream {
public:
    KZFileStream() : std::wiostream(nullptr) { init(&buffer_); }
    /// As `open`.
    explicit KZFileStream(KZString const & path, std::ios_base::openmode mode = std::ios_base::in,
                          KZTextEncoding encoding = KZTextEncoding::Utf8);
    ~KZFileStream() override;

    /// Opens, after which the state is good or has `failbit`. `encoding` is for a file that has no content yet.
    void open(KZString const & path, std::ios_base::openmode mode = std::ios_base::in,
              KZTextEncoding encoding = KZTextEncoding::Utf8);
    [[nodiscard]] bool is_open() const noexcept { return buffer_.is_open(); }
    /// The encoding of the file.
    [[nodiscard]] KZTextEncoding GetEncoding() const noexcept { return buffer_.GetEncoding(); }
    /// Writes what is gathered and closes. False, and `failbit`, when a write failed, the stream is bad or nothing was open.
    bool close();
    [[nodiscard]] KZFileStreamBuf * rdbuf() const noexcept { return const_cast<KZFileStreamBuf *>(&buffer_); }

private:
    KZFileStreamBuf buffer_;
};

/// A wide stream for writing a text file, which it empties first unless the mode has `app`. Otherwise as KZFileStream.
class KZ_EXPORT KZOFileStream : public std::wostream {
public:
    KZOFileStream() : std::wostream(nullptr) { init(&buffer_); }
    /// As `open`; `out` needn't be in `mode`.
    explicit KZOFileStream(KZString const & path,
                           std::ios_base::openmode mode = std::ios_base::out | std::ios_base::trunc,
                           KZTextEncoding encoding = KZTextEncoding::Utf8);
    ~KZOFileStream() override;

    /// Opens, after which the state is good or has `failbit`. `encoding` is for a file that has no content yet.
    void open(KZString const & path, std::ios_base::openmode mode = std::ios_base::out | std::ios_base::trunc,
              KZTextEncoding encoding = KZTextEncoding::Utf8);
    [[nodiscard]] bool is_open() const noexcept { return buffer_.is_open(); }
    /// The encoding of the file.
    [[nodiscard]] KZTextEncoding GetEncoding() const noexcept { return buffer_.GetEncoding(); }
    /// Writes what is gathered and closes. False, and `failbit`, when a write failed, the stream is bad or nothing was open.
    bool close();
    [[nodiscard]] KZFileStreamBuf * rdbuf() const noexcept { return const_cast<KZFileStreamBuf *>(&buffer_); }

private:
    KZFileStreamBuf buffer_;
};
