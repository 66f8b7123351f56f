/// @file
/// A named log channel.
///
///     channel->Subscribe(new KZConsoleLogSubscriber(1));
///     channel->GetStream().GetStream(1) << L"started" << std::endl;
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/log/KZLogStream.h"
#include "ZerlithCore/log/KZLogSubscriberI.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <vector>

/// A name, a stream, and the subscribers that the stream's text goes to.
///
/// Thread safety: subscribing may be done from any thread, also while others write.
class KZ_EXPORT KZLogChannel {
public:
    explicit KZLogChannel(KZString const & name);
    /// Hands out what was written and not yet flushed.
    ~KZLogChannel();
    KZLogChannel(KZLogChannel const &) = delete;
    KZLogChannel & operator=(KZLogChannel const &) = delete;

    [[nodiscard]] KZString const & name() const noexcept { return name_; }
    [[nodiscard]] KZLogStream & GetStream() noexcept { return stream_; }

    /// Adds a subscriber, which the channel owns from then on. False when it is there already, and for null.
    bool Subscribe(KZSmartPtr<KZLogSubscriberI> subscriber);
    /// Removes a subscriber; one that isn't there changes nothing. Its `OnFlush` isn't called for texts that are flushed from
    /// then on. If another thread is giving out a text at this moment, the subscriber may still get that one; the thread holds
    /// a reference on it until then. This function doesn't wait for it, since that thread may be waiting for the caller.
    void UnSubscribe(KZSmartPtr<KZLogSubscriberI> subscriber);
    /// Sets the subscriber's desired level, for all its channels. False when it isn't subscribed here.
    bool ChangeSubscriptionLevel(KZSmartPtr<KZLogSubscriberI> subscriber, int level);

    [[nodiscard]] bool IsSubscribed(KZSmartPtr<KZLogSubscriberI> const & subscriber) const;
    /// The subscribers of this moment.
    [[nodiscard]] std::vector<KZSmartPtr<KZLogSubscriberI>> GetSubscribers() const;
    /// The level of a subscriber was changed elsewhere.
    void OnLevelChangedElsewhere(KZSmartPtr<KZLogSubscriberI> const & subscriber);

private:
    using Handle = KZSmartPtr<KZLogSubscriberI>;

    Handle * Find(Handle const & subscriber);

    KZString name_;
    KZLogStream stream_;
    mutable KZCriticalSection lock_;
    KZLogSubscribers subscribers_;
};
