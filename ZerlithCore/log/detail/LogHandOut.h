// The way of a channel's messages from the flush to the subscribers.
#pragma once

#include "ZerlithCore/foundation/KZSmartPtrVector.h"
#include "ZerlithCore/log/KZLogSubscriberI.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <atomic>
#include <cstddef>
#include <deque>

namespace KZDetail {

/// Keeps the messages of one channel and gives them to its subscribers, in the order in which they were added, by one
/// thread at a time.
///
/// A subscriber is called without any lock of the log's. What a thread adds while it runs a subscriber is given out after
/// the message at hand. What is added while such a message is given out stays until the next flush: otherwise a
/// subscriber that answers each message with another would keep its thread for ever.
class LogHandOut {
public:
    using Subscribers = KZSmartPtrVectorMutexedBase<KZSmartPtr<KZLogSubscriberI>>;

    /// Protects the texts of all channels, gathered and waiting. Whoever holds it waits for nothing.
    static constinit KZCriticalSection textLock;

    /// `subscribers` isn't owned. Errors: std::bad_alloc, since even an empty queue allocates.
    explicit LogHandOut(Subscribers & subscribers) : subscribers_(subscribers) {}

    /// True when the messages of the calling thread are given out by its own flush, false when a later one does.
    [[nodiscard]] static bool IsPrompt() noexcept;
    /// True when the calling thread is giving out a message of this channel.
    [[nodiscard]] bool IsRunByCaller() const noexcept;

    // The next three require: the caller holds `textLock`.

    /// Takes a message; `text` becomes empty, with room for the next one. A message for which there is no memory, or which
    /// would make more than a million units wait, is counted as lost.
    void Add(int level, KZString & text);
    /// Counts a message as lost. A line among the messages tells so.
    void AddLost(int level) noexcept;
    /// Has all that waits given out by the next `Run`.
    void Wake() noexcept { dueCount_ = WaitingCount(); }

    /// Calls `prepare` under `textLock`, then gives out what is due. If another thread does that already, the caller waits
    /// until all of it has been given out; but if it holds KZLockedCOUT or is running a subscriber it leaves that to the
    /// other one. True when the caller has given out itself. Requires: the caller doesn't hold `textLock`.
    template <class Prepare>
    bool Run(Prepare prepare) {
        bool hasBegun = false;
        std::size_t target = 0;
        {
            KZGuard<KZCriticalSection> const guard(textLock);
            prepare();
            if (!isRunning_ && dueCount_ == 0 && lostCount_ == 0) return false;
            target = takenCount_ + dueCount_;
            hasBegun = Begin();
        }
        return hasBegun ? GiveOut() : WaitAndGiveOut(target);
    }

    /// Asks the subscribers, and makes `isInterested` true when one wants `level`, or can't answer: it may want it when the
    /// message comes. Until all have answered it is true. Of several threads that ask, the last one's result stays.
    void UpdateInterest(std::atomic<int> const & level, std::atomic<bool> & isInterested);

private:
    struct Message {
        int level = 0;
        unsigned int depth = 0; // 0: from outside; more: written while one of the depth before was given out
        bool isAboutFailure = false; // tells that a subscriber has failed
        KZString text;
    };
    using Handle = KZSmartPtr<KZLogSubscriberI>;
    class Turn;
    class Walk;

    [[nodiscard]] std::size_t WaitingCount() const noexcept {
        return (hasFirst_ ? 1U : 0U) + (waiting_.empty() ? 0U : waiting_.size());
    }
    bool Begin();
    void Finish() noexcept;
    [[nodiscard]] bool HasRoom(std::size_t units) const noexcept;
    bool Push(Message & message);
    void PushNoteOfLoss();
    bool Take();
    bool WaitAndGiveOut(std::size_t target);
    bool GiveOut();
    void Give(Message const & message) const;

    Subscribers & subscribers_;
    unsigned int changes_ = 0; // how often the interest may have changed; under the subscribers' lock

    Message present_; // belongs to the thread that has its turn

    // Under `textLock`.
    bool isRunning_ = false;                         // some thread has its turn
    std::size_t takenCount_ = 0, finishedCount_ = 0; // messages since the start
    unsigned int waiterCount_ = 0;                   // threads that wait for one of them, or for their turn
    std::atomic<int> wakings_{0};
    Message first_; // waits in front of the others, and needs no memory
    bool hasFirst_ = false;
    std::deque<Message> waiting_;
    std::size_t waitingUnits_ = 0;
    std::size_t dueCount_ = 0; // so many of those in front are to be given out
    unsigned int lostCount_ = 0;
    int lostLevel_ = 0; // the most important one among the lost messages
    KZString spare_;    // empty, with a block for the next message
};

} // namespace KZDetail
