/// @file
/// The stream of a log channel.
///
///     KZLogChannel channel(u"Network");
///     KZLogStream & stream = channel.GetStream();
///     stream.GetStream(2) << L"detail " << 42 << std::endl;      // subscribers get it at level 2
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/foundation/KZSmartPtrVector.h"
#include "ZerlithCore/log/KZLogSubscriberI.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZUnitStreamBuf.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <atomic>
#include <memory>
#include <ostream>
#include <string_view>

namespace KZDetail {
class LogHandOut;
}

/// The subscribers of a channel, sorted by address. The channel's lock guards them.
using KZLogSubscribers = KZSmartPtrVectorMutexedBase<KZSmartPtr<KZLogSubscriberI>>;

/// Gathers text until a flush, and then passes it to the subscribers as one message.
///
/// A line end alone doesn't end a message. When a flush returns, the subscribers have got the message. There is one exception:
/// if another thread is passing on an earlier message and the caller must not wait for it, since it holds KZLockedCOUT or is
/// itself running a subscriber, then the other thread passes on this message too, before its own flush returns.
/// KZLogSubscriberI.h describes the order of the locks.
///
/// While no subscriber wants the present level, a character costs one look at a flag. The stream stays good whatever a
/// subscriber does and when memory runs out. A message for which memory fails is dropped whole, and so is a message that is
/// left to another thread for which a million units are waiting already. Subscribers then get "*** messages lost: 1".
///
/// Thread safety: each text put in by one call arrives whole; texts of several threads may end up in one message.
class KZ_EXPORT KZLogStreamBuf : public KZUnitStreamBuf {
public:
    /// `subscribers` isn't owned. The level is 0.
    explicit KZLogStreamBuf(KZLogSubscribers * subscribers);
    ~KZLogStreamBuf() override;

    /// Always true: a text for which memory fails is told of in the next message.
    bool PutUnits(std::u16string_view units) override;

    /// Flushes what was gathered at another level, and then sets the new level. A level that a subscriber sets in `OnFlush`
    /// holds until the messages that are waiting have been passed on; then the former level is set again.
    void SetLevel(int level);

    /// Drops what was gathered, for a message that can't be completed, and counts the message as lost.
    void DropMessage();

    /// Asks all subscribers again whether they want the present level. Requires: the caller doesn't hold the channel's lock,
    /// because code of the subscribers is called.
    void UpdateInterest();

protected:
    int_type overflow(int_type character = traits_type::eof()) override;
    std::streamsize xsputn(wchar_t const * text, std::streamsize count) override;
    /// Nothing can be read: always the end of the file.
    int_type underflow() override;
    int sync() override;

private:
    [[nodiscard]] bool IsInterested() const noexcept { return isInterested_.load(std::memory_order_relaxed); }
    void Gather(std::u16string_view units);
    void LoseLine() noexcept;
    void EndMessage();
    void ChangeLevel(int level);
    template <class Prepare>
    void HandOut(Prepare prepare);

    std::unique_ptr<KZDetail::LogHandOut> handOut_;

    // Guarded by the lock that all channels share for their texts. The level is also read without it.
    std::atomic<int> level_{0};
    std::atomic<bool> isLevelLent_{false}; // a subscriber has set the level in its OnFlush
    int lentLevel_ = 0;                    // the level to restore afterwards
    bool isLineLost_ = false;              // memory failed for a piece of the line
    KZString line_;

    std::atomic<bool> isInterested_{false};
};

/// The wide stream of a log channel.
///
/// Thread safety: the level and the stream's own state (width, flags) are shared by all writers, as with every standard
/// stream. Writers on several threads must hold a lock of their own while they write, as KZLockedCOUT is for the console.
class KZ_EXPORT KZLogStream : public std::wostream {
public:
    /// `subscribers` isn't owned and must exist as long as the stream. The level is 0.
    explicit KZLogStream(KZLogSubscribers * subscribers);
    ~KZLogStream() override;

    /// The stream, at `level`.
    [[nodiscard]] std::wostream & GetStream(int level) {
        SetLoggingLevel(level);
        return *this;
    }
    /// Sets the level of the text that follows. Text that was gathered at another level is flushed first. If the stream has
    /// gone bad, since somebody wrote a null text for example, it becomes good again; the message that was being gathered is
    /// dropped and counted as lost.
    void SetLoggingLevel(int level) {
        if (!good()) Recover();
        buffer_.SetLevel(level);
    }

    /// Does nothing. Derived streams may override it to act at the end of a line.
    virtual void OnEOL();

    // The channel calls these when its subscribers or their levels have changed. Requires: the caller doesn't hold the channel's
    // lock.

    void OnDeletedSubscriber() { buffer_.UpdateInterest(); }
    void OnUpdatedSubscriber(KZSmartPtr<KZLogSubscriberI> const &) { buffer_.UpdateInterest(); }
    void OnAddedSubscriber(KZSmartPtr<KZLogSubscriberI> const &) { buffer_.UpdateInterest(); }

private:
    void Recover();

    KZLogStreamBuf buffer_;
};
