/// @file
/// Wide streams on UTF-8 files.
///
///     KZFileStream in(u"settings.ini");
///     for (std::wstring line; std::getline(in, line);) ...
///     KZOFileStream out(u"settings.ini");
///     out << L"[Section]\n";
///     if (!out.close()) ...              // the disk is full
#pragma once

#include "ZerlithCore/files/KZFileStreamBuf.h"
#include "ZerlithCore/platform/Export.h"
#include "ZerlithCore/text/KZString.h"

#include <istream>
#include <ostream>

/// A wide stream for reading, or for reading and writing, a UTF-8 file; KZFileStreamBuf tells how bytes and
/// characters meet. A failure to open sets `failbit`, as does a failed `close`.
///
/// Thread safety: one object needs outside locking.
class KZ_EXPORT KZFileStream : public std::wiostream {
public:
    KZFileStream() : std::wiostream(nullptr) { init(&buffer_); }
    explicit KZFileStream(KZString const & path, std::ios_base::openmode mode = std::ios_base::in);
    ~KZFileStream() override;

    /// Opens, after which the state is good or has `failbit`.
    void open(KZString const & path, std::ios_base::openmode mode = std::ios_base::in);
    [[nodiscard]] bool is_open() const noexcept { return buffer_.is_open(); }
    /// Writes what is gathered and closes. False, and `failbit`, when a write failed or nothing was open.
    bool close();
    [[nodiscard]] KZFileStreamBuf * rdbuf() const noexcept { return const_cast<KZFileStreamBuf *>(&buffer_); }

private:
    KZFileStreamBuf buffer_;
};

/// A wide stream for writing a UTF-8 file, which it empties first unless the mode has `app`. Otherwise as
/// KZFileStream.
class KZ_EXPORT KZOFileStream : public std::wostream {
public:
    KZOFileStream() : std::wostream(nullptr) { init(&buffer_); }
    /// `out` needn't be in `mode`.
    explicit KZOFileStream(KZString const & path,
                           std::ios_base::openmode mode = std::ios_base::out | std::ios_base::trunc);
    ~KZOFileStream() override;

    /// Opens, after which the state is good or has `failbit`.
    void open(KZString const & path,
              std::ios_base::openmode mode = std::ios_base::out | std::ios_base::trunc);
    [[nodiscard]] bool is_open() const noexcept { return buffer_.is_open(); }
    /// Writes what is gathered and closes. False, and `failbit`, when a write failed or nothing was open.
    bool close();
    [[nodiscard]] KZFileStreamBuf * rdbuf() const noexcept { return const_cast<KZFileStreamBuf *>(&buffer_); }

private:
    KZFileStreamBuf buffer_;
};
