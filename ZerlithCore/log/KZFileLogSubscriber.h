/// @file
/// The subscriber that writes what it hears to a file.
///
///     manager.Subscribe(channel, new KZFileLogSubscriber(u"debug.log", 2, true, false));
#pragma once

#include "ZerlithCore/files/KZFile.h"
#include "ZerlithCore/log/KZLogSubscriberI.h"
#include "ZerlithCore/platform/Export.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <string>

/// Writes texts as UTF-8 to a file, as they stand and without a stamp.
///
/// The file is opened at the first text that is wanted, so one that hears nothing makes no file. If it can't be
/// opened the text is dropped without a word, and the next one tries again.
///
/// Thread safety: all operations may be called from any thread.
class KZ_EXPORT KZFileLogSubscriber : public KZLogSubscriberI {
public:
    /// With `autoFlush` each text reaches the system at once; otherwise up to 64 KB gather. With `append` an old file
    /// goes on, without it each opening empties the file.
    KZFileLogSubscriber(KZString const & fileName, int level, bool autoFlush, bool append);
    ~KZFileLogSubscriber() override;

    void OnFlush(int level, KZString const & text) override;

    /// True when the file is open.
    [[nodiscard]] bool IsValid() const;
    /// Writes what is gathered and closes. A text that comes later opens the file again.
    void Close();

private:
    bool OpenIfNeeded();
    void WriteGathered();

    KZString fileName_;
    KZFile file_;
    bool autoFlush_;
    bool append_;
    std::string gathered_;
    mutable KZCriticalSection lock_;
};
