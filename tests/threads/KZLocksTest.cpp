#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/threads/KZBaton.h"
#include "ZerlithCore/threads/KZCountingSemaphore.h"
#include "ZerlithCore/threads/KZSafeCounter.h"
#include "ZerlithCore/threads/KZSynchronizedCriticalSection.h"
#include "threads/FailingResources.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <queue>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

template <class Function>
auto Elsewhere(Function const & function) {
    decltype(function()) result{};
    std::thread([&] { result = function(); }).join();
    return result;
}

template <class Function>
std::u16string TextThrown(Function const & function) {
    try {
        function();
    } catch (KZException const & exception) {
        return exception.What();
    }
    return u"nothing thrown";
}

} // namespace

TEST(KZCriticalSection, TellsWhetherAnotherThreadHoldsIt) {
    KZCriticalSection section;
    EXPECT_EQ(section.IsLocked(), 1U);
    section.Lock();
    section.lock();
    EXPECT_EQ(section.IsLocked(), 3U);
    EXPECT_EQ(Elsewhere([&] {
                  section.Unlock(); // not the owner: does nothing
                  return section.IsLocked();
              }),
              0U);
    section.release();
    section.Unlock();
    EXPECT_EQ(Elsewhere([&] { return section.IsLocked(); }), 1U);
    KZCriticalSection entered(true);
    EXPECT_FALSE(Elsewhere([&] { return entered.TryLock(); }));
    entered.unlock();
}

TEST(KZMutex, ClosesWithoutMemory) {
    KZString name;
    name.Format(u"Whoever closes this needs no memory, %d", static_cast<int>(getpid()));
    auto mutex = std::make_unique<KZMutex>(name);
    KZEventSemaphore locked, mayEnd;
    std::thread owner([&] {
        mutex->Lock();
        locked.Post();
        mayEnd.Wait();
    });
    locked.Wait();
    {
        FailingResources const failing;
        mutex.reset(); // its memory stays until the owner has ended
    }
    mayEnd.Post();
    owner.join();
    KZMutex const again(name, true);
    EXPECT_FALSE(Elsewhere([&name] { return KZMutex(name).Lock(0); })) << "a new one";
}

TEST(KZMutex, AnAbandonedOneIsHeldThoughNotObtained) {
    KZMutex mutex;
    Elsewhere([&] { return mutex.Lock(); });
    EXPECT_FALSE(mutex.lock(0)) << "its last owner ended without unlocking";
    EXPECT_FALSE(Elsewhere([&] { return mutex.lock(0); })) << "and yet it is ours";
    mutex.Unlock();
    EXPECT_TRUE(Elsewhere([&] { return mutex.lock(0); }));
}

TEST(KZMutex, ComplainsAboutTheWrongOwner) {
    KZMutex mutex(KZString(), true);
    EXPECT_TRUE(mutex.obtain());
    EXPECT_FALSE(Elsewhere([&] { return mutex.lock(5); }));
    std::thread([&] { EXPECT_THROW(mutex.release(), KZWindowsLastErrorException); }).join();
    mutex.unlock();
    mutex.release();
    EXPECT_THROW(mutex.unlock(), KZWindowsLastErrorException);
}

TEST(KZEventSemaphore, StaysPostedUntilReset) {
    KZEventSemaphore event(KZString(), true);
    EXPECT_TRUE(event.Posted());
    EXPECT_EQ(event.wait(0), 0U);
    event.Reset();
    EXPECT_FALSE(event.posted());
    EXPECT_EQ(event.Wait(1), 258U);
    event.pulse();
    EXPECT_FALSE(event.posted());
    event.post();
    EXPECT_TRUE(event.posted());
    event.pulse();
    EXPECT_FALSE(event.posted()) << "a pulse ends a post";
}

