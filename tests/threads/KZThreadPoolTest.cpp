#include "ZerlithCore/threads/KZThreadPool.h"

#include "ZerlithCore/diagnostics/KZTrace.h"
#include "threads/TestCallback.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

// Callbacks wait at the gate until it is opened.
class Gate {
public:
    void Pass() {
        ++arrived_;
        arrived_.notify_all();
        open_.wait(false);
    }
    void AwaitArrivals(int count) {
        for (int now = arrived_; now < count; now = arrived_) arrived_.wait(now);
    }
    void Open() {
        open_ = true;
        open_.notify_all();
    }

private:
    std::atomic<int> arrived_{0};
    std::atomic<bool> open_{false};
};

std::size_t StartedCount(KZThreadPool const & pool) {
    std::vector<KZThread_t> ids(9);
    pool.GetThreadIds(ids);
    return static_cast<std::size_t>(
        std::ranges::count_if(ids, [](KZThread_t const & id) { return id != 0UL; }));
}

TEST(KZThreadPool, StartsWorkersBeforeItQueues) {
    Gate gate;
    std::string order;
    {
        KZThreadPool pool(2);
        EXPECT_EQ(StartedCount(pool), 0U);
        EXPECT_TRUE(pool.Post(Callback([&gate] { gate.Pass(); })));
        EXPECT_EQ(StartedCount(pool), 1U);
        EXPECT_TRUE(pool.Post(Callback([&gate] { gate.Pass(); })));
        EXPECT_EQ(StartedCount(pool), 2U);
        gate.AwaitArrivals(2);
        std::atomic<int> queued{0};
        EXPECT_TRUE(pool.Post(Callback([&] { ++queued; })));
        EXPECT_EQ(StartedCount(pool), 2U);
        EXPECT_EQ(queued, 0);
        gate.Open();
        EXPECT_FALSE(pool.Post({}));
        pool.Shutdown();
        pool.Shutdown();
        EXPECT_FALSE(pool.Post(Callback([] {})));
    }
    {
        // One worker takes the queue in order.
        Gate single;
        KZThreadPool pool(1, nullptr, nullptr, false);
        EXPECT_EQ(StartedCount(pool), 1U);
        pool.Post(Callback([&single] { single.Pass(); }));
        for (char c : {'a', 'b', 'c'}) pool.Post(Callback([&order, c] { order += c; }));
        single.Open();
    }
    EXPECT_EQ(order, "abc");
}

TEST(KZThreadPool, DropsTheQueueOnlyWhenAsked) {
    for (bool const discard : {false, true}) {
        Gate gate;
        std::atomic<int> run{0};
        {
            KZThreadPool pool(1, nullptr, nullptr, true, discard);
            pool.Post(Callback([&] { gate.Pass(); }));
            gate.AwaitArrivals(1);
            for (int i = 0; i < 10; ++i) pool.Post(Callback([&run] { ++run; }));
            pool.Shutdown();
            gate.Open();
        }
        EXPECT_EQ(run, discard ? 0 : 10);
    }
    KZThreadPool const none(0);
    KZThreadPool negative(-3, nullptr, nullptr, false);
    EXPECT_TRUE(negative.Post(Callback([] { FAIL(); })));
}

TEST(KZThreadPool, WakesTheWorkerThatRestedLongest) {
    KZEventSemaphore done;
    KZThreadPool pool(2, nullptr, nullptr, false);
    auto const takeTurns = [&] {
        std::array<unsigned long, 6> by{};
        for (unsigned long & id : by) {
            done.Reset();
            pool.Post(Callback([&] {
                id = KZThread::GetCurrentThreadID();
                done.Post();
            }));
            done.Wait();
            KZThread::Milli_sleep(1); // time for the worker to become idle, mostly
        }
        return by[0] != by[1] && std::equal(by.begin() + 2, by.end(), by.begin());
    };
    int rounds = 0;
    while (rounds < 100 && !takeTurns()) ++rounds;
    EXPECT_LT(rounds, 100);
}

struct Supply {
    std::atomic<int> left{100}, run{0};
    Gate empty;
};

KZSmartPtr<KZCallback> Produce(KZThread_t thread, void * data) {
    auto & supply = *static_cast<Supply *>(data);
    EXPECT_EQ(thread, KZThread::GetCurrentThreadP()->GetThreadId());
    int const number = --supply.left;
    if (number == 50) throw std::runtime_error("a factory that fails once");
    if (number < 0) {
        supply.empty.Open();
        return {};
    }
    return Callback([&supply] { ++supply.run; });
}

