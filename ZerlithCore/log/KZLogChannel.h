/// @file
/// A named log channel.
///
///     KZLogChannel channel(u"Network");
///     channel.Subscribe(new KZConsoleLogSubscriber(1));
///     channel.GetStream().GetStream(1) << L"started" << std::endl;
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/log/KZLogStream.h"
#include "ZerlithCore/log/KZLogSubscriberI.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <vector>

/// A name, a stream, and the subscribers that get the stream's text. Programs usually make channels through KZLogManager.
///
/// Thread safety: subscribers may be added, removed and changed from any thread, also while others write to the stream.
class KZ_EXPORT KZLogChannel {
public:
    explicit KZLogChannel(KZString const & name);
    /// Passes text that wasn't flushed yet on to the subscribers.
    ~KZLogChannel();
    KZLogChannel(KZLogChannel const &) = delete;
    KZLogChannel & operator=(KZLogChannel const &) = delete;

    [[nodiscard]] KZString const & name() const noexcept { return name_; }
    [[nodiscard]] KZLogStream & GetStream() noexcept { return stream_; }

    /// Adds a subscriber, and holds a reference on it. False for null and for one that is subscribed already.
    /// Errors: std::bad_alloc, and the subscriber isn't added.
    bool Subscribe(KZSmartPtr<KZLogSubscriberI> subscriber);
    /// Removes a subscriber; one that isn't subscribed changes nothing. The subscriber gets no text that is flushed after this
    /// call. If another thread is passing on a text during the call, the subscriber may still get that text after the call has
    /// returned; the thread holds a reference on it until then. The call doesn't wait for that thread, which may itself be
    /// waiting for the caller.
    void UnSubscribe(KZSmartPtr<KZLogSubscriberI> subscriber);
    /// Sets the subscriber's desired level, for all its channels. False when it isn't subscribed here.
    bool ChangeSubscriptionLevel(KZSmartPtr<KZLogSubscriberI> subscriber, int level);

    [[nodiscard]] bool IsSubscribed(KZSmartPtr<KZLogSubscriberI> const & subscriber) const;
    /// A copy of the list of subscribers.
    [[nodiscard]] std::vector<KZSmartPtr<KZLogSubscriberI>> GetSubscribers() const;
    /// Tells this channel that the level of a subscriber was changed through another channel.
    void OnLevelChangedElsewhere(KZSmartPtr<KZLogSubscriberI> const & subscriber);

private:
    using Handle = KZSmartPtr<KZLogSubscriberI>;

    Handle * Find(Handle const & subscriber);

    KZString name_;
    KZLogStream stream_;
    mutable KZCriticalSection lock_;
    KZLogSubscribers subscribers_;
};