TEST(KZCountingSemaphore, CountsWithinItsMaximum) {
    EXPECT_EQ(TextThrown([] { KZCountingSemaphore(5, 3); }),
              u"KZCountingSemaphore exception: initial greater than the maximum");
    EXPECT_THROW(KZCountingSemaphore(0x80000000U), KZException);
    KZCountingSemaphore semaphore(3, 3);
    for (unsigned int const n : {1U, 0xFFFFFFFFU}) {
        EXPECT_EQ(TextThrown([&] { semaphore.Unlock(n); }), u"KZCountingSemaphore overflow") << n;
        EXPECT_EQ(semaphore.GetCount(), 3U);
    }
    EXPECT_TRUE(Elsewhere([&] { return semaphore.TryLock(2); })) << "the lock inside is free";
    EXPECT_FALSE(semaphore.TryLock(2));
    EXPECT_TRUE(semaphore.TryLock(0));
    semaphore.Lock(0);
    semaphore.wait(1);
    EXPECT_EQ(semaphore.GetCount(), 0U);
    semaphore.post(3);
    EXPECT_EQ(semaphore.GetCount(), semaphore.GetSize());
    EXPECT_EQ(KZCountingSemaphore(7).GetSize(), 0x7FFFFFFFU);
}

TEST(KZCountingSemaphore, WaitersGetWhatIsGivenBack) {
    KZCountingSemaphore semaphore(0, 2);
    std::atomic<unsigned int> inside{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            semaphore.Lock(1);
            EXPECT_LE(++inside, 2U);
            --inside;
            semaphore.Unlock(1);
        });
    semaphore.Post(2);
    for (std::thread & thread : threads) thread.join();
    EXPECT_EQ(semaphore.GetCount(), 2U);
}

TEST(KZBaton, TurnsRunInOrderWhateverTheArrival) {
    for (int round = 0; round < 50; ++round) {
        KZBaton baton;
        std::vector<unsigned int> order;
        std::atomic<int> inside{0};
        std::vector<std::thread> threads;
        for (unsigned int const turn : {3U, 1U, 5U, 2U, 4U})
            threads.emplace_back([&, turn] {
                baton.Lock(turn);
                EXPECT_EQ(++inside, 1);
                std::this_thread::yield();
                order.push_back(turn);
                --inside;
                baton.Unlock();
            });
        for (std::thread & thread : threads) thread.join();
        EXPECT_EQ(order, (std::vector<unsigned int>{1, 2, 3, 4, 5}));
        baton.Lock(0); // turns that have passed don't block
        baton.lock(5);
        std::thread([&] { baton.lock(6), baton.unlock(); }).join();
    }
}

TEST(KZSynchronizedCriticalSection, HandsItemsOverWithoutLosingAPost) {
    KZSynchronizedCriticalSection monitor;
    std::queue<int> items;
    std::atomic<long> sum{0};
    constexpr int count = 500, consumers = 3;
    std::vector<std::thread> threads;
    for (int i = 0; i < consumers; ++i)
        threads.emplace_back([&] {
            for (int item = 0; item >= 0;) {
                monitor.Lock();
                while (items.empty()) {
                    monitor.UnlockWait();
                    monitor.Lock();
                }
                item = items.front();
                if (item >= 0) items.pop();
                monitor.Unlock();
                sum += item;
            }
        });
    for (int item = 1; item <= count; ++item) {
        monitor.lock();
        items.push(item < count ? item : -1); // the last item stays for all consumers
        monitor.PostUnlock();
    }
    for (std::thread & thread : threads) thread.join();
    EXPECT_EQ(sum, count * (count - 1) / 2 - consumers);

    monitor.lock();
    monitor.PostUnlock(); // nobody waits for this one
    std::atomic<bool> isHeld{false}, isBack{false};
    std::thread waiter([&] {
        monitor.lock();
        isHeld = true;
        monitor.UnlockWait();
        isBack = true;
    });
    while (!isHeld) std::this_thread::yield();
    monitor.lock();
    for (int i = 0; i < 1000; ++i) std::this_thread::yield();
    EXPECT_FALSE(isBack);
    monitor.PostUnlock();
    waiter.join();
}

TEST(KZSafeCounter, BelongsToItsObject) {
    KZSafeCounter const counter;
    EXPECT_EQ(++counter, 1UL);
    KZSafeCounter copy(counter);
    EXPECT_EQ(copy, 0UL);
    EXPECT_EQ(--copy, 0xFFFFFFFFUL);
    copy = counter;
    EXPECT_EQ(++copy, 0UL);
}
