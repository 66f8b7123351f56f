// Locks: `textLock` guards the waiting messages and is held for a few instructions only. A thread that passes messages on has
// the turn. The turn isn't a lock but the flag `isRunning_`, which `textLock` guards. A thread must not wait for the turn if a
// subscriber might be waiting for that thread: if it holds KZLockedCOUT, which subscribers and reports of faults take, or if
// it is running a subscriber itself. Such a thread leaves its message to the thread that has the turn. That thread gives up
// the turn under the same hold of `textLock` under which it finds no more messages, so none is left behind.
//
// The subscribers are sorted by address. Under the channel's lock each next one is found as the first with a greater
// address. So subscribers may be added and removed meanwhile, and each one that stays gets each message once.

#include "ZerlithCore/log/detail/LogHandOut.h"

#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/threads/detail/UnhandledException.h"

#include <algorithm>
#include <new>
#include <utility>

namespace KZDetail {

namespace {

using Guard = KZGuard<KZCriticalSection>;

constexpr auto relaxed = std::memory_order_relaxed;
constexpr unsigned int promptDepth = 1; // messages of a greater depth wait for a flush by the program
constexpr std::size_t mostWaitingUnits = 1024 * 1024;
constexpr std::size_t mostNoteUnits = 64;           // the longest line about lost messages
constexpr std::uint32_t mostSpareUnits = 16 * 1024; // a larger block isn't kept for the next message

/// Describes the message that the thread is passing on. Frames are linked, since a subscriber may write to another channel.
struct Frame {
    Frame(LogHandOut const * owned, unsigned int atDepth, bool aboutFailure) noexcept;
    ~Frame();
    Frame(Frame const &) = delete;
    Frame & operator=(Frame const &) = delete;

    LogHandOut const * owner; // null when no message is passed on
    unsigned int depth;       // of the messages that the thread writes meanwhile
    bool isAboutFailure;
    Frame const * outer;
};

// Each flush reads it. With this model the compiler knows its offset, so reading it takes one instruction and no call.
#if defined(__GNUC__)
[[gnu::tls_model("initial-exec")]]
#endif
constinit thread_local Frame const * innermost = nullptr;

Frame::Frame(LogHandOut const * owned, unsigned int atDepth, bool aboutFailure) noexcept
    : owner(owned), depth(atDepth), isAboutFailure(aboutFailure), outer(std::exchange(innermost, this)) {}

Frame::~Frame() { innermost = outer; }

unsigned int PresentDepth() noexcept { return innermost ? innermost->depth : 0; }

bool IsTellingOfFailure() noexcept { return innermost && innermost->isAboutFailure; }

/// Reports that a subscriber has failed. A failure to take that very report isn't reported.
void TellFailure() noexcept {
    if (IsTellingOfFailure()) return;
    Frame const frame(nullptr, std::max(PresentDepth(), 1U), true);
    TellUnhandledException();
}

/// Empties a text and keeps its block for the next one, unless the block is very large.
void Recycle(KZString & text) noexcept {
    try {
        if (text.Capacity() <= mostSpareUnits) return text.Remove(0, text.Length());
    } catch (std::bad_alloc const &) {
        // A subscriber holds a copy of the text, so it can't be emptied in place, and there is no memory for another block.
    }
    text.Clear();
}

} // namespace

constinit KZCriticalSection LogHandOut::textLock;

/// Walks through the subscribers. Before the first `Next` there is no present one.
class LogHandOut::Walk {
public:
    explicit Walk(Subscribers & subscribers) noexcept : subscribers_(subscribers) {}

    bool Next() {
        if (isAtLast_) return false;
        Handle next;
        {
            KZGuard<Subscribers> const guard(subscribers_);
            Handle const * const end = subscribers_.end();
            Handle const * const place = std::upper_bound(subscribers_.begin(), subscribers_.end(), present_);
            isAtLast_ = place == end || place + 1 == end;
            if (place != end) next = *place;
        }
        present_ = std::move(next); // Here, outside of the lock, an unsubscribed subscriber may be destroyed.
        return !present_.IsNull();
    }
    KZLogSubscriberI * operator->() const { return present_; }

private:
    Subscribers & subscribers_;
    Handle present_;
    bool isAtLast_ = false; // A subscriber that is added after the last one isn't visited any more.
};

/// The turn of the calling thread. It ends in `Next`, or in the destructor if an exception leaves the loop.
class LogHandOut::Turn {
public:
    explicit Turn(LogHandOut & owner) noexcept : owner_(owner) {}
    ~Turn() {
        if (isOver_) return;
        Guard const guard(textLock);
        owner_.Finish();
        owner_.isRunning_ = false;
    }
    Turn(Turn const &) = delete;
    Turn & operator=(Turn const &) = delete;

