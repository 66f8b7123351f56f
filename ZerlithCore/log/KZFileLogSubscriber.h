/// @file
/// The subscriber that writes the texts of a log channel to a file.
///
///     KZLogManager & manager = KZApplication::GetLogManager();
///     unsigned int const channel = manager.AddChannel(u"Network");
///     KZSmartPtr<KZFileLogSubscriber> file(new KZFileLogSubscriber(u"debug.log", 2, true, false));
///     manager.Subscribe(channel, file);
///     // After the program's work:
///     if (file->GetLostRecordCount() != 0) KZGetConsole() << L"debug.log isn't complete" << std::endl;
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/files/KZFile.h"
#include "ZerlithCore/log/KZLogSubscriberI.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <cstdint>
#include <memory>

namespace KZDetail {
class RecordFile;
}

/// Writes texts to a file in UTF-8, unchanged and without a stamp.
///
/// The file is opened when the first wanted text arrives, so a subscriber that gets no text makes no file. If the file can't be
/// opened, the text is dropped, only `GetLostRecordCount` counts it, and the next text tries again.
///
/// Each text is appended whole at the end of the file, so several subscribers and processes may share a file. A text that the
/// system refuses, as on a full disk, is kept, up to 64 KB in all, and tried again with the next text. Further texts are
/// dropped, and a line such as "*** messages lost: 12" is written when the file takes texts again. If the file ends in an
/// unfinished line, since a process was killed or the disk was full, that line is ended before the next text.
///
/// Thread safety: all operations may be called from any thread.
class KZ_EXPORT KZFileLogSubscriber : public KZLogSubscriberI {
public:
    /// Takes the levels up to `level`. With `autoFlush` each text is passed to the system at once; without it up to 64 KB are
    /// gathered first. With `append` an old file is continued; without it each opening empties the file. `protection` is
    /// KZFile's: choose `Private` in a folder that others use.
    KZFileLogSubscriber(KZString const & fileName, int level, bool autoFlush, bool append,
                        KZFile::Protection protection = KZFile::Protection::Usual);
    /// Closes the file, as `Close`.
    ~KZFileLogSubscriber() override;

    /// Writes `text` if `level` is wanted. Never throws for want of memory or disk: such a text counts as lost.
    void OnFlush(int level, KZString const & text) override;

    /// The name that the constructor was given.
    [[nodiscard]] KZString const & GetFileName() const noexcept { return fileName_; }
    /// True when the file is open.
    [[nodiscard]] bool IsValid() const;
    /// Writes what is gathered and closes the file. A later text opens it again.
    void Close();

    /// The number of lost texts: those for which there was no room or memory, those that came while the file couldn't be
    /// opened, and those that were still unwritten when the file was closed and couldn't be written then.
    [[nodiscard]] std::uint64_t GetLostRecordCount() const;

private:
    bool OpenIfNeeded();

    KZString fileName_;
    std::unique_ptr<KZDetail::RecordFile> file_;
    bool autoFlush_;
    bool append_;
    KZFile::Protection protection_;
    mutable KZCriticalSection lock_;
};
