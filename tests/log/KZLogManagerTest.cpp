#include "ZerlithCore/log/KZLogManager.h"

#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/errors/KZSignalException.h"
#include "ZerlithCore/log/KZFunctionLogSubscriber.h"

#include "platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <latch>
#include <optional>
#include <sstream>
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
    bool IsInterested(int level) const override {
        if (asked) asked();
        return KZLogSubscriberI::IsInterested(level);
    }
    Heard heard;
    std::function<void()> then, asked;
};
using Handle = KZSmartPtr<Listener>;

/// Sends what is written to KZLockedCOUT to a log stream, or keeps it.
class Console {
public:
    explicit Console(KZLogStream * stream = nullptr) {
        stream_ = stream;
        KZLockedCOUT::SetStreamSource([](unsigned int level) -> std::wostream & {
            return stream_ ? stream_->GetStream(static_cast<int>(level)) : text_;
        });
    }
    ~Console() { KZLockedCOUT::SetStreamSource(nullptr); }
    static std::wstring Take() {
        std::wstring const text = text_.str();
        text_.str({});
        return text;
    }

private:
    static inline KZLogStream * stream_;
    static inline std::wostringstream text_;
};

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
    EXPECT_TRUE(manager.Subscribe(0, listener));
    EXPECT_FALSE(manager.ChangeSubscriptionChannel(0, listener, 102) ||
                 manager.ChangeSubscriptionChannel(102, listener, 0));
}

TEST_F(KZLogManagerTest, HandsOutByLevelAtAFlush) {
    stream.GetStream(0) << L"nobody hears this" << std::endl;
    Handle const low(new Listener(2)), high(new Listener(0));
    EXPECT_TRUE(manager.Subscribe(index, low) && manager.Subscribe(index, high));
    EXPECT_FALSE(manager.Subscribe(index, low));
    EXPECT_EQ(channel.GetSubscribers().size(), 2U);
    stream.flush();
    for (int level = 0; level <= 3; ++level) stream.GetStream(level) << level << L'\n' << std::flush;
    EXPECT_EQ(high->heard, (Heard{{0, u"0\n"}}));
    stream.GetStream(2) << L"broken off" << static_cast<wchar_t const *>(nullptr) << std::flush;
    stream.GetStream(1) << L"whole" << std::flush;
    std::u16string const lost = u"*** messages lost: 1\n";
    EXPECT_EQ(low->heard, (Heard{{0, u"0\n"}, {1, u"1\n"}, {2, u"2\n"}, {2, lost}, {1, u"whole"}}));
}

TEST_F(KZLogManagerTest, HandsOutToFunctions) {
    Heard heard;
    auto const listen = [&](int level, KZString const & text) {
        heard.emplace_back(level, std::u16string_view(text));
    };
    EXPECT_TRUE(manager.Subscribe(index, KZMakeLogSubscriber(1, listen)));
    for (int level = 0; level <= 2; ++level) stream.GetStream(level) << level << std::flush;
    EXPECT_EQ(heard, (Heard{{0, u"0"}, {1, u"1"}}));
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
    EXPECT_TRUE(channel.ChangeSubscriptionLevel(a, 3));
    EXPECT_EQ(said(index, 3), 1U);
    EXPECT_TRUE(manager.ChangeSubscriptionChannel(index, a, other));
    EXPECT_EQ(said(index, 0), 0U);
    EXPECT_EQ(said(other, 0), 2U);
    EXPECT_EQ(*a, 2UL) << "this handle and the channel";
    EXPECT_EQ(*b, 2UL);
}

int volatile * volatile glbNull = nullptr;
__attribute__((noinline, no_sanitize("undefined", "address", "thread"))) void Fault() { *glbNull = 1; }

struct Misdeed {
    char const * what;
    std::function<void()> run;
};
Misdeed const misdeeds[] = {
    {"throws a number", [] { throw 1; }},
    {"throws an exception", [] { throw KZException(u"x", true); }},
    {"faults", &Fault},
};

TEST_F(KZLogManagerTest, FailingSubscribersHarmNobodyElse) {
    KZInitCatchSignal();
    Handle listeners[4];
    for (Handle & listener : listeners) manager.Subscribe(index, listener = new Listener(2));
    for (Misdeed const & misdeed : misdeeds) {
        for (auto const member : {&Listener::then, &Listener::asked}) {
            SCOPED_TRACE(misdeed.what);
            Console const console;
            for (int const i : {0, 2}) listeners[i].GetPtr()->*member = misdeed.run;
            stream.GetStream(1) << L"one" << std::flush << KZString(u"two \U0001F600");
            stream.GetStream(1) << L'.';
            stream.GetStream(3) << L"dropped";
            stream.GetStream(2) << L"three" << std::endl;
            EXPECT_TRUE(manager.ChangeSubscriptionLevel(index, listeners[2], 2) && stream.good());
            std::wstring const told = console.Take();
            std::size_t times = 0;
            for (std::size_t at = 0; (at = told.find(L"unhandled exception in KZThread\n", at)) != told.npos;
                 ++at)
                ++times;
            EXPECT_GE(times, 6U);
            for (Handle const & listener : listeners) {
                Heard const all{{1, u"one"}, {1, u"two \U0001F600."}, {2, u"three\n"}};
                EXPECT_EQ(listener->heard, listener->asked ? Heard() : all);
                listener->heard.clear();
                listener->then = listener->asked = nullptr;
            }
        }
    }
}

