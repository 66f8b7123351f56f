// Records are made in the buffer, and leave it in one write each or many at a time, never in part. A fault may strike
// while one is being made: then only the whole ones in front of it are written.
//
// Text is expanded before the lock is taken, so that threads wait for a copy only.

#include "ZerlithCore/log/KZLogFile.h"

#include "ZerlithCore/diagnostics/KZDebug.h"
#include "ZerlithCore/log/LogStamp.h"
#include "ZerlithCore/platform/Clock.h"

#include <algorithm>
#include <tuple>

namespace {

using Guard = KZGuard<KZCriticalSection>;

constexpr std::size_t bufferUnits = 64 * 1024 / sizeof(char16_t);
constexpr unsigned int lineUnits = 16368 - 3; // a buffer of 16,368 units, less line end and terminator

bool IsHighSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }

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
            file->WriteGathered();
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

KZLogFile::KZLogFile() : stamp_(std::make_unique<LogStamp>()) {
    Registry::Add(*this);
    KZDebug::AddReportHook(&KZLogFile::FlushAll);
}

KZLogFile::~KZLogFile() {
    Registry::Remove(*this);
    Close();
}

unsigned long KZLogFile::Release() const {
    unsigned long const left = count_.Decrement();
    if (left == 0) delete this;
    return left;
}

void KZLogFile::Close() {
    Guard const guard(lock_);
    WriteGathered();
    isOpen_ = false;
    file_.Close();
}

void KZLogFile::Flush() {
    Guard const guard(lock_);
    WriteGathered();
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
    std::u16string_view const formatText(format);
    KZString text;
    text.FormatArgumentList(format, arguments);
    bool isOpenLine = !formatText.empty() && formatText.back() != u'\n';
    if (text.Length() > lineUnits) {
        text.Remove(IsHighSurrogate(text[lineUnits - 1]) ? lineUnits - 1 : lineUnits, text.Length());
        isOpenLine = true;
    }
    if (isOpenLine) text += u"\r\n";
    PutRecord(text.c_str(), true);
}

bool KZLogFile::Open(char16_t const * path) {
    Guard const guard(lock_);
    Close();
    // Each write goes to the end of the file as it is then, so there is no need to seek there first.
    isOpen_ = file_.Open(path, KZFile::Access::Append, KZFile::Creation::OpenAlways, KZFile::Share::Read);
    return isOpen_;
}

bool KZLogFile::IsOpen() const { return isOpen_; }

void KZLogFile::FlushAll() noexcept { Registry::FlushAll(); }

void KZLogFile::PutRecord(std::u16string_view text, bool isStamped) {
    Guard const guard(lock_);
    if (!isOpen_) return;
    if (gathered_.size() + text.size() + 64 > bufferUnits) WriteGathered();
    gathered_.resize(wholeUnits_); // A fault may have left a piece of a record.
    gathered_.reserve(bufferUnits);
    if (isStamped) gathered_ += stamp_->At(KZPlatform::WallClockMilliseconds());
    AppendLine(text);
    wholeUnits_ = gathered_.size();
    if (autoFlush_ || wholeUnits_ > bufferUnits) WriteGathered();
    if (gathered_.capacity() > 2 * bufferUnits) gathered_ = std::u16string(); // a giant has passed
}

void KZLogFile::AppendLine(std::u16string_view text) {
    bool const endsLine = text.ends_with(u'\n');
    if (endsLine) text.remove_suffix(text.ends_with(u"\r\n") ? 2 : 1);
    std::size_t const begin = gathered_.size();
    gathered_ += text;
    std::replace(gathered_.begin() + static_cast<std::ptrdiff_t>(begin), gathered_.end(), u'\n', u'~');
    if (endsLine) gathered_ += u"\r\n";
}

/// Requires: the caller holds the lock.
void KZLogFile::WriteGathered() noexcept {
    if (wholeUnits_ != 0) std::ignore = file_.Write(gathered_.data(), wholeUnits_ * sizeof(char16_t));
    gathered_.erase(0, wholeUnits_);
    wholeUnits_ = 0;
}
