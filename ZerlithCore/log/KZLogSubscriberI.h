/// @file
/// Whoever wants the text of log channels.
///
///     class Counter : public KZLogSubscriberI {
///     public:
///         Counter() : KZLogSubscriberI(2) {}                       // levels up to 2
///         void OnFlush(int, KZString const &) override { ++messages; }
///         int messages = 0;
///     };
#pragma once

#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/platform/Export.h"
#include "ZerlithCore/text/KZString.h"

#include <atomic>

/// A subscriber of log channels, which decides by level whether it wants a text.
///
/// A lower number is more important: a subscriber with desired level N takes the levels up to N. The desired level is
/// the subscriber's, whatever the number of channels it hears.
///
/// Thread safety: `OnFlush` runs on the writer's thread under the lock of all channel streams, so never twice at a
/// time; it isn't to write to a channel. The level may be read and set from any thread.
class KZ_EXPORT KZLogSubscriberI : public KZRefCount {
public:
    explicit KZLogSubscriberI(int desiredLevel = 0) noexcept : desiredLevel_(desiredLevel) {}
    ~KZLogSubscriberI() override;

    /// Takes what was gathered since the last flush, as it was written: with line ends, without a stamp.
    virtual void OnFlush(int level, KZString const & text) = 0;

    /// True when `level` is at most the desired level.
    [[nodiscard]] virtual bool IsInterested(int level) const;

    [[nodiscard]] int GetDesiredLevel() const noexcept {
        return desiredLevel_.load(std::memory_order_relaxed);
    }

private:
    friend class KZLogChannel;
    void SetDesiredLevel(int level) noexcept { desiredLevel_.store(level, std::memory_order_relaxed); }

    std::atomic<int> desiredLevel_;
};
