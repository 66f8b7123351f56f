#include "ZerlithCore/platform/Locks.h"

#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/RecursiveLock.h"
#include "platform/ChildProcess.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

using namespace KZPlatform;

namespace {

struct Closer {
    void operator()(WaitHandle handle) const { CloseWait(handle); }
};
using Owned = std::unique_ptr<WaitObject, Closer>;

Owned Mutex(std::u16string_view name = {}, bool owned = false) { return Owned(NewMutex(name, owned)); }
Owned Event(std::u16string_view name = {}, bool set = false) { return Owned(NewEvent(name, set)); }

/// A name that no other run of the tests uses.
std::u16string Unique(std::u16string const & name) {
    std::string const id = std::to_string(getpid());
    return name + std::u16string(id.begin(), id.end());
}

/// The result of the same wait on another thread.
std::uint32_t ElsewhereWaitFor(Owned const & handle, std::uint32_t milliseconds) {
    std::uint32_t result = 0;
    std::thread([&] {
        result = WaitFor(handle.get(), milliseconds);
        if (result != waitTimedOut) UnlockMutex(handle.get());
    }).join();
    return result;
}

/// Threads that wait for an event. When `Arrived` returns, all of them are waiting.
class Waiters {
public:
    Waiters(int count, WaitHandle event) : mutex_(Mutex()) {
        for (int i = 0; i < count; ++i)
            threads_.emplace_back([this, event] {
                WaitFor(mutex_.get(), waitForever);
                ++waiting_;
                UnlockAndWaitFor(mutex_.get(), event, waitForever);
            });
        while (!HasAllWaiting(count)) std::this_thread::yield();
    }
    ~Waiters() {
        for (std::thread & thread : threads_) thread.join();
    }

private:
    bool HasAllWaiting(int count) {
        WaitFor(mutex_.get(), waitForever);
        bool const all = waiting_ == count;
        UnlockMutex(mutex_.get());
        return all;
    }

    Owned mutex_;
    int waiting_ = 0;
    std::vector<std::thread> threads_;
};

} // namespace

TEST(RecursiveLock, KeepsThreadsApart) {
    RecursiveLock lock;
    int count = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 20000; ++i) {
                lock.Lock();
                EXPECT_TRUE(lock.TryLock());
                ++count;
                lock.Unlock();
                lock.Unlock();
            }
        });
    for (std::thread & thread : threads) thread.join();
    EXPECT_EQ(count, 80000);
    lock.Lock();
    std::thread([&] {
        EXPECT_FALSE(lock.TryLock());
        lock.Unlock(); // somebody else's
    }).join();
    EXPECT_EQ(lock.RecursionCount(), 1U);
    std::atomic<bool> hasEntered{false};
    std::thread sleeper([&] {
        lock.Lock();
        hasEntered = true;
        lock.Unlock();
    });
    for (int i = 0; i < 10000 && !hasEntered; ++i) std::this_thread::yield();
    EXPECT_FALSE(hasEntered);
    lock.Unlock();
    sleeper.join();
}

TEST(Locks, RefuseWhatMakesNoSense) {
    Owned const mutex = Mutex(), event = Event();
    EXPECT_FALSE(UnlockMutex(mutex.get())) << "not owned";
    EXPECT_FALSE(UnlockMutex(event.get()) || PostEvent(mutex.get()) || PulseWaiters(nullptr));
    SetLastErrorNumber(0);
    EXPECT_EQ(WaitFor(nullptr, 0), waitFailed);
    EXPECT_NE(LastErrorNumber(), 0);
    EXPECT_EQ(UnlockAndWaitFor(mutex.get(), event.get(), 0), waitFailed) << "not owned";
    EXPECT_EQ(UnlockAndWaitFor(mutex.get(), mutex.get(), 0), waitFailed);
    CloseWait(nullptr);
}

