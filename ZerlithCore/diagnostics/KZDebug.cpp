// The error-log file and the hooks that run before a report.
#include "ZerlithCore/diagnostics/KZDebug.h"

#include "ZerlithCore/diagnostics/detail/LineFile.h"
#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/platform/Clock.h"
#include "ZerlithCore/platform/ModuleHold.h"
#include "ZerlithCore/platform/RecursiveLock.h"
#include "ZerlithCore/platform/Threads.h"

#include <array>
#include <atomic>
#include <mutex>
#include <string>

namespace {

constinit KZPlatform::RecursiveLock fileNameLock;

KZString & FileName() {
    // Never destroyed: faults may be reported while the process ends.
    static KZString & name = *new KZString;
    return name;
}

constinit std::array<std::atomic<KZDebug::ReportHook>, 8> hooks{};

KZString Now() {
    KZPlatform::CalendarTime const now = KZPlatform::ToLocalTime(KZPlatform::WallClockMilliseconds());
    KZString text;
    text.Format(u"%04d-%02d-%02d %02d:%02d:%02d", now.year, now.month, now.day, now.hour, now.minute,
                now.second);
    return text;
}

} // namespace

char16_t const * KZDebug::glbUserText =
    u"The application encountered an unexpected situation. Please contact technical "
    u"support for assistance.";

void KZDebug::ChangeErrorLogFileName(KZString const & directory, KZString const & name) {
    KZString path;
    if (!name.IsNull()) {
        path = directory;
        char16_t const separator = u'/'; // every system accepts it
        if (!path.IsNull() && path[path.Length() - 1] != separator) path += separator;
        path += name;
    }
    std::lock_guard const guard(fileNameLock);
    FileName() = path;
}

KZString KZDebug::GetErrorLogFileName() {
    std::lock_guard const guard(fileNameLock);
    return FileName();
}

bool KZDebug::AppendToErrorLog(KZString const & report) {
    KZString const path = GetErrorLogFileName();
    if (path.IsNull()) return false;
    std::string const bytes =
        KZEncoding::UnitsToUtf8(std::u16string_view(report), KZEncoding::Utf8Mode::Replace);
    KZDetail::LineFile file(KZDetail::LineFile::utf8);
    return file.Open(std::u16string_view(path), KZPlatform::FileCreation::OpenAlways,
                     KZPlatform::FileShare::ReadWrite, KZPlatform::FileProtection::Private) &&
           file.Append(bytes) == bytes.size();
}

bool KZDebug::AddReportHook(ReportHook hook) noexcept {
    for (std::atomic<ReportHook> & slot : hooks) {
        ReportHook present = nullptr;
        if (!slot.compare_exchange_strong(present, hook) && present != hook) continue;
        KZPlatform::ModuleHold(reinterpret_cast<void const *>(hook)).Keep(); // hooks are never removed
        return true;
    }
    return false;
}

void KZDebug::CallReportHooks() noexcept {
    for (std::atomic<ReportHook> const & slot : hooks)
        if (ReportHook const hook = slot.load()) hook();
}

KZString KZDebug::ComposeReport(KZString const & exception, KZString const & stack) {
    KZString thread;
    thread.Format(u"%lu", KZPlatform::CurrentThreadId());
    KZString report(glbUserText);
    report += u'\n';
    report += u"DATE:      " + Now() + u'\n';
    report += u"THREAD:    " + thread + u'\n';
    report += u"EXCEPTION: " + exception + u'\n';
    report += u"STACK:\n" + stack + u"\n\n";
    return report;
}
