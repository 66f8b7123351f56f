/// @file
/// The subscriber that writes what it hears to a file.
///
///     manager.Subscribe(channel, new KZFileLogSubscriber(u"debug.log", 2, true, false));
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

/// Writes texts as UTF-8 to a file, as they stand and without a stamp.
///
/// The file is opened at the first text that is wanted, so one that hears nothing makes no file. If it can't be
/// opened the text is dropped without a word, and the next one tries again.
///
/// Texts reach the file whole and behind everything else in it, so that several subscribers and processes may share a file.
/// What the system refuses, as on a full disk, stays gathered and is tried again with the next text, up to 64 KB; after that
/// texts are dropped, and a line "*** messages lost: 12" follows when the file takes texts again. A piece of a line that
/// stands at the end of the file because a process was killed, or its disk was full, gets a line end first.
///
/// Thread safety: all operations may be called from any thread.
class KZ_EXPORT KZFileLogSubscriber : public KZLogSubscriberI {
public:
    /// With `autoFlush` each text reaches the system at once; otherwise up to 64 KB gather. With `append` an old file
    /// goes on, without it each opening empties the file. `protection` is KZFile's: private for a folder that others use.
    KZFileLogSubscriber(KZString const & fileName, int level, bool autoFlush, bool append,
                        KZFile::Protection protection = KZFile::Protection::Usual);
    ~KZFileLogSubscriber() override;

    void OnFlush(int level, KZString const & text) override;

    /// The name that the constructor was given.
    [[nodiscard]] KZString const & GetFileName() const noexcept { return fileName_; }
    /// True when the file is open.
    [[nodiscard]] bool IsValid() const;
    /// Writes what is gathered and closes. A text that comes later opens the file again.
    void Close();

    /// How many texts have been lost, since there was no room or memory for them, the file couldn't be opened, or they could
    /// still not be written when it was closed.
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