TEST(Locks, OneWaiterLearnsOfAnOwnerThatEnded) {
    for (std::u16string const & name : {std::u16string(), Unique(u"abandoned")}) {
        Owned const mutex = Mutex(name);
        std::thread([&] {
            EXPECT_EQ(WaitFor(mutex.get(), waitForever), waitDone);
            EXPECT_EQ(WaitFor(mutex.get(), waitForever), waitDone);
        }).join();
        std::array<std::atomic<int>, 2> seen{};
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i)
            threads.emplace_back([&] {
                ++seen[WaitFor(mutex.get(), waitForever) == waitAbandoned ? 1 : 0];
                UnlockMutex(mutex.get());
            });
        for (std::thread & thread : threads) thread.join();
        EXPECT_EQ(seen[0], 2);
        EXPECT_EQ(seen[1], 1);
        EXPECT_EQ(ElsewhereWaitFor(mutex, 0), waitDone);
    }
}

TEST(Locks, ClosingDoesNotUnlockButLeavesNothingDangling) {
    // The C library keeps the mutexes that a thread owns on a list. If one of them left a bad entry there, the next
    // locks of this thread would meet it.
    Mutex({}, true).reset();
    Owned unnamed = Mutex();
    std::u16string const name = Unique(u"closed");
    Owned named = Mutex(name), mine = Mutex(name + u"mine", true), spare = Mutex(name + u"spare");
    Owned const held = Event(), closed = Event();
    std::thread owner([&] {
        WaitFor(unnamed.get(), waitForever);
        WaitFor(named.get(), waitForever);
        PostEvent(held.get());
        WaitFor(closed.get(), waitForever);
        Owned const other = Mutex({}, true);
        UnlockMutex(other.get());
    });
    WaitFor(held.get(), waitForever);
    unnamed.reset();
    ChildProcess holder([] { return pause(); });
    named.reset();
    mine.reset();
    spare.reset();
    EXPECT_EQ(ElsewhereWaitFor(Mutex(name + u"spare"), 0), waitDone);
    EXPECT_EQ(ElsewhereWaitFor(Mutex(name + u"mine"), 0), waitTimedOut);
    Owned const reopened = Mutex(name);
    EXPECT_EQ(WaitFor(reopened.get(), 0), waitTimedOut) << "the forked process has handles too";
    PostEvent(closed.get());
    owner.join();
    EXPECT_EQ(WaitFor(reopened.get(), waitForever), waitAbandoned);
    holder.Kill();
    Mutex({}, true).reset();
}

TEST(Locks, PulseAndShortPostLetGoExactlyThoseWhoWait) {
    for (int round = 0; round < 100; ++round) {
        Owned const event = Event(round % 4 < 2 ? std::u16string() : Unique(u"pulse"));
        {
            Waiters const waiters(3, event.get());
            if (round % 2 == 0) {
                PulseWaiters(event.get());
            } else {
                PostEvent(event.get());
                ClearEvent(event.get());
            }
        }
        EXPECT_EQ(WaitFor(event.get(), 0), waitTimedOut) << "who comes later waits";
    }
}

TEST(Locks, WaitsForOneOfSeveralEvents) {
    std::array const owners{Event(), Event(Unique(u"any")), Event()};
    std::array const events{owners[0].get(), owners[1].get(), owners[2].get()};
    EXPECT_EQ(WaitForAny(events, 5), waitTimedOut);
    PostEvent(events[2]);
    EXPECT_EQ(WaitForAny(events, waitForever), 2U);
    ClearEvent(events[2]);
    std::thread poster([&] { PostEvent(events[1]); });
    EXPECT_EQ(WaitForAny(events, waitForever), 1U);
    poster.join();
}

