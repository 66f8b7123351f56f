#include "ZerlithCore/log/KZLogManager.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Heard = std::vector<std::pair<int, std::u16string>>;

class Listener : public KZLogSubscriberI {
public:
    explicit Listener(int level) : KZLogSubscriberI(level) {}
    void OnFlush(int level, KZString const & text) override {
        heard.emplace_back(level, std::u16string_view(text));
        if (then) then();
    }
    Heard heard;
    std::function<void()> then;
};
using Handle = KZSmartPtr<Listener>;

class KZLogManagerTest : public testing::Test {
protected:
    KZLogManager manager;
    unsigned int const index = manager.AddChannel(u"first");
    KZLogChannel & channel = **manager.GetChannel(index);
    KZLogStream & stream = channel.GetStream();
};

TEST_F(KZLogManagerTest, FindsChannels) {
    EXPECT_EQ(manager.AddChannel(u"second"), 1U);
    auto const before = manager.GetFirstChannelItr();
    for (int i = 0; i < 100; ++i) manager.AddChannel(u"second");
    EXPECT_TRUE((*manager.GetChannel(u"second"))->name() == u"second");
    EXPECT_TRUE(manager.GetChannel(u"second") == manager.GetChannel(1U)) << "the first of several";
    for (auto const & itr :
         {manager.GetChannel(u"First"), manager.GetChannel(102U), manager.GetChannel(~0U)}) {
        EXPECT_TRUE(itr == manager.GetLastChannelItr());
        EXPECT_EQ(*itr, nullptr);
    }
    EXPECT_EQ(std::distance(before, manager.GetLastChannelItr()), 102) << "iterators outlive an addition";
    EXPECT_EQ(manager.GetAvailableChannels().size(), 102U);

    Handle const listener(new Listener(1));
    EXPECT_FALSE(manager.Subscribe(102, listener) || manager.UnSubscribe(102, listener) ||
                 manager.ChangeSubscriptionLevel(102, listener, 1) ||
                 manager.ChangeSubscriptionChannel(0, listener, 1) || manager.Subscribe(0, {}));
}

TEST_F(KZLogManagerTest, HandsOutByLevelAtAFlush) {
    stream.GetStream(0) << L"nobody hears this" << std::endl;
    Handle const low(new Listener(2)), high(new Listener(0));
    EXPECT_TRUE(manager.Subscribe(index, low));
    EXPECT_TRUE(manager.Subscribe(index, high));
    EXPECT_FALSE(manager.Subscribe(index, low));
    stream.flush();
    for (int level = 0; level <= 3; ++level) stream.GetStream(level) << level << L'\n' << std::flush;
    EXPECT_EQ(low->heard, (Heard{{0, u"0\n"}, {1, u"1\n"}, {2, u"2\n"}}));
    EXPECT_EQ(high->heard, (Heard{{0, u"0\n"}}));
}

TEST_F(KZLogManagerTest, ALevelChangeInMidLineFlushesTheEarlierPart) {
    Handle const listener(new Listener(2));
    manager.Subscribe(index, listener);
    stream.GetStream(1) << L"a\nb";
    stream << KZString(u"\U0001F600");
    stream.GetStream(1) << L"c";
    stream.GetStream(3) << L"dropped";
    stream.GetStream(2) << L"d" << std::endl;
    EXPECT_EQ(listener->heard.size(), 2U);
    EXPECT_TRUE(listener->heard.front().second.ends_with(u"\U0001F600c"));
    EXPECT_EQ(listener->heard.back(), (std::pair<int, std::u16string>{2, u"d\n"}));
}

TEST_F(KZLogManagerTest, InterestFollowsSubscriptionsAndLevels) {
    Handle const a(new Listener(5)), b(new Listener(0));
    unsigned int const other = manager.AddChannel(u"other");
    auto const said = [&](unsigned int where, int level) {
        std::size_t const before = a->heard.size() + b->heard.size();
        (*manager.GetChannel(where))->GetStream().GetStream(level) << L"x" << std::flush;
        return a->heard.size() + b->heard.size() - before;
    };
    EXPECT_EQ(said(index, 3), 0U);
    EXPECT_TRUE(manager.Subscribe(index, a) && manager.Subscribe(index, b) && manager.Subscribe(other, b));
    EXPECT_EQ(said(index, 3), 1U);
    EXPECT_EQ(said(other, 3), 0U);
    EXPECT_TRUE(manager.ChangeSubscriptionLevel(index, b, 4));
    EXPECT_EQ(said(index, 3), 2U);
    EXPECT_EQ(said(other, 3), 1U) << "a level is the subscriber's, on all its channels";
    EXPECT_TRUE(manager.UnSubscribe(index, b));
    EXPECT_FALSE(manager.ChangeSubscriptionLevel(index, b, 9));
    EXPECT_TRUE(manager.ChangeSubscriptionLevel(index, a, 2));
    EXPECT_EQ(said(index, 3), 0U);
    EXPECT_TRUE(manager.ChangeSubscriptionChannel(index, a, other));
    EXPECT_EQ(said(index, 0), 0U);
    EXPECT_EQ(said(other, 0), 2U);
    EXPECT_EQ(*a, 2UL) << "this handle and the channel";
    EXPECT_EQ(*b, 2UL);
}

TEST_F(KZLogManagerTest, SubscribersMayMisbehave) {
    std::vector<Handle> listeners;
    for (int i = 0; i < 4; ++i) {
        listeners.emplace_back(new Listener(1));
        channel.Subscribe(listeners.back());
    }
    Handle const leaver = listeners[1], writer = listeners[2];
    leaver->then = [&] { channel.UnSubscribe(leaver); };
    writer->then = [&] { stream << L"echo" << std::flush; };
    stream << L"one" << std::flush;
    for (Handle const & listener : listeners)
        EXPECT_EQ(listener->heard.size(), 1U) << "each once, in spite of both";
    stream << L" two" << std::flush;
    EXPECT_EQ(leaver->heard.size(), 1U);
    EXPECT_EQ(writer->heard.back().second, u"echo two");
    leaver->then = writer->then = nullptr;
}

TEST(KZLogChannel, ItsEndIsAFlush) {
    Handle const listener(new Listener(1));
    {
        KZLogManager manager;
        manager.Subscribe(manager.AddChannel(u"x"), listener);
        (*manager.GetChannel(0U))->GetStream() << L"last words";
    }
    EXPECT_EQ(listener->heard, (Heard{{0, u"last words"}}));
    EXPECT_EQ(*listener, 1UL);
}

// Texts put in under a lock of the writers' own, while others come and go and the registry grows.
TEST_F(KZLogManagerTest, WritersAndSubscribersOnSeveralThreads) {
    constexpr int lines = 2000;
    Handle const constant(new Listener(1));
    manager.Subscribe(index, constant);
    KZCriticalSection writers;
    std::atomic<bool> stop{false};
    std::thread comer([&] {
        while (!stop) {
            Handle const passing(new Listener(1));
            channel.Subscribe(passing);
            channel.ChangeSubscriptionLevel(passing, 0);
            channel.UnSubscribe(passing);
            manager.AddChannel(u"more");
        }
    });
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < lines; ++i) {
                KZGuard<KZCriticalSection> const guard(writers);
                (*manager.GetChannel(index))->GetStream().GetStream(i % 2) << L"line " << 7 << std::flush;
            }
        });
    }
    for (std::thread & thread : threads) thread.join();
    stop = true;
    comer.join();
    ASSERT_EQ(constant->heard.size(), 3U * lines);
    for (auto const & [level, text] : constant->heard) ASSERT_EQ(text, u"line 7");
}

} // namespace
