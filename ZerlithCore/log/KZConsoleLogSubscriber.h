/// @file
/// The subscriber that writes what it hears to the console.
///
///     manager.Subscribe(channel, new KZConsoleLogSubscriber(1));
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/log/KZLogSubscriberI.h"
#include "ZerlithCore/text/KZString.h"

/// Writes texts to the console as they stand, and flushes it after each.
///
/// It takes no lock: the writer may hold that of the console (KZLockedCOUT), and texts go to the console in one piece.
///
/// Thread safety: all operations may be called from any thread.
class KZ_EXPORT KZConsoleLogSubscriber : public KZLogSubscriberI {
public:
    explicit KZConsoleLogSubscriber(int level) noexcept : KZLogSubscriberI(level) {}
    ~KZConsoleLogSubscriber() override;

    void OnFlush(int level, KZString const & text) override;
};
