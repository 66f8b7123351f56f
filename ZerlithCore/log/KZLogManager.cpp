// The manager owns its channels in a vector that only grows, so an index always means the same channel.
#include "ZerlithCore/log/KZLogManager.h"

#include <algorithm>
#include <memory>

using Guard = KZGuard<KZCriticalSection>;

KZLogManager::~KZLogManager() {
    for (KZLogChannel * channel : channels_) delete channel;
}

unsigned int KZLogManager::AddChannel(KZString const & name) {
    auto channel = std::make_unique<KZLogChannel>(name);
    Guard const guard(lock_);
    channels_.push_back(channel.get());
    static_cast<void>(channel.release()); // the vector has it now
    return count_++;
}

KZLogManager::Iterator KZLogManager::GetChannel(unsigned int index) const {
    Guard const guard(lock_);
    return {*this, std::min(index, count_)};
}

KZLogManager::Iterator KZLogManager::GetChannel(KZString const & name) const {
    Guard const guard(lock_);
    auto const place =
        std::find_if(channels_.begin(), channels_.end(),
                     [&name](KZLogChannel const * channel) { return channel->name() == name; });
    return {*this, static_cast<unsigned int>(place - channels_.begin())};
}

KZLogManager::Iterator KZLogManager::GetLastChannelItr() const {
    Guard const guard(lock_);
    return {*this, count_};
}

std::vector<KZString> KZLogManager::GetAvailableChannels() const {
    Guard const guard(lock_);
    std::vector<KZString> names;
    for (KZLogChannel const * channel : channels_) names.push_back(channel->name());
    return names;
}

bool KZLogManager::Subscribe(unsigned int channel, KZSmartPtr<KZLogSubscriberI> subscriber) {
    KZLogChannel * const place = ChannelAt(channel);
    return place && place->Subscribe(subscriber);
}

bool KZLogManager::UnSubscribe(unsigned int channel, KZSmartPtr<KZLogSubscriberI> subscriber) {
    KZLogChannel * const place = ChannelAt(channel);
    if (place) place->UnSubscribe(subscriber);
    return place != nullptr;
}

bool KZLogManager::ChangeSubscriptionLevel(unsigned int channel, KZSmartPtr<KZLogSubscriberI> subscriber,
                                           int level) {
    KZLogChannel * const place = ChannelAt(channel);
    if (!place || !place->ChangeSubscriptionLevel(subscriber, level)) return false;
    for (unsigned int i = 0; KZLogChannel * const other = ChannelAt(i); ++i) {
        if (other != place) other->OnLevelChangedElsewhere(subscriber);
    }
    return true;
}

bool KZLogManager::ChangeSubscriptionChannel(unsigned int channel, KZSmartPtr<KZLogSubscriberI> subscriber,
                                             unsigned int target) {
    KZLogChannel * const from = ChannelAt(channel);
    KZLogChannel * const to = ChannelAt(target);
    if (!from || !to || !from->IsSubscribed(subscriber)) return false;
    if (from != to) {
        to->Subscribe(subscriber); // comes first: if it throws, the subscriber stays where it is
        from->UnSubscribe(subscriber);
    }
    return true;
}

KZLogChannel * KZLogManager::ChannelAt(unsigned int index) const {
    Guard const guard(lock_);
    return index < count_ ? channels_[index] : nullptr;
}
