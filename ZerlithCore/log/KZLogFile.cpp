// A line is made on the stack before the lock is taken, so that the lock is held only for the stamp and for copying bytes. A
// record is complete before it is added to the gathered ones: if a processor fault happens while a record is being made, the
// report of the fault writes the gathered records, and the unfinished one isn't among them.

#include "ZerlithCore/log/KZLogFile.h"

#include "ZerlithCore/diagnostics/KZDebug.h"
#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/log/detail/LogStamp.h"
#include "ZerlithCore/log/detail/RecordFile.h"
#include "ZerlithCore/platform/Clock.h"
#include "ZerlithCore/text/detail/KZUnitBuffer.h"
#include "ZerlithCore/text/detail/KZUnitScan.h"

#include <new>

namespace {

using Guard = KZGuard<KZCriticalSection>;
using KZDetail::LogStamp;

constexpr std::size_t lineUnits = 16368 - 3; // a buffer of 16,368 units, less line end and terminator

std::string_view BytesOf(std::u16string_view units) {
    return {reinterpret_cast<char const *>(units.data()), units.size() * sizeof(char16_t)};
}

/// Makes `text` one line at most: line ends inside become "~", and the one at the end "\r\n".
void MakeLine(KZDetail::UnitBuffer & text) {
    bool const endsLine = text.View().ends_with(u'\n');
    bool const isComplete = text.View().ends_with(u"\r\n");
    std::size_t const size = text.Size() - (isComplete ? 2U : endsLine ? 1U : 0U);
    char16_t * const units = text.Begin();
    for (std::size_t at = 0; (at += KZUnitScan::FindUnit(units + at, size - at, u'\n')) != size;)
        units[at] = u'~';
    if (endsLine && !isComplete) {
        text.Cut(size);
        text.Put(u"\r\n");
    }
}

void AppendNote(std::string & bytes, std::uint64_t count) {
    LogStamp stamp;
    KZString text;
    text.Format(u"*** records lost: %I64u\r\n", count);
    bytes += BytesOf(stamp.At(KZPlatform::WallClockMilliseconds()));
    bytes += BytesOf(std::u16string_view(text));
}

KZDetail::RecordFile::Form Form() { return {{BytesOf(u"\r\n"), sizeof(char16_t)}, &AppendNote}; }

} // namespace

/// All log files of the process, linked through the objects themselves.
class KZLogFile::Registry {
public:
    static void Add(KZLogFile & file) noexcept {
        Guard const guard(lock_);
        file.next_ = first_;
        first_ = &file;
    }
    static void Remove(KZLogFile & file) noexcept {
        Guard const guard(lock_);
        KZLogFile ** link = &first_;
        while (*link != &file) link = &(*link)->next_;
        *link = file.next_;
    }
    static void FlushAll() noexcept {
        if (!lock_.TryLock()) return;
        for (KZLogFile * file = first_; file; file = file->next_) {
            if (!file->lock_.TryLock()) continue;
            file->file_->Flush();
            file->lock_.Unlock();
        }
        lock_.Unlock();
    }

private:
    static constinit KZCriticalSection lock_;
    static constinit KZLogFile * first_;
};

constinit KZCriticalSection KZLogFile::Registry::lock_;
constinit KZLogFile * KZLogFile::Registry::first_ = nullptr;

KZLogFileI::~KZLogFileI() = default;

// `Log` decides by the end of the format whether to add a line end. So the expanded text is logged under a format that ends
// in the same way.
void KZLogFileI::LogExpanded(char16_t const * format, KZString & text) {
    if (!format) return;
    bool const endsLine = std::u16string_view(format).ends_with(u'\n');
    if (endsLine && text.Length() != 0 && text[text.Length() - 1] == u'\n') text.Remove(text.Length() - 1, 1);
    Log(endsLine ? u"%s\n" : *format != 0 ? u"%s" : u"", text.c_str());
}

KZLogFile::KZLogFile()
    : file_(std::make_unique<KZDetail::RecordFile>(Form())), stamp_(std::make_unique<LogStamp>()) {
    Registry::Add(*this);
    KZDebug::AddReportHook(&KZLogFile::FlushAll);
}

KZLogFile::~KZLogFile() {
    Registry::Remove(*this);
    Close();
}

void KZLogFile::Close() {
    Guard const guard(lock_);
    isOpen_ = false;
    file_->Close();
}

void KZLogFile::Flush() {
    Guard const guard(lock_);
    file_->Flush();
}

bool KZLogFile::GetAutoFlush() const {
    Guard const guard(lock_);
    return autoFlush_;
}

void KZLogFile::SetAutoFlush(bool autoFlush) {
    Guard const guard(lock_);
    autoFlush_ = autoFlush;
}

void KZLogFile::PutDateTime() { PutRecord({}, true); }

void KZLogFile::PutString(char16_t const * text) {
    if (!IsOpen() || !text || !*text) return;
    try {
        KZDetail::UnitBuffer line;
        line.Put(std::u16string_view(text));
        MakeLine(line);
        PutRecord(line.View(), false);
    } catch (std::bad_alloc const &) {
        CountLost();
    }
}

void KZLogFile::Log(char16_t const * format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    LogArgList(format, arguments);
    va_end(arguments);
}

void KZLogFile::LogArgList(char16_t const * format, std::va_list arguments) {
    if (!IsOpen() || !format) return;
    try {
        KZDetail::UnitBuffer line;
        KZDetail::FormatTo(line, format, arguments);
        std::size_t const formatSize = KZUnitScan::Length(format);
        bool isOpenLine = formatSize != 0 && format[formatSize - 1] != u'\n';
        if (line.Size() > lineUnits) {
            line.Cut(KZEncoding::IsHighSurrogate(line.View()[lineUnits - 1]) ? lineUnits - 1 : lineUnits);
            isOpenLine = true;
        }
        if (isOpenLine) line.Put(u"\r\n");
        MakeLine(line);
        PutRecord(line.View(), true);
    } catch (std::bad_alloc const &) {
        CountLost();
    }
}

bool KZLogFile::Open(char16_t const * path) {
    Guard const guard(lock_);
    Close();
    // The file is opened for appending: each write goes to its end, so no seek is needed.
    isOpen_ = file_->Open(path, KZPlatform::FileCreation::OpenAlways, KZPlatform::FileShare::Read,
                          KZPlatform::FileProtection::Usual);
    return isOpen_;
}

bool KZLogFile::IsOpen() const { return isOpen_; }

std::uint64_t KZLogFile::GetLostRecordCount() const {
    Guard const guard(lock_);
    return file_->GetLostCount();
}

void KZLogFile::FlushAll() noexcept { Registry::FlushAll(); }

void KZLogFile::PutRecord(std::u16string_view line, bool isStamped) noexcept {
    std::int64_t moment = isStamped ? KZPlatform::WallClockMilliseconds() : 0;
    Guard const guard(lock_);
    if (!isOpen_) return;
    std::u16string_view stamp;
    if (isStamped) {
        // While this thread waited for the lock, another may have written a later second. Stamps follow one another in the file,
        // so the clock is read again.
        if (!stamp_->IsKept(moment)) moment = KZPlatform::WallClockMilliseconds();
        stamp = stamp_->At(moment);
    }
    file_->Put(BytesOf(line), autoFlush_, BytesOf(stamp));
}

/// Counts a record for which memory failed.
void KZLogFile::CountLost() noexcept {
    Guard const guard(lock_);
    if (isOpen_) file_->CountLost(true);
}
