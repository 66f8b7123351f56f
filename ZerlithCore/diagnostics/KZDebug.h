/// @file
/// The error-log file, and the layout of the reports that go into it.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"

/// What the process leaves behind when something unexpected happens.
///
/// Thread safety: all operations may be called from any thread.
class KZ_EXPORT KZDebug {
public:
    /// Called before a fault's report is written, so that buffered logs reach their files first. Must not throw, and
    /// must not wait for a lock, which the faulting thread may hold.
    using ReportHook = void (*)() noexcept;

    /// Chooses the error-log file. Nothing is created until there is something to report. An empty `name` turns the
    /// file off.
    static void ChangeErrorLogFileName(KZString const & directory, KZString const & name);
    /// The path of the error-log file; empty when there is none.
    [[nodiscard]] static KZString GetErrorLogFileName();
    /// Appends `report` to the error-log file as UTF-8, in one write, on a line of its own: a piece of a report that somebody
    /// left at the end of the file is ended first. A file that is made can be read by this user only.
    /// False when there is no file, when it can't be written, and when somebody else may have put it there to read
    /// along or to have another file changed (KZPlatform::FileProtection::Private says which those are).
    static bool AppendToErrorLog(KZString const & report);

    /// Adds a hook; at most eight, and each once. False when there is no room. The module of the hook stays in memory.
    static bool AddReportHook(ReportHook hook) noexcept;
    /// Calls all hooks, in the order of adding.
    static void CallReportHooks() noexcept;

    /// The sentence for the user at the head of every report. Writable, so that a program can put its own there before it
    /// starts its threads; the text must live as long as the process.
    static char16_t const * glbUserText;

    /// The report of an exception, line by line: the sentence for the user, date, thread, exception and stack.
    [[nodiscard]] static KZString ComposeReport(KZString const & exception, KZString const & stack);
};
