/// @file
/// A stream that writes to a file and to the console at once.
///
///     KZDualLogStream stream(u"install.log");
///     if (!stream.IsGood()) stream << L"install.log can't be opened" << std::endl; // goes to the console only
///     stream << L"copying " << KZString(u"reader.osx") << std::endl;               // goes to both
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZUnitStreamBuf.h"
#include "ZerlithCore/text/KZWideText.h"

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>

class KZDualLogStream;

namespace KZDetail {
class RecordFile;
}

/// The buffer of a KZDualLogStream: passes each unit and each flush on to that stream.
///
/// Thread safety: one object needs outside locking.
class KZ_EXPORT KZDualLogStreamBuf : public KZUnitStreamBuf {
public:
    /// `owner` must exist as long as this object.
    explicit KZDualLogStreamBuf(KZDualLogStream & owner) : owner_(&owner) {}
    ~KZDualLogStreamBuf() override;

    bool PutUnits(std::u16string_view units) override;

protected:
    std::streamsize xsputn(wchar_t const * text, std::streamsize count) override;
    /// Nothing can be read: always the end of the file.
    int_type underflow() override;
    int sync() override;

private:
    KZDualLogStream * owner_;
};

/// Writes to the console at once, and to a UTF-8 file at each flush.
///
/// Text that the disk refuses is kept, up to 64 KB, and tried again at the next flush. Further text is dropped, and a line such
/// as "*** messages lost: 12" is written when the file takes text again. The stream stays good when the disk refuses text and
/// when memory runs out.
///
/// Thread safety: one object needs outside locking.
class KZ_EXPORT KZDualLogStream : public std::wostream {
public:
    /// Writes to the console only.
    KZDualLogStream();
    /// Writes to the file too, which is emptied first. An empty `path` means no file. Errors: `IsGood`.
    explicit KZDualLogStream(KZString const & path);

    /// False when the file that the constructor was given could not be opened. Text then goes to the console only.
    [[nodiscard]] virtual bool IsGood() const;
    /// Takes one unit of the text. A surrogate pair comes in two calls.
    virtual void OnChar(char16_t unit);
    /// Flushes file and console.
    virtual void OnEOL();
    ~KZDualLogStream() override;

    /// The number of texts that the file has lost. What is written between two flushes counts as one text.
    [[nodiscard]] std::uint64_t GetLostRecordCount() const;

private:
    void GatherForFile(char16_t unit);
    void LoseText();
    void PutToFile();

    std::unique_ptr<KZDetail::RecordFile> file_;
    bool isGood_ = true;
    std::u16string gathered_; // for the file, since the last flush
    bool isTextLost_ = false; // memory failed for a piece of it
    KZWideJoiner joiner_;     // for the console
    KZDualLogStreamBuf buffer_;
};