TEST(KZThreadPool, PullsFromItsFactory) {
    GlbSetTraceLevel(0);
    Supply supply;
    std::atomic<int> posted{0};
    {
        KZThreadPool pool(3, Produce, &supply, false);
        supply.empty.Pass();
        // A worker that got nothing from the factory is idle and takes posted callbacks.
        for (int i = 0; i < 20; ++i) pool.Post(Callback([&posted] { ++posted; }));
    }
    GlbSetTraceLevel(1);
    EXPECT_EQ(posted, 20);
    EXPECT_GE(supply.run, 96); // 99, less one that failed and up to two that shutting down may drop
}

TEST(KZThreadPool, GoesOnAfterAnException) {
    testing::internal::CaptureStdout();
    std::atomic<int> run{0};
    {
        KZThreadPool pool(1);
        pool.Post(Callback([] { throw std::runtime_error("thrown"); }));
        pool.Post(Callback([&run] { ++run; }));
    }
    EXPECT_EQ(run, 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "unhandled exception in KZThread\n");
}

// While the pool is destroyed, other workers are at work, idle or not started, and callbacks are queued.
TEST(KZThreadPool, MayBeDestroyedByItsOwnWorker) {
    enum class By { Callback, EndOfCallback, Factory };
    struct Owner {
        KZSmartPtr<KZThreadPool> pool;
        std::atomic<bool> mayDrop{false}, isAsked{false};
        KZEventSemaphore dropped;
        void Drop() {
            mayDrop.wait(false);
            pool.Clear();
            dropped.Post();
        }
        static KZSmartPtr<KZCallback> Ask(KZThread_t, void * owner) {
            if (static_cast<Owner *>(owner)->isAsked.exchange(true)) return {};
            static_cast<Owner *>(owner)->Drop();
            return Callback([] { FAIL() << "made for nobody"; });
        }
    };
    for (By const by : {By::Callback, By::EndOfCallback, By::Factory})
        for (int const workers : {1, 2, 20}) {
            Owner owner;
            std::atomic<int> run{0};
            owner.pool = new KZThreadPool(workers, by == By::Factory ? &Owner::Ask : nullptr, &owner);
            KZThreadPool & pool = *owner.pool;
            if (by == By::Callback) pool.Post(Callback([&owner] { owner.Drop(); }));
            if (by == By::EndOfCallback) {
                auto const drop = [](Owner * its) { its->Drop(); };
                pool.Post(Callback([end = std::shared_ptr<Owner>(&owner, drop)] {}));
            }
            for (int i = 0; i < 10; ++i) pool.Post(Callback([&run] { ++run; }));
            owner.mayDrop = true;
            owner.mayDrop.notify_all();
            owner.dropped.Wait();
            EXPECT_EQ(run, 10) << workers << " workers";
        }
}

TEST(KZThreadPool, RunsWhatItAcceptedWithoutAThread) {
    std::atomic<int> run{0};
    {
        KZThreadPool pool(2, nullptr, nullptr, true, false, 1000); // No thread starts with such a priority.
        for (int i = 0; i < 3; ++i) EXPECT_TRUE(pool.Post(Callback([&run] { ++run; })));
    }
    EXPECT_EQ(run, 3);
}

// Four threads post a million callbacks, and the pool shuts down at some moment. Each accepted callback runs once.
TEST(KZThreadPool, RunsEachAcceptedCallbackOnce) {
    std::mt19937 random(42);
    constexpr int rounds = 100, posters = 4, each = 2500;
    long total = 0;
    for (int round = 0; round < rounds; ++round) {
        auto const runs = std::make_unique<std::atomic<int>[]>(posters * each);
        std::vector<char> accepted(posters * each);
        std::atomic<long> done{0};
        std::uint32_t const shutdownAfter = static_cast<std::uint32_t>(random() % (2 * posters * each));
        {
            KZThreadPool pool(8, nullptr, nullptr, round % 2 == 0);
            std::vector<std::thread> threads;
            for (int poster = 0; poster < posters; ++poster)
                threads.emplace_back([&, poster] {
                    for (int i = poster * each; i < (poster + 1) * each; ++i)
                        accepted[static_cast<std::size_t>(i)] = pool.Post(Callback([&, i] {
                            ++runs[static_cast<std::size_t>(i)];
                            if (++done == static_cast<long>(shutdownAfter)) pool.Shutdown();
                        }));
                });
            for (std::thread & thread : threads) thread.join();
        }
        for (std::size_t i = 0; i < accepted.size(); ++i)
            ASSERT_EQ(runs[i], accepted[i]) << "round " << round << ", " << i;
        total += done;
    }
    EXPECT_GT(total, rounds * each / 2);
}

} // namespace
