/// @file
/// A log of stamped lines on a file.
///
///     KZSmartPtr<KZLogFileI> log(new KZLogFile);
///     if (log->Open(u"server.log")) log->Log(u"%s listens on port %d", name, port);
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
    /// The same with strings and views among the arguments, which know their types as those of `KZString::Format` do.
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
    /// Opens a file to append to, which is made if it is missing; an open one is closed first.
    /// Errors: false, with the reason in the thread's last error.
    virtual bool Open(char16_t const * path) = 0;
    [[nodiscard]] virtual bool IsOpen() const = 0;

private:
    void LogExpanded(char16_t const * format, KZString & text);
};

/// The log file of the library: 16-bit units in the byte order of the machine, without a byte-order mark, lines ended
/// by "\r\n". It has no size limit and isn't rotated.
///
/// What one call writes, a record, reaches the file whole and behind everything else in it, so several objects and
/// processes may share a file. Without auto flush records gather, up to 64 KB, until the buffer is full, or `Flush`,
/// `Close`, the destructor, or the report of a processor fault writes them.
///
/// A record that the system refuses, as on a full disk, stays gathered and is tried again with the next one, up to 64 KB. After
/// that records are dropped and counted, as when memory fails; a line "*** records lost: 12" follows when the file takes lines
/// again. A record that the system took in part is completed. A piece of a line that stands at the end of the file
/// because a process was killed, or its disk was full, is never joined to a record: it is filled up to a whole unit, and
/// gets a line end. A line that this object has left open isn't such a piece; one that another has left open is.
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
    using KZLogFileI::Log;
    void Log(char16_t const * format, ...) override;
    void LogArgList(char16_t const * format, std::va_list arguments) override;
    bool Open(char16_t const * path) override;
    [[nodiscard]] bool IsOpen() const override;

    /// How many records this object has lost, since there was no room or memory for them, or since they could still not be
    /// written when the file was closed.
    [[nodiscard]] std::uint64_t GetLostRecordCount() const;

    /// Writes what all log files of the process have gathered, except those in use at this moment: it waits for
    /// nothing, so that the report of a fault may call it.
    static void FlushAll() noexcept;

private:
    class Registry;

    void PutRecord(std::u16string_view text, bool isStamped);
    void AppendLine(std::u16string_view text);
    void CountLost() noexcept;

    KZCounter count_;
    bool autoFlush_ = false;
    mutable KZCriticalSection lock_;
    std::unique_ptr<KZDetail::RecordFile> file_;

    std::atomic<bool> isOpen_{false}; // may be asked without the lock
    std::u16string record_;           // that is being made
    std::unique_ptr<KZDetail::LogStamp> stamp_;
    KZLogFile * next_ = nullptr; // in the list of all
};
