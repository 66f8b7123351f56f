/// @file
/// The stream of a log channel.
///
///     KZLogStream & stream = channel->GetStream();
///     stream.GetStream(2) << L"detail " << 42 << std::endl;      // subscribers get it at level 2
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/foundation/KZSmartPtrVector.h"
#include "ZerlithCore/log/KZLogSubscriberI.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <atomic>
#include <memory>
#include <ostream>
#include <streambuf>

namespace KZDetail {
class LogHandOut;
}

/// The subscribers of a channel, sorted by address, under the channel's lock.
using KZLogSubscribers = KZSmartPtrVectorMutexedBase<KZSmartPtr<KZLogSubscriberI>>;

/// Gathers text until a flush and hands it to the subscribers.
///
/// A flush ends a message; a line end alone doesn't. When it returns the subscribers have heard the message, but for the case
/// that another thread is at that moment giving out an earlier one and the caller must not wait for it: because it holds
/// KZLockedCOUT, or because it is a subscriber. Then that thread gives out this message as well, before its own flush
/// returns. KZLogSubscriberI.h tells the order of the locks.
///
/// While no subscriber wants the present level each character costs one look at a flag. Nothing that a subscriber does, and no
/// want of memory, makes the stream go bad. A message for which memory fails isn't heard in part: it is dropped whole, as is
/// one that is left to another thread when a million units wait for it already. The line "*** messages lost: 1" tells so.
///
/// Thread safety: texts put in from several threads arrive whole, though mixed with each other.
class KZ_EXPORT KZLogStreamBuf : public std::wstreambuf {
public:
    /// `subscribers` isn't owned. The level is 0.
    explicit KZLogStreamBuf(KZLogSubscribers * subscribers);
    ~KZLogStreamBuf() override;

    /// Flushes what was gathered at another level, then takes the new one. A level that a subscriber sets in `OnFlush` holds
    /// until the messages at hand are given out.
    void SetLevel(int level);

    /// Drops what was gathered, as the message isn't complete, and counts it as lost.
    void DropMessage();

    /// Asks all subscribers anew whether they want the present level. Requires: the caller holds no lock of the
    /// channel's, since subscribers are called.
    void UpdateInterest();

protected:
    int_type overflow(int_type character = traits_type::eof()) override;
    std::streamsize xsputn(wchar_t const * text, std::streamsize count) override;
    /// Always the end of the file.
    int_type underflow() override;
    int sync() override;

private:
    [[nodiscard]] bool IsInterested() const noexcept { return isInterested_.load(std::memory_order_relaxed); }
    void Gather(wchar_t character);
    void Gather(char16_t const * units, std::size_t count);
    void LoseLine() noexcept;
    void EndMessage();
    void ChangeLevel(int level);
    template <class Prepare>
    void HandOut(Prepare prepare);

    std::unique_ptr<KZDetail::LogHandOut> handOut_;

    // Under the lock of all channels' texts; the level is also read without it.
    std::atomic<int> level_{0};
    std::atomic<bool> isLevelLent_{false}; // a subscriber has set it while it was run
    int lentLevel_ = 0;                    // to go back to
    bool isLineLost_ = false;              // a piece of it couldn't be gathered
    KZString line_;

    std::atomic<bool> isInterested_{false};
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
    /// From here on text is of `level`; what was gathered at another level goes out first. A stream that went bad, since
    /// somebody put a null text in, say, is good again; the message that this broke off is dropped and told as lost.
    void SetLoggingLevel(int level) {
        if (!good()) Recover();
        buffer_.SetLevel(level);
    }

    /// A place for derived streams to do something at the end of a line; does nothing.
    virtual void OnEOL();

    // The subscribers, or their levels, have changed. Requires: the caller holds no lock of the channel's.

    void OnDeletedSubscriber() { buffer_.UpdateInterest(); }
    void OnUpdatedSubscriber(KZSmartPtr<KZLogSubscriberI> const &) { buffer_.UpdateInterest(); }
    void OnAddedSubscriber(KZSmartPtr<KZLogSubscriberI> const &) { buffer_.UpdateInterest(); }

private:
    void Recover();

    KZLogStreamBuf buffer_;
};
