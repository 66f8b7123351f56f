/// @file
/// A log file whose lines begin with the date and time.
///
///     KZSmartPtr<KZLogFileI> log(new KZLogFile);
///     if (log->Open(u"server.log")) log->Log(u"%s listens on port %d", KZString(u"server"), 80);
///     // 20260302 040506> server listens on port 80
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace KZDetail {
class LogStamp;
class RecordFile;
} // namespace KZDetail

/// What a log file can do. On a closed file every operation except `Open` and `SetAutoFlush` does nothing.
///
/// Thread safety: all operations may be called from any thread, and what one call writes isn't mixed with another's.
class KZ_EXPORT KZLogFileI : public KZRefCountI {
public:
    ~KZLogFileI() override;

    /// Writes what is gathered and closes the file.
    virtual void Close() = 0;
    /// Passes what is gathered to the system, but doesn't wait until it is on the disk.
    virtual void Flush() = 0;
    [[nodiscard]] virtual bool GetAutoFlush() const = 0;
    /// With auto flush each call passes its text to the system before it returns. It is off at first.
    virtual void SetAutoFlush(bool autoFlush) = 0;
    /// Writes the local time as "20260302 040506> ".
    virtual void PutDateTime() = 0;
    /// Writes a text as one line or a part of a line: a "\n" inside becomes "~", a "\n" at the end becomes "\r\n", and "\r\n"
    /// at the end stays. Without a "\n" at the end the line stays open. A null or empty text writes nothing.
    virtual void PutString(char16_t const * text) = 0;
    /// Writes the date and time, and then the expanded text, as one line. Formats are those of KZString::Format. A line end is
    /// added if the format isn't empty and doesn't end in "\n". The text is cut at 16,365 units.
    virtual void Log(char16_t const * format, ...) = 0;
    /// The same with strings and views among the arguments, as in `KZString::Format`.
    template <KZFormattable... Arguments>
    requires(std::is_class_v<Arguments> || ...) void Log(char16_t const * format,
                                                         Arguments const &... arguments) {
        KZString text;
        text.Format(format, arguments...);
        LogExpanded(format, text);
    }
    template <class... Arguments>
    requires(!KZFormattable<Arguments> || ...) void Log(char16_t const *, Arguments const &...) = delete;
    /// The same with a started argument list.
    virtual void LogArgList(char16_t const * format, std::va_list arguments) = 0;
    /// Opens the file at `path` for appending, and makes it if it is missing. A file that is open is closed first.
    /// Errors: false, with the reason in the thread's last error.
    virtual bool Open(char16_t const * path) = 0;
    [[nodiscard]] virtual bool IsOpen() const = 0;

private:
    void LogExpanded(char16_t const * format, KZString & text);
};

/// The log file of the library: 16-bit units in the byte order of the machine, without a byte-order mark, lines ended
/// by "\r\n". It has no size limit and isn't rotated.
///
/// What one call writes is a record. Each record is appended whole at the end of the file, so several objects and processes may
/// share a file. Without auto flush up to 64 KB of records are gathered. They are written when the buffer is full, and by
/// `Flush`, `Close`, the destructor and the report of a processor fault.
///
/// A record that the system refuses, as on a full disk, is kept, up to 64 KB in all, and tried again with the next record.
/// Further records, and records for which there is no memory, are dropped and counted. A line such as "*** records lost: 12" is
/// written when the file takes lines again. A record of which the system took a part is completed. If the file ends in an
/// unfinished line, since a process was killed or the disk was full, that line is filled up to a whole unit and ended before
/// the next record. A line that this object left open itself is continued; one that another object left open is ended.
class KZ_EXPORT KZLogFile : public KZCounted<KZLogFile, KZLogFileI> {
public:
    /// Makes a log file that isn't open. Errors: std::bad_alloc.
    KZLogFile();
    /// Closes the file, as `Close`.
    ~KZLogFile() override;
    KZLogFile(KZLogFile const &) = delete;
    KZLogFile & operator=(KZLogFile const &) = delete;

    void Close() override;
    void Flush() override;
    [[nodiscard]] bool GetAutoFlush() const override;
    void SetAutoFlush(bool autoFlush) override;
    void PutDateTime() override;
    void PutString(char16_t const * text) override;
    using KZLogFileI::Log;
    void Log(char16_t const * format, ...) override;
    void LogArgList(char16_t const * format, std::va_list arguments) override;
    bool Open(char16_t const * path) override;
    [[nodiscard]] bool IsOpen() const override;

    /// The number of records that this object has lost: those for which there was no room or memory, and those that still
    /// couldn't be written when the file was closed.
    [[nodiscard]] std::uint64_t GetLostRecordCount() const;

    /// Writes what all log files of the process have gathered. It skips a file that another thread is using, because it must
    /// never wait: the report of a processor fault calls it.
    static void FlushAll() noexcept;

private:
    class Registry;

    void PutRecord(std::u16string_view line, bool isStamped) noexcept;
    void CountLost() noexcept;

    bool autoFlush_ = false;
    mutable KZCriticalSection lock_;
    std::unique_ptr<KZDetail::RecordFile> file_;

    std::atomic<bool> isOpen_{false}; // may be asked without the lock
    std::unique_ptr<KZDetail::LogStamp> stamp_;
    KZLogFile * next_ = nullptr; // in the list of all log files
};
