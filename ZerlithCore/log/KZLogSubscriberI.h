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

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/text/KZString.h"

#include <atomic>

/// A subscriber of log channels, which decides by level whether it wants a text.
///
/// A lower number is more important: a subscriber with desired level N takes the levels up to N. The desired level is
/// the subscriber's, whatever the number of channels it hears.
///
/// A subscriber that throws or faults is told of as an unhandled exception is; the others get the text all the same. It is
/// called again with the next text.
///
/// Locks: no lock of the log's is held while `OnFlush` and `IsInterested` run. For each channel one thread at a time gives
/// texts out; other threads that flush wait for it, unless they hold KZLockedCOUT or are in an `OnFlush` themselves: then
/// that thread takes their texts along. So the order of the locks is
///
/// 1. KZLockedCOUT, which the writer may hold,
/// 2. the right to give out the channel's texts,
/// 3. locks of the subscriber's own,
///
/// and `OnFlush` may take KZLockedCOUT against this order, as the report of a fault does. Two things would make threads wait
/// for each other for ever: a writer that holds a lock of the third kind, and an `OnFlush` that waits until another
/// thread has written to the channel.
///
/// What `OnFlush` writes to a channel, its own or another, is given out after the text at hand. What is written because of
/// that in turn stays until the channel's next flush, so that no endless circle arises.
///
/// Thread safety: one channel never calls `OnFlush` twice at a time, several channels may. It runs on the writer's thread
/// or on that of another writer to the channel. The level may be read and set from any thread.
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
