/// @file
/// A stream that writes to a file and to the console at once.
///
///     KZDualLogStream stream(u"install.log");
///     stream << L"copying " << name << std::endl;
#pragma once

#include "ZerlithCore/files/KZFileStream.h"
#include "ZerlithCore/platform/Export.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZWideText.h"

#include <memory>
#include <ostream>
#include <streambuf>

class KZDualLogStream;

/// Passes each unit, and each flush, on to the stream that owns it.
class KZ_EXPORT KZDualLogStreamBuf : public std::wstreambuf {
public:
    explicit KZDualLogStreamBuf(KZDualLogStream & owner) : owner_(&owner) {}
    ~KZDualLogStreamBuf() override;

protected:
    int_type overflow(int_type character = traits_type::eof()) override;
    /// Always the end of the file.
    int_type underflow() override;
    int sync() override;

private:
    KZDualLogStream * owner_;
};

/// The stream; the file is UTF-8.
///
/// Thread safety: one object needs outside locking.
class KZ_EXPORT KZDualLogStream : public std::wostream {
public:
    /// Writes to the console only.
    KZDualLogStream();
    /// Writes to the file too, which is emptied first. An empty `path` means no file.
    explicit KZDualLogStream(KZString const & path);

    /// False when there was to be a file and it could not be opened; the console is then written to alone.
    [[nodiscard]] virtual bool IsGood() const;
    /// Takes one unit of the text; of a surrogate pair both.
    virtual void OnChar(char16_t unit);
    /// Flushes file and console.
    virtual void OnEOL();
    ~KZDualLogStream() override;

private:
    std::unique_ptr<KZOFileStream> file_;
    bool isGood_ = true;
    KZWideJoiner joiner_;
    KZDualLogStreamBuf buffer_;
};
