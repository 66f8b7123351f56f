/// @file
/// The stream of a log channel.
///
///     KZLogStream & stream = channel->GetStream();
///     stream.GetStream(2) << L"detail " << 42 << std::endl;      // subscribers get it at level 2
#pragma once

#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/foundation/KZSmartPtrVector.h"
#include "ZerlithCore/log/KZLogSubscriberI.h"
#include "ZerlithCore/platform/Export.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <atomic>
#include <ostream>
#include <streambuf>

/// The subscribers of a channel, sorted by address, under the channel's lock.
using KZLogSubscribers = KZSmartPtrVectorMutexedBase<KZSmartPtr<KZLogSubscriberI>>;

/// Gathers text until a flush and hands it to the subscribers.
///
/// A flush ends a message; a line end alone doesn't. While no subscriber wants the present level each character costs
/// one look at a flag.
///
/// Locks: the one of all channel streams, then the channel's. Thread safety: texts put in from several threads arrive
/// whole, though mixed with each other.
class KZ_EXPORT KZLogStreamBuf : public std::wstreambuf {
public:
    /// `subscribers` isn't owned. The level is 0.
    explicit KZLogStreamBuf(KZLogSubscribers * subscribers) : subscribers_(subscribers) {}
    ~KZLogStreamBuf() override;

    /// Flushes what was gathered at another level, then takes the new one.
    void SetLevel(int level);

    // The next three keep the flag right. Requires: the caller holds the channel's lock.

    /// Asks all subscribers anew.
    void UpdateInterest();
    /// Asks a subscriber that came.
    void AddInterestOf(KZLogSubscriberI const & subscriber);

protected:
    int_type overflow(int_type character = traits_type::eof()) override;
    std::streamsize xsputn(wchar_t const * text, std::streamsize count) override;
    /// Always the end of the file.
    int_type underflow() override;
    int sync() override;

private:
    [[nodiscard]] bool IsInterested() const noexcept { return isInterested_.load(std::memory_order_relaxed); }
    void HandOut(KZString const & text);

    KZLogSubscribers * subscribers_;
    std::atomic<int> level_{0};
    std::atomic<bool> isInterested_{false};
    bool isHandingOut_ = false;
    KZString line_;
};

/// The wide stream of a log channel.
///
/// Thread safety: the stream's own state (width, flags) is shared by its writers, as that of every standard stream,
/// and so is the level: writers from several threads hold a lock of their own, as KZLockedCOUT is for the console.
class KZ_EXPORT KZLogStream : public std::wostream {
public:
    explicit KZLogStream(KZLogSubscribers * subscribers);
    ~KZLogStream() override;

    /// The stream, at `level`.
    [[nodiscard]] std::wostream & GetStream(int level) {
        SetLoggingLevel(level);
        return *this;
    }
    /// From here on text is of `level`; what was gathered at another level goes out first.
    void SetLoggingLevel(int level) { buffer_.SetLevel(level); }

    /// A place for derived streams to do something at the end of a line; does nothing.
    virtual void OnEOL();

    /// The subscribers, or their levels, have changed. Requires: the caller holds the channel's lock.
    void OnDeletedSubscriber() { buffer_.UpdateInterest(); }
    void OnUpdatedSubscriber(KZSmartPtr<KZLogSubscriberI> const &) { buffer_.UpdateInterest(); }
    /// A subscriber came. Requires: the caller holds the channel's lock.
    void OnAddedSubscriber(KZSmartPtr<KZLogSubscriberI> const & subscriber) {
        buffer_.AddInterestOf(*subscriber);
    }

private:
    KZLogStreamBuf buffer_;
};
