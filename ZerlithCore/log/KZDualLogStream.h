/// @file
/// A stream that writes to a file and to the console at once.
///
///     KZDualLogStream stream(u"install.log");
///     stream << L"copying " << name << std::endl;
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZWideText.h"

#include <cstdint>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

class KZDualLogStream;

namespace KZDetail {
class RecordFile;
}

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

/// The stream; the file is UTF-8. Text reaches it at a flush, and the console at once.
///
/// What the disk refuses stays gathered and is tried again at the next flush, up to 64 KB; after that it is dropped, and a line
/// "*** messages lost: 12" follows when the file takes text again. Neither that nor want of memory makes the stream go bad.
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

    /// How many texts, each from one flush to the next, the file has lost.
    [[nodiscard]] std::uint64_t GetLostRecordCount() const;

private:
    void GatherForFile(char16_t unit);
    void LoseText();
    void PutToFile();

    std::unique_ptr<KZDetail::RecordFile> file_;
    bool isGood_ = true;
    std::u16string gathered_; // for the file, since the last flush
    bool isTextLost_ = false; // a piece of it couldn't be gathered
    KZWideJoiner joiner_;     // for the console
    KZDualLogStreamBuf buffer_;
};
