#include "ZerlithCore/threads/KZCallback.h"
#include "ZerlithCore/threads/KZEventSemaphore.h"
#include "ZerlithCore/threads/KZMutex.h"
#include "ZerlithCore/threads/KZThreadObject.h"
#include "ZerlithCore/threads/KZThreadPool.h"

#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

struct Number : KZCallbackArgs {
    explicit Number(int number) : value(number) {}
    int value;
};

struct Receiver : KZThreadObject {
    std::vector<int> seen;

    void Run() override { seen.push_back(0); }
    void TakePointer(Number * number) { seen.push_back(number ? number->value : -1); }
    void TakeHandle(KZSmartPtr<Number> number) { seen.push_back(number->value); }
};

} // namespace

TEST(KZCallback, PassesStoredOrGivenArgument) {
    Receiver receiver;
    KZSmartPtr<Number> const stored(new Number(7));
    {
        KZSmartPtr<KZCallback> const pointer(
            new KZCallbackMeth<Receiver, Number *>(u"pointer", &receiver, &Receiver::TakePointer, stored));
        KZSmartPtr<KZCallback> const handle(new KZCallbackMeth<Receiver, KZSmartPtr<Number>>(
            u"handle", &receiver, &Receiver::TakeHandle, stored));
        KZSmartPtr<KZCallback> const run(
            new KZCallbackMethVoid<KZThreadObject>(u"run", &receiver, &KZThreadObject::Run));
        (*pointer)();
        (*pointer)(KZSmartPtr<KZCallbackArgs>(new Number(8)));
        (*pointer)(KZSmartPtr<KZCallbackArgs>());
        (*handle)();
        (*run)();
        (*run)(stored);
        EXPECT_EQ(receiver.seen, (std::vector<int>{7, 8, -1, 7, 0, 0}));
        EXPECT_TRUE(pointer->GetName() == u"pointer");
        EXPECT_EQ(stored->NbRef(), 3U);
    }
    EXPECT_EQ(stored->NbRef(), 1U) << "an argument goes with its callback";
}

TEST(KZCallback, HoldsAnyFunctionObject) {
    auto owned = std::make_unique<std::string>();
    std::string * const text = owned.get();
    auto append = [owned = std::move(owned)]() mutable { return owned->append("x").size(); };
    KZSmartPtr<KZCallback> const callback = KZMakeCallback(std::move(append), u"appends");
    (*callback)();
    (*callback)({});
    EXPECT_EQ(*text, "xx");
    EXPECT_EQ(callback->GetName(), u"appends");
    static_assert(!KZCallable<KZCallback *> && !KZCallable<KZSmartPtr<KZCallback>> &&
                  !KZCallable<std::nullptr_t>);

    std::string order;
    KZThread thread([&] { order += 'b'; });
    thread.AddExitFunction([&] { order += 'e'; });
    ASSERT_TRUE(thread.Start().Good());
    thread.Join();
    EXPECT_EQ(order, "be");
}

TEST(KZCallback, ResultsOfAPoolComeByFutures) {
    std::future<int> kept, dropped;
    std::future<void> thrown, nothing;
    {
        KZThreadPool pool(1, nullptr, nullptr, true, true);
        KZEventSemaphore isRunning, mayEnd;
        kept = pool.Submit([&] {
            isRunning.Post();
            mayEnd.Wait();
            return 7;
        });
        isRunning.Wait();
        dropped = pool.Submit([] { return 8; });
        pool.Shutdown(); // discards what waits in the queue
        mayEnd.Post();
        EXPECT_FALSE(pool.Post([] {}));
        nothing = pool.Submit([] {});
        KZThreadPool other(1);
        thrown = other.Submit([] { throw std::string("thrown"); });
    }
    EXPECT_EQ(kept.get(), 7);
    EXPECT_THROW(dropped.get(), std::future_error);
    EXPECT_THROW(nothing.get(), std::future_error);
    EXPECT_THROW(thrown.get(), std::string);
}

TEST(WaitTime, IsRoundedUp) {
    using namespace std::chrono;
    using namespace std::chrono_literals;
    using KZDetail::WaitMilliseconds;
    static_assert(WaitMilliseconds(1500us) == 2 && WaitMilliseconds(1ns) == 1 &&
                  WaitMilliseconds(2s) == 2000);
    static_assert(WaitMilliseconds(-1h) == 0 && WaitMilliseconds(0s) == 0 &&
                  WaitMilliseconds(duration<float>(0.25F)) == 250);
    static_assert(WaitMilliseconds(4294967294ms) == 4294967294U &&
                  WaitMilliseconds(4294967295ms) == 0xFFFFFFFF);
    static_assert(WaitMilliseconds(nanoseconds::max()) == 0xFFFFFFFF &&
                  WaitMilliseconds(hours::max()) == 0xFFFFFFFF);
    KZEventSemaphore event;
    KZMutex mutex;
    auto const start = steady_clock::now();
    EXPECT_EQ(event.Wait(20ms), 258U);
    KZThread::SleepFor(5ms);
    EXPECT_GE(steady_clock::now() - start, 25ms);
    EXPECT_TRUE(mutex.Lock(1s));
}