// The report of a subscriber's failure may go to the channel that failed. It arrives at once; if that fails as well,
// there is no further report.
TEST_F(KZLogManagerTest, FailuresAreToldOnTheChannelItself) {
    Console const console(&stream);
    Handle const listener(new Listener(2)), first(new Listener(2)), second(new Listener(2));
    for (Handle const & each : {listener, first, second}) manager.Subscribe(index, each);
    first->then = second->then = misdeeds[0].run;
    stream.GetStream(2) << L"one" << std::endl << L"two" << std::endl;
    std::pair<int, std::u16string> const told(1, u"unhandled exception in KZThread\n");
    Heard const expected{{2, u"one\n"}, told, told, {2, u"two\n"}, told, told};
    EXPECT_EQ(listener->heard, expected);
    EXPECT_EQ(first->heard, expected);
}

TEST_F(KZLogManagerTest, WhatSubscribersWriteIsHeardAndEnds) {
    KZLogStream & other = (*manager.GetChannel(manager.AddChannel(u"other")))->GetStream();
    Handle const leaver(new Listener(3)), writer(new Listener(3)), listener(new Listener(3)),
        far(new Listener(3));
    for (Handle const & each : {leaver, writer, listener}) manager.Subscribe(index, each);
    manager.Subscribe(1, far);
    leaver->then = [&] { channel.UnSubscribe(leaver); };
    writer->then = [&] {
        stream.GetStream(3) << L"echo" << std::flush;
        other << L"there" << std::flush;
    };
    far->then = [&] { stream.GetStream(2) << L"back" << std::flush; };
    stream.GetStream(1) << L"one" << std::flush;
    EXPECT_EQ(listener->heard, (Heard{{1, u"one"}, {3, u"echo"}})) << "the answer to the echo waits";
    EXPECT_EQ(far->heard, (Heard{{0, u"there"}}));
    writer->then = far->then = nullptr;
    stream << L"two" << std::flush;
    other.flush();
    EXPECT_EQ(writer->heard, (Heard{{1, u"one"}, {3, u"echo"}, {2, u"back"}, {3, u"echo"}, {1, u"two"}}));
    EXPECT_EQ(listener->heard, writer->heard);
    EXPECT_EQ(far->heard, (Heard{{0, u"there"}, {0, u"there"}}));
    EXPECT_EQ(leaver->heard.size(), 1U);
}

// A message that its writer doesn't wait for is kept in memory, up to a million units of them. The test runs in a
// process of its own, which an alarm ends if its threads wait for each other.
TEST_F(KZLogManagerTest, NoThreadWaitsForASubscriberThatWaitsForTheConsole) {
    ChildProcess child([&] {
        alarm(60);
        Console const console;
        Handle const listener(new Listener(2));
        manager.Subscribe(index, listener);
        std::wstring const large(5000, L'x');
        for (bool const faults : {false, true}) {
            std::latch isCalled(1), isHeld(1);
            listener->then = [&, isFirst = true]() mutable {
                if (!std::exchange(isFirst, false)) return;
                isCalled.count_down();
                isHeld.wait();
                if (faults) misdeeds[2].run();
                KZLockedCOUT const lock;
            };
            std::thread writer([&] {
                KZInitCatchSignal();
                stream.GetStream(1) << L"first" << std::flush;
            });
            {
                KZLockedCOUT const lock;
                isHeld.count_down();
                isCalled.wait();
                stream.GetStream(2) << L"second" << std::flush;
                stream.GetStream(0) << L"third" << std::flush;
                for (int i = 0; i < 300; ++i) stream << large << std::flush;
            }
            writer.join();
            Heard expected{{1, u"first"}, {2, u"second"}, {0, u"third"}};
            expected.resize(3 + 1024 * 1024 / large.size(), {0, std::u16string(large.size(), u'x')});
            expected.emplace_back(0, u"*** messages lost: 91\n");
            if (std::exchange(listener->heard, Heard()) != expected) return faults ? 1 : 2;
        }
        return console.Take().empty() ? 3 : 0;
    });
    EXPECT_EQ(child.Status(), 0);
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

// Two writers hold the console's lock, so they leave their messages to other threads. Subscribers are added and
// removed at the same time.
TEST_F(KZLogManagerTest, WritersAndSubscribersOnSeveralThreads) {
    constexpr int lines = 2000;
    Handle const constant(new Listener(1));
    std::atomic<int> inside{0};
    constant->then = [&] {
        EXPECT_EQ(++inside, 1) << "one at a time";
        if (constant->heard.size() % 100 == 0) std::this_thread::yield(); // the others have to wait
        --inside;
    };
    manager.Subscribe(index, constant);
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
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < lines; ++i) {
                std::optional<KZLockedCOUT> console;
                if (t < 2) console.emplace();
                KZString text;
                text.Format(u"%d %d\n", t, i);
                (*manager.GetChannel(index))->GetStream().GetStream(i % 2) << text << std::flush;
            }
        });
    for (std::thread & thread : threads) thread.join();
    stop = true;
    comer.join();
    std::u16string all;
    for (auto const & [level, text] : constant->heard) all += text;
    int next[4] = {};
    std::istringstream in(std::string(all.begin(), all.end()));
    for (int t = 0, i = 0; in >> t >> i;) ASSERT_EQ(i, next[t]++) << "thread " << t;
    for (int const count : next) EXPECT_EQ(count, lines);
}

} // namespace
