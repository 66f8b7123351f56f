// Locks: `textLock` protects what waits, and is held for some instructions only. A turn, during which one thread gives
// out, is no lock but a flag under it. Nobody waits for a turn who could keep a subscriber waiting: neither a thread that
// holds KZLockedCOUT, which subscribers and the reports of faults take, nor one that runs a subscriber itself. Such a
// thread leaves its message to the one that has the turn, which ends the turn in the same step in which it finds no more.
//
// The subscribers are found one by one under the channel's lock, each as the first one behind its predecessor's address.
// So they may come and go meanwhile, and each one that stays gets each message once.

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
constexpr unsigned int promptDepth = 1; // what is written deeper waits for a flush from outside
constexpr std::size_t mostWaitingUnits = 1024 * 1024;
constexpr std::size_t mostNoteUnits = 64;           // of a line about lost messages
constexpr std::uint32_t mostSpareUnits = 16 * 1024; // a larger block isn't kept for the next message

/// What a thread is doing for subscribers, with what it was doing when that began.
struct Frame {
    Frame(LogHandOut const * owned, unsigned int atDepth, bool aboutFailure) noexcept;
    ~Frame();
    Frame(Frame const &) = delete;
    Frame & operator=(Frame const &) = delete;

    LogHandOut const * owner; // null when no message is given out
    unsigned int depth;       // of what the thread writes meanwhile
    bool isAboutFailure;
    Frame const * outer;
};

// At a fixed offset, since each flush looks at it: to find it takes one instruction, not a call.
#if defined(__GNUC__)
[[gnu::tls_model("initial-exec")]]
#endif
constinit thread_local Frame const * innermost = nullptr;

Frame::Frame(LogHandOut const * owned, unsigned int atDepth, bool aboutFailure) noexcept
    : owner(owned), depth(atDepth), isAboutFailure(aboutFailure), outer(std::exchange(innermost, this)) {}

Frame::~Frame() { innermost = outer; }

unsigned int PresentDepth() noexcept { return innermost ? innermost->depth : 0; }

bool IsTellingOfFailure() noexcept { return innermost && innermost->isAboutFailure; }

/// Tells that a subscriber has failed, but not that it has failed to hear just that.
void TellFailure() noexcept {
    if (IsTellingOfFailure()) return;
    Frame const frame(nullptr, std::max(PresentDepth(), 1U), true);
    TellUnhandledException();
}

/// Empties a text and keeps its block for the next one, unless that is a giant.
void Recycle(KZString & text) noexcept {
    try {
        if (text.Capacity() <= mostSpareUnits) return text.Remove(0, text.Length());
    } catch (std::bad_alloc const &) {
        // A subscriber has kept the text, and there is no memory for another block.
    }
    text.Clear();
}

} // namespace

constinit KZCriticalSection LogHandOut::textLock;

/// Goes through the subscribers; null in front of the first one.
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
        present_ = std::move(next); // A subscriber that has left may end here, outside of the lock.
        return !present_.IsNull();
    }
    KZLogSubscriberI * operator->() const { return present_; }

private:
    Subscribers & subscribers_;
    Handle present_;
    bool isAtLast_ = false; // Who comes behind the last one is too late for this walk.
};

/// A turn that has begun, and ends at the latest with this object.
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
    // The line comes where the lost messages were, once there is room for more than the line.
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

/// Puts a message behind the others. False, with nothing changed, when there is no room for it.
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

/// Puts a line behind the others that tells of the lost messages. Without room for it their count stays for another time.
void LogHandOut::PushNoteOfLoss() {
    try {
        KZString text;
        text.Format(u"*** messages lost: %u\n", lostCount_);
        Message note{lostLevel_, 0, true, std::move(text)};
        if (Push(note)) lostCount_ = 0;
    } catch (std::bad_alloc const &) {
        // Told later.
    }
}

/// Makes the next message that is due the present one.
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

// --- Giving out

/// Begins a turn with its first message. False when another thread has its turn, or there is no message.
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
