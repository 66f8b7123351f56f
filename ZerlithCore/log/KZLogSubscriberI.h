/// @file
/// The base class of everything that gets the texts of log channels.
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

/// A subscriber of log channels, which decides by the level whether it wants a text.
///
/// A lower number is more important: a subscriber with desired level N gets the levels up to N. It has one desired level for
/// all its channels.
///
/// If a subscriber throws or faults, "unhandled exception" is written to the console. The other subscribers get the text all
/// the same, and the failed one is called again with the next text.
///
/// Locks: `OnFlush` and `IsInterested` run while no lock of the log is held. For each channel one thread at a time passes texts
/// on. Other threads that flush wait for it, unless they hold KZLockedCOUT or are running an `OnFlush` themselves: their
/// texts are then passed on by the first thread. So the order of the locks is
///
/// 1. KZLockedCOUT, which the writer may hold,
/// 2. the turn to pass on the channel's texts,
/// 3. locks of the subscriber's own.
///
/// `OnFlush` may take KZLockedCOUT although that is against this order; the report of a fault does so. Two things make threads
/// wait for each other for ever, so avoid them: writing to the channel while holding a lock that its subscriber takes, and
/// waiting in `OnFlush` until another thread has written to the channel.
///
/// What `OnFlush` writes to a channel is passed on after the present text. What subscribers write in response to that waits
/// until the channel's next flush, so that two subscribers can't answer each other for ever.
///
/// Thread safety: one channel never runs `OnFlush` twice at the same time; several channels may. `OnFlush` runs on the thread
/// of the writer or of another writer to the channel. The level may be read and set from any thread.
class KZ_EXPORT KZLogSubscriberI : public KZRefCount {
public:
    /// Wants the levels up to `desiredLevel`.
    explicit KZLogSubscriberI(int desiredLevel = 0) noexcept : desiredLevel_(desiredLevel) {}
    ~KZLogSubscriberI() override;

    /// Gets the text written since the last flush, unchanged: with its line ends and without a stamp.
    virtual void OnFlush(int level, KZString const & text) = 0;

    /// Tells whether texts of `level` are wanted; here: whether `level` is at most the desired level.
    [[nodiscard]] virtual bool IsInterested(int level) const;

    [[nodiscard]] int GetDesiredLevel() const noexcept {
        return desiredLevel_.load(std::memory_order_relaxed);
    }

private:
    friend class KZLogChannel;
    void SetDesiredLevel(int level) noexcept { desiredLevel_.store(level, std::memory_order_relaxed); }

    std::atomic<int> desiredLevel_;
};
