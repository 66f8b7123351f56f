/// @file
/// The error-log file, and the layout of the reports that go into it.
///
///     KZDebug::ChangeErrorLogFileName(u"/var/log/server", u"errors.log");
///     KZDebug::AppendToErrorLog(KZDebug::ComposeReport(u"the disk has gone", KZString()));
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"

/// The reports that a process writes when something unexpected happens, such as a fault of the processor.
///
/// Thread safety: all operations may be called from any thread.
class KZ_EXPORT KZDebug {
public:
    /// A function that is called before the report of a fault is written, so that buffered logs reach their files first. It must
    /// not throw, and it must not wait for a lock, because the faulting thread may hold that lock.
    using ReportHook = void (*)() noexcept;

    /// Chooses the error-log file. It is created only when there is something to report. With an empty `name` there is none.
    static void ChangeErrorLogFileName(KZString const & directory, KZString const & name);
    /// The path of the error-log file; empty when there is none.
    [[nodiscard]] static KZString GetErrorLogFileName();
    /// Appends `report` to the error-log file as UTF-8, in one write. If the file ends in an unfinished line, that line is ended
    /// first. A new file can be read by this user only. False when no file is chosen, when it can't be written, and when it may
    /// be a trap of another user, who wants to read the reports or have another file changed
    /// (KZPlatform::FileProtection::Private says when that is so).
    static bool AppendToErrorLog(KZString const & report);

    /// Adds a hook, unless it was added before. There may be eight; false when there are that many already. The module of the
    /// hook stays in memory.
    static bool AddReportHook(ReportHook hook) noexcept;
    /// Calls all hooks, in the order of adding.
    static void CallReportHooks() noexcept;

    /// The sentence for the user at the beginning of every report. A program may assign its own before it starts its threads;
    /// the text must live as long as the process.
    static char16_t const * glbUserText;

    /// The report of an exception: lines with the sentence for the user, date, thread, exception and stack.
    [[nodiscard]] static KZString ComposeReport(KZString const & exception, KZString const & stack);
};
