/// @file
/// The subscriber that writes the texts of a log channel to the console.
///
///     KZLogManager & manager = KZApplication::GetLogManager();
///     unsigned int const channel = manager.AddChannel(u"Network");
///     manager.Subscribe(channel, new KZConsoleLogSubscriber(1)); // levels up to 1
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/log/KZLogSubscriberI.h"
#include "ZerlithCore/text/KZString.h"

/// Writes each text to the console unchanged, and then flushes the console.
///
/// It doesn't take the console's lock (KZLockedCOUT), which the writer may hold already. Each text is written in one piece, so
/// texts of several threads don't mix.
///
/// Thread safety: all operations may be called from any thread.
class KZ_EXPORT KZConsoleLogSubscriber : public KZLogSubscriberI {
public:
    /// Writes texts of the levels up to `level`.
    explicit KZConsoleLogSubscriber(int level) noexcept : KZLogSubscriberI(level) {}
    ~KZConsoleLogSubscriber() override;

    /// Writes `text` if `level` is wanted. A text that standard output refuses is lost without a message.
    /// Errors: std::bad_alloc, and nothing of the text is written.
    void OnFlush(int level, KZString const & text) override;
};
