#include "ZerlithCore/log/KZLogChannel.h"

#include <algorithm>

using Guard = KZGuard<KZCriticalSection>;

// The stream only keeps the address of the vector, which is built after it and destroyed before it.
KZLogChannel::KZLogChannel(KZString const & name)
    : name_(name), stream_(&subscribers_), subscribers_(lock_) {}

KZLogChannel::~KZLogChannel() { stream_.rdbuf()->pubsync(); } // also when the stream has gone bad

// These ask the subscribers what they want only after the lock is released, because that calls the subscribers' code.

bool KZLogChannel::Subscribe(KZSmartPtr<KZLogSubscriberI> subscriber) {
    if (subscriber.IsNull()) return false;
    {
        Guard const guard(lock_);
        Handle * const place = std::lower_bound(subscribers_.begin(), subscribers_.end(), subscriber);
        if (place != subscribers_.end() && *place == subscriber) return false;
        subscribers_.insert(place, subscriber);
    }
    stream_.OnAddedSubscriber(subscriber);
    return true;
}

void KZLogChannel::UnSubscribe(KZSmartPtr<KZLogSubscriberI> subscriber) {
    {
        Guard const guard(lock_);
        subscribers_.erase(Find(subscriber));
    }
    stream_.OnDeletedSubscriber();
}

bool KZLogChannel::ChangeSubscriptionLevel(KZSmartPtr<KZLogSubscriberI> subscriber, int level) {
    if (!IsSubscribed(subscriber)) return false;
    subscriber->SetDesiredLevel(level);
    stream_.OnUpdatedSubscriber(subscriber);
    return true;
}

bool KZLogChannel::IsSubscribed(KZSmartPtr<KZLogSubscriberI> const & subscriber) const {
    Guard const guard(lock_);
    return std::binary_search(subscribers_.begin(), subscribers_.end(), subscriber);
}

std::vector<KZSmartPtr<KZLogSubscriberI>> KZLogChannel::GetSubscribers() const {
    Guard const guard(lock_);
    return {subscribers_.begin(), subscribers_.end()};
}

void KZLogChannel::OnLevelChangedElsewhere(KZSmartPtr<KZLogSubscriberI> const & subscriber) {
    if (IsSubscribed(subscriber)) stream_.OnUpdatedSubscriber(subscriber);
}

/// The place of a subscriber, or the end. Requires: the caller holds the lock.
KZLogChannel::Handle * KZLogChannel::Find(Handle const & subscriber) {
    Handle * const place = std::lower_bound(subscribers_.begin(), subscribers_.end(), subscriber);
    return place != subscribers_.end() && *place == subscriber ? place : subscribers_.end();
}
