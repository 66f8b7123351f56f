// Two things are shared between threads. The gathered line belongs to the lock of all streams. Level, flag and
// subscribers belong together under the channel's lock, so that the flag is right whoever changes one of them last;
// the flag is also read without any lock, which is what makes unwanted text cheap.

#include "ZerlithCore/log/KZLogStream.h"

#include "ZerlithCore/text/KZWideText.h"

#include <algorithm>
#include <utility>

namespace {

/// One for all channel streams of the process, taken before a channel's own.
constinit KZCriticalSection streamLock;

using Guard = KZGuard<KZCriticalSection>;

} // namespace

KZLogSubscriberI::~KZLogSubscriberI() = default;

bool KZLogSubscriberI::IsInterested(int level) const { return level <= GetDesiredLevel(); }

KZLogStreamBuf::~KZLogStreamBuf() = default;

void KZLogStreamBuf::SetLevel(int level) {
    if (level == level_.load(std::memory_order_relaxed)) return;
    Guard const streamGuard(streamLock);
    sync();
    KZGuard<KZLogSubscribers> const channelGuard(*subscribers_);
    level_.store(level, std::memory_order_relaxed);
    UpdateInterest();
}

void KZLogStreamBuf::UpdateInterest() {
    int const level = level_.load(std::memory_order_relaxed);
    auto const wants = [level](KZSmartPtr<KZLogSubscriberI> const & subscriber) {
        return subscriber->IsInterested(level);
    };
    isInterested_.store(std::any_of(subscribers_->begin(), subscribers_->end(), wants),
                        std::memory_order_relaxed);
}

void KZLogStreamBuf::AddInterestOf(KZLogSubscriberI const & subscriber) {
    if (subscriber.IsInterested(level_.load(std::memory_order_relaxed)))
        isInterested_.store(true, std::memory_order_relaxed);
}

KZLogStreamBuf::int_type KZLogStreamBuf::overflow(int_type character) {
    if (IsInterested() && !traits_type::eq_int_type(character, traits_type::eof())) {
        Guard const guard(streamLock);
        KZAppendWide(line_, traits_type::to_char_type(character));
    }
    return traits_type::not_eof(character);
}

std::streamsize KZLogStreamBuf::xsputn(wchar_t const * text, std::streamsize count) {
    if (IsInterested()) {
        Guard const guard(streamLock);
        std::for_each(text, text + count, [this](wchar_t character) { KZAppendWide(line_, character); });
    }
    return count;
}

KZLogStreamBuf::int_type KZLogStreamBuf::underflow() { return traits_type::eof(); }

int KZLogStreamBuf::sync() {
    Guard const guard(streamLock);
    // A subscriber that writes here against the rule is heard at the next flush, not in an endless circle.
    if (line_.IsNull() || isHandingOut_) return 0;
    KZString text = std::exchange(line_, KZString());
    isHandingOut_ = true;
    struct Done {
        bool & flag;
        ~Done() { flag = false; }
    } const done{isHandingOut_};
    HandOut(text);
    if (line_.IsNull()) {
        text.Remove(0, text.Length()); // and keep its block for the next line
        line_ = std::move(text);
    }
    return 0;
}

/// Goes on behind the subscriber that was called, which may have removed itself meanwhile.
void KZLogStreamBuf::HandOut(KZString const & text) {
    KZGuard<KZLogSubscribers> const guard(*subscribers_);
    int const level = level_.load(std::memory_order_relaxed);
    for (unsigned int i = 0; i < subscribers_->size();) {
        KZSmartPtr<KZLogSubscriberI> const subscriber = (*subscribers_)[i];
        if (subscriber->IsInterested(level)) subscriber->OnFlush(level, text);
        if (i < subscribers_->size() && (*subscribers_)[i] == subscriber) ++i;
    }
}

KZLogStream::KZLogStream(KZLogSubscribers * subscribers) : std::wostream(nullptr), buffer_(subscribers) {
    init(&buffer_);
}

KZLogStream::~KZLogStream() = default;

void KZLogStream::OnEOL() {}
