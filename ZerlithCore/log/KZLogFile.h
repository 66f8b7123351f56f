/// @file
/// A log of stamped lines on a file.
///
///     KZSmartPtr<KZLogFileI> log(new KZLogFile);
///     if (log->Open(u"server.log")) log->Log(u"%s listens on port %d", name.c_str(), port);
///     // 20260302 040506> server listens on port 80
#pragma once

#include "ZerlithCore/files/KZFile.h"
#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/platform/Export.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <atomic>
#include <cstdarg>
#include <memory>
#include <string>
#include <string_view>

class LogStamp;

/// What a log file can do. On a closed file every operation but `Open` and the setter does nothing.
///
/// Thread safety: all operations may be called from any thread; what one call writes isn't mixed with another's.
class KZ_EXPORT KZLogFileI : public KZRefCountI {
public:
    ~KZLogFileI() override;

    virtual void Close() = 0;
    /// Hands what is gathered to the system; the disk isn't forced.
    virtual void Flush() = 0;
    [[nodiscard]] virtual bool GetAutoFlush() const = 0;
    /// With auto flush each call reaches the system before it returns. It is off at first.
    virtual void SetAutoFlush(bool autoFlush) = 0;
    /// Writes the local time as "20260302 040506> ".
    virtual void PutDateTime() = 0;
    /// Writes a text, and a physical line at most: a "\n" inside becomes "~", one at the end becomes "\r\n", and a
    /// text without one ends no line. "\r\n" at the end stays as it is. Null counts as empty, which writes nothing.
    virtual void PutString(char16_t const * text) = 0;
    /// Writes stamp and expanded text as one line. The formats are those of KZString::Format. A format that doesn't
    /// end in "\n" gets a line end behind what it expands to, an empty one none. The text is cut at 16,365 units.
    virtual void Log(char16_t const * format, ...) = 0;
    /// The same with a started argument list.
    virtual void LogArgList(char16_t const * format, std::va_list arguments) = 0;
    /// Opens a file to append to, which is made if it is missing; an open one is closed first.
    /// Errors: false, with the reason in the thread's last error.
    virtual bool Open(char16_t const * path) = 0;
    [[nodiscard]] virtual bool IsOpen() const = 0;
};

/// The log file of the library: 16-bit units in the byte order of the machine, without a byte-order mark, lines ended
/// by "\r\n". It has no size limit and isn't rotated.
///
/// What one call writes, a record, reaches the file whole and behind everything else in it, so several objects and
/// processes may share a file. Without auto flush records gather, up to 64 KB, until the buffer is full, or `Flush`,
/// `Close`, the destructor, or the report of a processor fault writes them. A record that the system refuses is lost.
class KZ_EXPORT KZLogFile : public KZLogFileI {
public:
    KZLogFile();
    ~KZLogFile() override;
    KZLogFile(KZLogFile const &) = delete;
    KZLogFile & operator=(KZLogFile const &) = delete;

    unsigned long AddRef() const override { return count_.Increment(); }
    unsigned long Release() const override;

    void Close() override;
    void Flush() override;
    [[nodiscard]] bool GetAutoFlush() const override;
    void SetAutoFlush(bool autoFlush) override;
    void PutDateTime() override;
    void PutString(char16_t const * text) override;
    void Log(char16_t const * format, ...) override;
    void LogArgList(char16_t const * format, std::va_list arguments) override;
    bool Open(char16_t const * path) override;
    [[nodiscard]] bool IsOpen() const override;

    /// Writes what all log files of the process have gathered, except those in use at this moment: it waits for
    /// nothing, so that the report of a fault may call it.
    static void FlushAll() noexcept;

private:
    class Registry;

    void PutRecord(std::u16string_view text, bool isStamped);
    void AppendLine(std::u16string_view text);
    void WriteGathered() noexcept;

    KZCounter count_;
    bool autoFlush_ = false;
    mutable KZCriticalSection lock_;
    KZFile file_;

    std::atomic<bool> isOpen_{false}; // may be asked without the lock
    std::u16string gathered_;         // whole records, and the one that is being made
    std::size_t wholeUnits_ = 0;      // of the whole records
    std::unique_ptr<LogStamp> stamp_;
    KZLogFile * next_ = nullptr; // in the list of all
};
