#include "ZerlithCore/platform/Threads.h"

#include "ZerlithCore/platform/Stack.h"
#include "ZerlithCore/platform/ThreadEnd.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

using namespace KZPlatform;

namespace {

/// A thread that runs a function object; the destructor closes the handle.
class TestThread {
public:
    explicit TestThread(std::function<void()> body, std::size_t stackBytes = 0)
        : body_(std::move(body)), handle_(NewThread(&TestThread::Enter, this, stackBytes)) {}
    ~TestThread() {
        if (handle_) CloseThread(handle_);
    }
    [[nodiscard]] ThreadHandle Get() const { return handle_; }
    void Run() {
        EXPECT_TRUE(StartThread(handle_));
        EXPECT_EQ(WaitForThreadEnd(handle_, waitForever), waitDone);
    }

private:
    static void Enter(void * self) { static_cast<TestThread *>(self)->body_(); }

    std::function<void()> body_;
    ThreadHandle handle_;
};

/// Uses `bytes` of the stack.
template <std::size_t bytes>
void UseStack() {
    [[maybe_unused]] char volatile space[bytes];
    for (std::size_t i = bytes; i > 0; i -= 1024) space[i - 1] = 1;
}

std::atomic<bool> parked{false};

__attribute__((noinline)) void ParkHere(WaitHandle event) {
    parked = true;
    WaitFor(event, waitForever);
    asm volatile(""); // keeps the call above from becoming a jump
}

bool IsNamed(std::span<void * const> addresses, char const * function) {
    return std::ranges::any_of(NameAddresses(addresses), [&](FrameName const & frame) {
        return frame.function.find(function) != std::string::npos;
    });
}

} // namespace

TEST(ThreadEnd, CallsTheLastTaskFirst) {
    static std::string calls;
    ThreadEndTask first{[](ThreadEndTask &) noexcept { calls += '1'; }};
    ThreadEndTask second{[](ThreadEndTask &) noexcept { calls += '2'; }};
    std::thread([&] {
        EXPECT_TRUE(CallAtThreadEnd(first) && CallAtThreadEnd(second) && calls.empty());
    }).join();
    EXPECT_EQ(calls, "21");
}

TEST(Threads, AreKnownByTheirNumberBeforeTheyStart) {
    unsigned long inside = 0;
    TestThread([] { FAIL(); }); // never started
    CloseThread(nullptr);
    TestThread thread([&] { inside = CurrentThreadId(); });
    EXPECT_EQ(WaitForThreadEnd(thread.Get(), 0), waitTimedOut) << "not started yet";
    unsigned long const id = IdOf(thread.Get());
    thread.Run();
    EXPECT_EQ(inside, id);
    EXPECT_NE(id, CurrentThreadId());
    EXPECT_EQ(WaitForThreadEnd(thread.Get(), 0), waitDone) << "as often as one likes";
}

TEST(Threads, StackIsAboutAsLargeAsAskedFor) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the checker keeps its own data of a thread on that stack";
#endif
    TestThread(&UseStack<16 * 1024>, 1).Run();
    TestThread(&UseStack<512 * 1024>, 1024 * 1024 + 1).Run();
    TestThread(&UseStack<20 * 1024 * 1024>, 21 * 1024 * 1024).Run();
    TestThread(&UseStack<512 * 1024>, SIZE_MAX).Run(); // a size that makes no sense gives the default
}

TEST(Threads, PrioritiesAreKept) {
    TestThread thread([] {});
    for (int const priority : {15, -15, 7, -2}) {
        EXPECT_TRUE(SetPriorityOf(thread.Get(), priority));
        EXPECT_FALSE(SetPriorityOf(thread.Get(), priority < 0 ? -16 : 16));
        EXPECT_EQ(PriorityOf(thread.Get()), priority);
    }
    thread.Run();
}

TEST(Threads, SlotsHoldOneValueAThread) {
    unsigned long const slot = NewSlot();
    ASSERT_NE(slot, noSlot);
    int here = 0;
    EXPECT_EQ(SlotValue(slot), nullptr);
    EXPECT_TRUE(SetSlotValue(slot, &here));
    void * seen = &here;
    TestThread([&] { seen = SlotValue(slot); }).Run();
    EXPECT_EQ(seen, nullptr);
    EXPECT_EQ(SlotValue(slot), &here);
    EXPECT_TRUE(FreeSlot(slot));
    for (unsigned long const bad : {slot, noSlot, noSlot + 1UL, 5000UL}) {
        EXPECT_FALSE(FreeSlot(bad) || SetSlotValue(bad, &here)) << bad;
        EXPECT_EQ(SlotValue(bad), nullptr) << bad;
    }
}

TEST(Threads, StackOfAnotherIsCollected) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the checker holds signals back until the thread's next call of the C library";
#endif
    WaitHandle const event = NewEvent({}, false);
    TestThread thread([&] { ParkHere(event); });
    std::array<void *, 64> addresses{};
    ASSERT_TRUE(StartThread(thread.Get()));
    while (!parked) std::this_thread::yield();
    for (int round = 0; round < 20; ++round) {
        std::size_t const count = CollectStackOf(thread.Get(), addresses);
        EXPECT_TRUE(IsNamed({addresses.data(), count}, "ParkHere")) << count << " frames";
        EXPECT_EQ(CollectStackOf(thread.Get(), {addresses.data(), 2}), 2U);
    }
    PostEvent(event);
    WaitForThreadEnd(thread.Get(), waitForever);
    EXPECT_EQ(CollectStackOf(thread.Get(), addresses), 0U);
    CloseWait(event);
}
