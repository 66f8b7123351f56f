/// @file
/// The registry of log channels.
///
///     KZLogManager & manager = KZApplication::GetLogManager();
///     unsigned int const channel = manager.AddChannel(u"Network");
///     manager.Subscribe(channel, new KZFileLogSubscriber(u"network.log", 2, true, true));
///     (*manager.GetChannel(channel))->GetStream().GetStream(1) << L"listening" << std::endl;
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/foundation/KZPointerVector.h"
#include "ZerlithCore/log/KZLogChannel.h"
#include "ZerlithCore/log/KZLogSubscriberI.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

#include <cstddef>
#include <iterator>
#include <vector>

/// Owns named channels. A channel's index is its place in the order of creation; it never changes, and no channel is
/// removed before the manager is destroyed.
///
/// Thread safety: all operations may be called from any thread.
class KZ_EXPORT KZLogManager {
public:
    /// Walks the channels in order of creation. It stays valid when channels are added.
    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = KZLogChannel *;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = KZLogChannel *;

        Iterator() noexcept = default;
        Iterator(KZLogManager const & manager, unsigned int index) noexcept
            : manager_(&manager), index_(index) {}

        /// The channel, owned by the manager; null at the end.
        KZLogChannel * operator*() const { return manager_->ChannelAt(index_); }
        Iterator & operator++() noexcept {
            ++index_;
            return *this;
        }
        Iterator operator++(int) noexcept {
            Iterator const before = *this;
            ++index_;
            return before;
        }
        friend bool operator==(Iterator const & a, Iterator const & b) noexcept {
            return a.index_ == b.index_;
        }

    private:
        KZLogManager const * manager_ = nullptr;
        unsigned int index_ = 0;
    };

    KZLogManager() noexcept = default;
    ~KZLogManager();
    KZLogManager(KZLogManager const &) = delete;
    KZLogManager & operator=(KZLogManager const &) = delete;

    /// Does nothing.
    void Init() {}

    /// Makes a channel and returns its index. Several channels may have the same name; a look-up by name finds the first one.
    /// Errors: std::bad_alloc, and no channel is made.
    unsigned int AddChannel(KZString const & name);

    /// The channel with that index, or the first one with that name (case counts). The end if there is none.
    [[nodiscard]] Iterator GetChannel(unsigned int index) const;
    [[nodiscard]] Iterator GetChannel(KZString const & name) const;

    [[nodiscard]] Iterator GetFirstChannelItr() const noexcept { return {*this, 0}; }
    /// The end of the present list: one past the last channel.
    [[nodiscard]] Iterator GetLastChannelItr() const;
    /// The names, in order of creation.
    [[nodiscard]] std::vector<KZString> GetAvailableChannels() const;

    // The next ones forward to the channel with that index. They return false if there is no such channel.

    /// False when the subscriber is there already.
    bool Subscribe(unsigned int channel, KZSmartPtr<KZLogSubscriberI> subscriber);
    bool UnSubscribe(unsigned int channel, KZSmartPtr<KZLogSubscriberI> subscriber);
    /// Sets the subscriber's desired level, which holds for all its channels. False when it isn't subscribed.
    bool ChangeSubscriptionLevel(unsigned int channel, KZSmartPtr<KZLogSubscriberI> subscriber, int level);
    /// Moves a subscriber from `channel` to `target`. False, with no change, when it isn't subscribed to the first.
    bool ChangeSubscriptionChannel(unsigned int channel, KZSmartPtr<KZLogSubscriberI> subscriber,
                                   unsigned int target);

private:
    [[nodiscard]] KZLogChannel * ChannelAt(unsigned int index) const;

    KZPointerVector<KZLogChannel *> channels_;
    unsigned int count_ = 0;
    mutable KZCriticalSection lock_; // never held while a channel is called
};