    /// Finishes the present message and takes the next one, or ends the turn.
    bool Next() {
        Guard const guard(textLock);
        owner_.Finish();
        isOver_ = !(owner_.isRunning_ = owner_.Take());
        return !isOver_;
    }

private:
    LogHandOut & owner_;
    bool isOver_ = false;
};

bool LogHandOut::IsPrompt() noexcept { return PresentDepth() <= promptDepth; }

bool LogHandOut::IsRunByCaller() const noexcept {
    Frame const * frame = innermost;
    while (frame && frame->owner != this) frame = frame->outer;
    return frame != nullptr;
}

void LogHandOut::UpdateInterest(std::atomic<int> const & level, std::atomic<bool> & isInterested) {
    Walk subscriber(subscribers_);
    unsigned int change = 0;
    int asked = 0;
    bool isWanted = false, isMore = false;
    {
        KZGuard<Subscribers> const guard(subscribers_);
        change = ++changes_;
        asked = level.load(relaxed);
        isMore = subscriber.Next();
        isInterested.store(isMore, relaxed);
    }
    for (; isMore && !isWanted; isMore = subscriber.Next()) {
        try {
            isWanted = subscriber->IsInterested(asked);
        } catch (...) {
            TellFailure();
            isWanted = true;
        }
    }
    KZGuard<Subscribers> const guard(subscribers_);
    if (change == changes_) isInterested.store(isWanted, relaxed);
}

// --- Waiting messages

void LogHandOut::Add(int level, KZString & text) {
    // The line takes the place of the lost messages in the order. It waits until there is room for this message as well.
    if (lostCount_ != 0 && HasRoom(text.Length() + mostNoteUnits)) PushNoteOfLoss();
    Message message{level, PresentDepth(), IsTellingOfFailure(), std::move(text)};
    text = std::exchange(spare_, KZString());
    if (!Push(message)) return AddLost(level);
    if (IsPrompt()) Wake();
}

bool LogHandOut::HasRoom(std::size_t units) const noexcept {
    return WaitingCount() == 0 || waitingUnits_ + units <= mostWaitingUnits;
}

void LogHandOut::AddLost(int level) noexcept {
    lostLevel_ = lostCount_ == 0 ? level : std::min(lostLevel_, level);
    ++lostCount_;
}

/// Adds a message after the others. False, with nothing changed, when there is no room for it.
bool LogHandOut::Push(Message & message) {
    std::size_t const units = message.text.Length();
    if (!HasRoom(units)) return false;
    if (WaitingCount() == 0) {
        std::swap(first_, message);
        hasFirst_ = true;
    } else {
        try {
            waiting_.push_back(std::move(message));
        } catch (std::bad_alloc const &) {
            return false;
        }
    }
    waitingUnits_ += units;
    return true;
}

/// Adds a line with the number of lost messages. Without room for the line the count stays, and a later call adds it.
void LogHandOut::PushNoteOfLoss() {
    try {
        KZString text;
        text.Format(u"*** messages lost: %u\n", lostCount_);
        Message note{lostLevel_, 0, true, std::move(text)};
        if (Push(note)) lostCount_ = 0;
    } catch (std::bad_alloc const &) {
        // A later call adds the line.
    }
}

/// Takes the next message that is due and makes it the present one. False when none is due.
bool LogHandOut::Take() {
    if (spare_.Capacity() < present_.text.Capacity()) std::swap(spare_, present_.text);
    if (lostCount_ != 0 && WaitingCount() == 0) {
        PushNoteOfLoss();
        Wake();
    }
    if (dueCount_ == 0) return false;
    --dueCount_;
    ++takenCount_;
    if (std::exchange(hasFirst_, false)) {
        std::swap(present_, first_);
    } else {
        present_ = std::move(waiting_.front());
        waiting_.pop_front();
    }
    waitingUnits_ -= present_.text.Length();
    return true;
}

// --- Passing on

/// Begins a turn with its first message. False when another thread has the turn or no message is due.
bool LogHandOut::Begin() {
    if (isRunning_) return false;
    isRunning_ = Take();
    return isRunning_;
}

void LogHandOut::Finish() noexcept {
    finishedCount_ = takenCount_;
    if (waiterCount_ == 0) return;
    ++wakings_;
    wakings_.notify_all();
}

bool LogHandOut::WaitAndGiveOut(std::size_t target) {
    if (innermost || KZLockedCOUT::IsHeldByCaller()) return false;
    for (bool hasWaited = false;; hasWaited = true) {
        int woken = 0;
        {
            Guard const guard(textLock);
            if (hasWaited) --waiterCount_;
            if (finishedCount_ >= target) return false;
            if (Begin()) break;
            ++waiterCount_;
            woken = wakings_;
        }
        wakings_.wait(woken);
    }
    return GiveOut();
}

bool LogHandOut::GiveOut() {
    Turn turn(*this);
    do {
        Give(present_);
        Recycle(present_.text);
    } while (turn.Next());
    return true;
}

void LogHandOut::Give(Message const & message) const {
    Frame const frame(this, message.depth + 1, message.isAboutFailure);
    for (Walk subscriber(subscribers_); subscriber.Next();) {
        try {
            if (subscriber->IsInterested(message.level)) subscriber->OnFlush(message.level, message.text);
        } catch (...) {
            TellFailure();
        }
    }
}

} // namespace KZDetail
