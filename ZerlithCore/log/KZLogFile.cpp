// Text is expanded before the lock is taken, so that the lock is held only while text is copied. A record is complete before
// it is added to the gathered ones: if a processor fault happens while a record is being made, the report of the fault
// writes the gathered records, and the unfinished one isn't among them.

#include "ZerlithCore/log/KZLogFile.h"

#include "ZerlithCore/diagnostics/KZDebug.h"
#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/log/detail/LogStamp.h"
#include "ZerlithCore/log/detail/RecordFile.h"
#include "ZerlithCore/platform/Clock.h"
#include "ZerlithCore/text/detail/KZUnitScan.h"

#include <new>

namespace {

using Guard = KZGuard<KZCriticalSection>;
using KZDetail::LogStamp;

constexpr std::size_t mostKeptUnits = 32 * 1024; // a larger block isn't kept for the next record
constexpr unsigned int lineUnits = 16368 - 3;    // a buffer of 16,368 units, less line end and terminator

std::string_view BytesOf(std::u16string_view units) {
    return {reinterpret_cast<char const *>(units.data()), units.size() * sizeof(char16_t)};
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
    if (text && *text) PutRecord(text, false);
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
        KZString text;
        text.FormatArgumentList(format, arguments);
        std::u16string_view const formatText(format);
        bool isOpenLine = !formatText.empty() && formatText.back() != u'\n';
        if (text.Length() > lineUnits) {
            text.Remove(KZEncoding::IsHighSurrogate(text[lineUnits - 1]) ? lineUnits - 1 : lineUnits,
                        text.Length());
            isOpenLine = true;
        }
        if (isOpenLine) text += u"\r\n";
        PutRecord(text.c_str(), true);
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

void KZLogFile::PutRecord(std::u16string_view text, bool isStamped) {
    Guard const guard(lock_);
    if (!isOpen_) return;
    try {
        record_.clear();
        if (isStamped) record_ += stamp_->At(KZPlatform::WallClockMilliseconds());
        AppendLine(text);
        file_->Put(BytesOf(record_), autoFlush_);
    } catch (std::bad_alloc const &) {
        CountLost();
    }
    if (record_.capacity() > mostKeptUnits) record_ = std::u16string();
}

/// Appends `text` to the record. Line ends inside become "~", so that the record is one line at most.
void KZLogFile::AppendLine(std::u16string_view text) {
    bool const endsLine = text.ends_with(u'\n');
    if (endsLine) text.remove_suffix(text.ends_with(u"\r\n") ? 2 : 1);
    std::size_t at = record_.size();
    record_ += text;
    while ((at += KZUnitScan::FindUnit(&record_[at], record_.size() - at, u'\n')) != record_.size())
        record_[at] = u'~';
    if (endsLine) record_ += u"\r\n";
}

/// Counts a record for which memory failed.
void KZLogFile::CountLost() noexcept {
    Guard const guard(lock_);
    if (isOpen_) file_->CountLost(true);
}
