// Threads share two things. The gathered text and the level are guarded by the lock that all channels share for their texts,
// which is held for a few instructions only. The flag `isInterested_` is guarded by the channel's lock. It is also read
// without a lock, and this makes unwanted text cheap.
//
// Subscribers are asked what they want while no lock is held. After a change of the level or of the subscribers, a thread
// increments the count of changes, sets the flag, asks all subscribers, and clears the flag only if none wants the level and
// the count is still the same. So the flag may be set needlessly for a moment, but it is never clear while a subscriber
// wants the level.

#include "ZerlithCore/log/KZLogStream.h"

#include "ZerlithCore/log/detail/LogHandOut.h"

#include <new>
#include <stdexcept>
#include <utility>

namespace {

using KZDetail::LogHandOut;
using Guard = KZGuard<KZCriticalSection>;

constexpr auto relaxed = std::memory_order_relaxed;

} // namespace

KZLogSubscriberI::~KZLogSubscriberI() = default;

bool KZLogSubscriberI::IsInterested(int level) const { return level <= GetDesiredLevel(); }

KZLogStreamBuf::KZLogStreamBuf(KZLogSubscribers * subscribers)
    : handOut_(std::make_unique<LogHandOut>(*subscribers)) {}

KZLogStreamBuf::~KZLogStreamBuf() = default;

/// Passes on what is due after `prepare`, and then restores the level if a subscriber has changed it meanwhile.
template <class Prepare>
void KZLogStreamBuf::HandOut(Prepare prepare) {
    if (!handOut_->Run(prepare) || !isLevelLent_.load(relaxed)) return;
    {
        Guard const guard(LogHandOut::textLock);
        // If another thread has set a level since, that one stays.
        if (isLevelLent_.load(relaxed)) ChangeLevel(lentLevel_);
        isLevelLent_.store(false, relaxed);
    }
    UpdateInterest();
}

void KZLogStreamBuf::SetLevel(int level) {
    if (level == level_.load(relaxed) && !isLevelLent_.load(relaxed)) return;
    HandOut([this, level] {
        bool const isLent = handOut_->IsRunByCaller();
        if (isLent && !isLevelLent_.load(relaxed)) lentLevel_ = level_.load(relaxed);
        isLevelLent_.store(isLent, relaxed);
        ChangeLevel(level);
    });
    UpdateInterest();
}

void KZLogStreamBuf::DropMessage() {
    Guard const guard(LogHandOut::textLock);
    LoseLine();
    EndMessage();
}

void KZLogStreamBuf::UpdateInterest() { handOut_->UpdateInterest(level_, isInterested_); }

bool KZLogStreamBuf::PutUnits(std::u16string_view units) {
    if (IsInterested() && !units.empty()) Gather(units);
    return true;
}

KZLogStreamBuf::int_type KZLogStreamBuf::overflow(int_type character) {
    if (!IsInterested()) return traits_type::not_eof(character);
    bool const isUnit = !traits_type::eq_int_type(character, traits_type::eof()) && character <= 0xFFFF;
    if (!isUnit) return KZUnitStreamBuf::overflow(character);
    auto const unit = static_cast<char16_t>(character);
    Gather({&unit, 1});
    return character;
}

// The text is converted before the lock is taken: reading it may fault, and the report of the fault writes to a channel, which
// takes the lock.
std::streamsize KZLogStreamBuf::xsputn(wchar_t const * text, std::streamsize count) {
    if (!IsInterested()) return count;
    try {
        return KZUnitStreamBuf::xsputn(text, count);
    } catch (std::bad_alloc const &) {
        Guard const guard(LogHandOut::textLock);
        LoseLine();
    }
    return count;
}

KZLogStreamBuf::int_type KZLogStreamBuf::underflow() { return traits_type::eof(); }

int KZLogStreamBuf::sync() {
    if (LogHandOut::IsPrompt()) {
        HandOut([this] {
            EndMessage();
            handOut_->Wake();
        });
    }
    return 0;
}

void KZLogStreamBuf::Gather(std::u16string_view units) {
    Guard const guard(LogHandOut::textLock);
    if (isLineLost_) return;
    try {
        if (units.size() == 1) // Programs may write character by character.
            line_ += units.front();
        else
            line_.Append(units.data(), static_cast<unsigned int>(units.size()));
    } catch (std::bad_alloc const &) {
        LoseLine();
    } catch (std::length_error const &) {
        LoseLine();
    }
}

// The next ones require: the caller holds the lock of the texts.

void KZLogStreamBuf::LoseLine() noexcept {
    line_.Clear();
    isLineLost_ = true;
}

void KZLogStreamBuf::EndMessage() {
    if (std::exchange(isLineLost_, false)) {
        handOut_->AddLost(level_.load(relaxed));
    } else if (!line_.IsNull()) {
        handOut_->Add(level_.load(relaxed), line_);
    }
}

void KZLogStreamBuf::ChangeLevel(int level) {
    if (level == level_.load(relaxed)) return;
    EndMessage();
    level_.store(level, relaxed);
}

KZLogStream::KZLogStream(KZLogSubscribers * subscribers) : std::wostream(nullptr), buffer_(subscribers) {
    init(&buffer_);
}

KZLogStream::~KZLogStream() = default;

void KZLogStream::OnEOL() {}

void KZLogStream::Recover() {
    buffer_.DropMessage();
    clear();
}
