// Passes a channel's messages from the flush to the subscribers.
#pragma once

#include "ZerlithCore/foundation/KZSmartPtrVector.h"
#include "ZerlithCore/log/KZLogSubscriberI.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <atomic>
#include <cstddef>
#include <deque>

namespace KZDetail {

/// Keeps the messages of one channel and passes them to its subscribers, in the order in which they were added. One thread at
/// a time does so.
///
/// Subscribers are called while no lock of the log is held. A message that a subscriber adds is passed on after the present
/// one. A message that a subscriber adds in answer to such a message waits until the next flush: otherwise a subscriber that
/// answers each message with another would keep its thread busy for ever.
class LogHandOut {
public:
    using Subscribers = KZSmartPtrVectorMutexedBase<KZSmartPtr<KZLogSubscriberI>>;

    /// Guards the gathered and waiting texts of all channels. A thread that holds it must not wait for anything.
    static constinit KZCriticalSection textLock;

    /// `subscribers` isn't owned. Errors: std::bad_alloc, since even an empty queue allocates.
    explicit LogHandOut(Subscribers & subscribers) : subscribers_(subscribers) {}

    /// True when a flush of the calling thread passes on its messages, false when they wait for a later flush.
    [[nodiscard]] static bool IsPrompt() noexcept;
    /// True when the calling thread is passing on a message of this channel.
    [[nodiscard]] bool IsRunByCaller() const noexcept;

    // The next three require: the caller holds `textLock`.

    /// Takes a message; `text` becomes empty, with room for the next one. A message counts as lost if there is no memory for it
    /// or if more than a million units would be waiting.
    void Add(int level, KZString & text);
    /// Counts a message as lost. A line with the number of lost messages is added when there is room.
    void AddLost(int level) noexcept;
    /// Makes the next `Run` pass on everything that is waiting.
    void Wake() noexcept { dueCount_ = WaitingCount(); }

    /// Calls `prepare` under `textLock`, and then passes on the messages that are due. If another thread is doing that already,
    /// the caller waits until it has finished; but a caller that holds KZLockedCOUT or is running a subscriber returns at
    /// once and leaves its messages to the other thread. True when the caller itself has passed on messages.
    /// Requires: the caller doesn't hold `textLock`.
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

    /// Asks the subscribers whether they want `level`, and sets `isInterested` if one does. A subscriber that throws counts as
    /// one that does, since it may want the message when it comes. `isInterested` is true until all have answered. If several
    /// threads ask at once, the result of the one that began last stays.
    void UpdateInterest(std::atomic<int> const & level, std::atomic<bool> & isInterested);

private:
    struct Message {
        int level = 0;
        // 0 if the program has written it; N + 1 if a subscriber has, while it was getting a message of depth N.
        unsigned int depth = 0;
        bool isAboutFailure = false; // reports that a subscriber has failed
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
    unsigned int changes_ = 0; // how often the interest may have changed; guarded by the subscribers' lock

    Message present_; // belongs to the thread that has the turn

    // Guarded by `textLock`.
    bool isRunning_ = false;                         // some thread has the turn
    std::size_t takenCount_ = 0, finishedCount_ = 0; // messages since the start
    unsigned int waiterCount_ = 0; // threads that wait for a message to be finished, or for the turn
    std::atomic<int> wakings_{0};
    Message first_; // comes before those in `waiting_`; so that one message can wait without an allocation
    bool hasFirst_ = false;
    std::deque<Message> waiting_;
    std::size_t waitingUnits_ = 0;
    std::size_t dueCount_ = 0; // how many of the waiting messages, from the first on, are to be passed on now
    unsigned int lostCount_ = 0;
    int lostLevel_ = 0; // the most important level among the lost messages
    KZString spare_;    // empty, with a block for the next message
};

} // namespace KZDetail