TEST(Locks, NamesAreExactAndKindsAreApart) {
    std::u16string const longName = Unique(std::u16string(300, u'n'));
    struct Case {
        char const * what;
        std::u16string first, second;
        bool same;
    };
    for (Case const & test : {
             Case{"same", Unique(u"a"), Unique(u"a"), true},
             {"case counts", Unique(u"../a"), Unique(u"../A"), false},
             {"lone surrogate", Unique(u"\xD800"), Unique(u"\xDC00"), false},
             {"long, last unit differs", longName + u"1", longName + u"2", false},
         }) {
        Owned const event = Event(test.first, true), mutex = Mutex(test.first, true);
        Owned const other = Event(test.second, false);
        ASSERT_TRUE(event && mutex && other) << test.what;
        EXPECT_EQ(WaitFor(other.get(), 0), test.same ? waitDone : waitTimedOut) << test.what;
    }
}

TEST(Locks, NamedObjectsEndWithTheirLastHandle) {
    std::u16string const name = Unique(u"last");
    auto const descriptors = [] { return std::filesystem::directory_iterator("/proc/self/fd"); };
    auto const before = std::ranges::distance(descriptors());
    Owned first = Event(name, true), second = Event(name, false);
    first.reset();
    EXPECT_EQ(WaitFor(second.get(), 0), waitDone) << "the flag counts for the creator";
    // The memory that handles share is a file of the system, which goes with them.
    int file = -1;
    for (auto const & each : descriptors())
        if (file < 0 && std::filesystem::read_symlink(each).string().starts_with("/dev/shm/"))
            file = open(each.path().c_str(), O_RDONLY);
    struct stat status = {};
    EXPECT_TRUE(fstat(file, &status) == 0 && status.st_nlink == 1);
    second.reset();
    EXPECT_TRUE(fstat(file, &status) == 0 && status.st_nlink == 0);
    close(file);
    EXPECT_EQ(WaitFor(Event(name).get(), 0), waitTimedOut);
    EXPECT_EQ(std::ranges::distance(descriptors()), before);
}

TEST(Locks, OwnerKnowsItsNamedMutexThroughEachHandle) {
    std::u16string const name = Unique(u"twice");
    Owned const first = Mutex(name, true);
    Owned second = Mutex(name, true); // an existing mutex: `owned` has no effect
    EXPECT_EQ(WaitFor(second.get(), 0), waitDone);
    EXPECT_TRUE(UnlockMutex(first.get()));
    EXPECT_EQ(ElsewhereWaitFor(first, 0), waitTimedOut);
    second.reset();
    EXPECT_TRUE(UnlockMutex(first.get()));
    EXPECT_EQ(ElsewhereWaitFor(first, 0), waitDone);
}

TEST(Locks, KilledOwnerIsSeenByOneWaiter) {
    std::u16string const name = Unique(u"killed");
    Owned const ready = Event(name + u"ready");
    ChildProcess owner([&] {
        Owned const mutex = Mutex(name, true);
        WaitFor(mutex.get(), waitForever);
        Owned const own = Event(name + u"own", true);
        PostEvent(Event(name + u"ready").get());
        pause();
        return 0;
    });
    ASSERT_EQ(WaitFor(ready.get(), 10000), waitDone);
    Owned const mutex = Mutex(name, true);
    EXPECT_EQ(WaitFor(mutex.get(), 0), waitTimedOut) << "it is the other process's";
    EXPECT_EQ(WaitFor(Event(name + u"own").get(), 0), waitDone);
    ChildProcess second([&] {
        std::uint32_t const result = WaitFor(mutex.get(), waitForever);
        UnlockMutex(mutex.get());
        return static_cast<int>(result);
    });
    owner.Kill();
    std::uint32_t const here = WaitFor(mutex.get(), waitForever);
    UnlockMutex(mutex.get());
    int const there = second.Status();
    EXPECT_EQ(std::minmax(static_cast<int>(here), there), std::minmax(0, 128));
    EXPECT_EQ(WaitFor(Event(name + u"own").get(), 0), waitTimedOut) << "it ended with its process";
}
