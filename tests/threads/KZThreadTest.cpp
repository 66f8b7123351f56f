#include "ZerlithCore/threads/KZThread.h"

#include "ZerlithCore/errors/KZSignalException.h"
#include "ZerlithCore/foundation/KZMemory.h"
#include "ZerlithCore/threads/KZEventSemaphore.h"
#include "threads/FailingResources.h"
#include "threads/TestCallback.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

void RunToTheEnd(KZThread & thread) {
    EXPECT_TRUE(thread.Start().Good());
    thread.Join();
}

KZSmartPtr<KZThread> NewThread(std::function<void()> body) { return new KZThread(Callback(std::move(body))); }

// The library reads this variable once, at the first start of a thread, so it is set before any test runs.
constexpr char const * stackSizeVariable = "KZ_THREAD_STACKSIZE";
int const isStackSizeSet = setenv(stackSizeVariable, "16777216 bytes", 1);

std::size_t OwnStackSize() {
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    std::size_t size = 0;
    pthread_attr_getstacksize(&attributes, &size);
    pthread_attr_destroy(&attributes);
    return size;
}

int volatile * volatile glbNull = nullptr;

__attribute__((noinline, no_sanitize("undefined", "address", "thread"))) void Fault() { *glbNull = 1; }

/// Posts an event when the last callback that holds this object is gone.
struct Observer {
    KZEventSemaphore & event;
    ~Observer() { event.Post(); }
};

// Sanitizers have threads and memory of their own in the process.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

/// What the process has: mappings of memory, open files and threads.
std::vector<std::size_t> Possessions() {
    std::ifstream maps("/proc/self/maps");
    auto const count = [](char const * folder) {
        std::filesystem::directory_iterator const all(folder);
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    };
    std::string line;
    std::size_t lines = 0;
    while (std::getline(maps, line)) ++lines;
    return {lines, count("/proc/self/fd"), count("/proc/self/task")};
}

/// Waits until the process has at most `count` threads, since a thread that has ended can be seen for a moment
/// longer. False after ten seconds.
bool AwaitThreads(std::size_t count) {
    for (int i = 0; i < 10000 && Possessions().back() > count; ++i) KZThread::Milli_sleep(1);
    return Possessions().back() <= count;
}

} // namespace

TEST(KZThread, LivesFromStartToJoin) {
    KZEventSemaphore go;
    unsigned long inside = 0;
    KZThread * object = nullptr;
    KZSmartPtr<KZThread> const thread = NewThread([&] {
        go.Wait();
        inside = KZThread::GetCurrentThreadID();
        object = KZThread::GetCurrentThreadP();
        KZThread::SetFlag(inside, 0x40);
    });
    EXPECT_FALSE(thread->IsStarted() || thread->Exists());
    thread->Join(); // there is nothing to wait for
    EXPECT_TRUE(thread->Start().Good());
    KZThread_t const id = thread->GetThreadId();
    EXPECT_TRUE(thread->IsStarted() && thread->IsRunning() && thread->Exists());
    EXPECT_EQ(thread->Start(), 15) << "a second start";
    EXPECT_TRUE(id == thread->GetThreadId());
    KZThread::SetFlag(id, 0x20);
    EXPECT_TRUE(KZThread::IsFlagSet(id, 0x20));
    EXPECT_FALSE(KZThread::IsFlagSet(id, 0x30));
    go.Post();
    thread->Join();
    EXPECT_EQ(inside, id);
    EXPECT_EQ(object, thread.GetPtr());
    EXPECT_TRUE(thread->IsFlagSet(0x60));
    EXPECT_FALSE(thread->IsRunning() || thread->Exists());
    thread->Join();
    EXPECT_EQ(thread->Start(), 15);
    EXPECT_THROW(KZThread::WaitForThread(id), KZException);
    EXPECT_FALSE(KZThread::IsFlagSet(id, 0x20)) << "not in the table";
    EXPECT_EQ(KZThread::GetCurrentThreadP(), nullptr);
}

TEST(KZThread, OfSeveralWaitersOneReturns) {
    for (int round = 0; round < 20; ++round) {
        KZEventSemaphore go;
        KZSmartPtr<KZThread> const thread = NewThread([&] { go.Wait(); });
        (void)thread->Start();
        KZThread_t const id = thread->GetThreadId();
        std::thread joiner([&] { thread->Join(); }); // no error, even if another one was first
        std::atomic<int> returned{0}, thrown{0};
        std::vector<std::thread> waiters;
        for (int i = 0; i < 3; ++i)
            waiters.emplace_back([&, i] {
                try {
                    KZThread::WaitForThread(id, i); // the first polls without a pause
                    ++returned;
                } catch (KZException const & exception) {
                    EXPECT_EQ(std::u16string(exception.What()), u"Invalid Thread ID");
                    ++thrown;
                }
            });
        EXPECT_TRUE(thread->IsRunning()) << "a question doesn't wait for the join";
        go.Post();
        for (std::thread & waiter : waiters) waiter.join();
        joiner.join();
        EXPECT_LE(returned, 1);
        EXPECT_EQ(returned + thrown, 3);
    }
}

TEST(KZThread, ExitFunctionsRunInOrderWhateverTheEnd) {
    std::string order;
    KZSmartPtr<KZThread> const thread = NewThread([] { throw std::runtime_error("out of the body"); });
    bool existed = true;
    thread->AddExitFunction(Callback([&] {
        order += '1';
        existed = thread->Exists();
        thread->AddExitFunction(Callback([&] { order += '3'; }));
        throw 1;
    }));
    thread->AddExitFunction(Callback([&] { order += '2'; }));
    thread->AddExitFunction(KZSmartPtr<KZCallback>());
    testing::internal::CaptureStdout();
    RunToTheEnd(*thread);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "unhandled exception in KZThread\nunhandled exception in KZThread\n");
    EXPECT_EQ(order, "123");
    EXPECT_FALSE(existed);
}

TEST(KZThread, FaultEndsTheBodyOnly) {
    KZThread thread(Callback(&Fault));
    testing::internal::CaptureStdout();
    RunToTheEnd(thread);
    EXPECT_TRUE(testing::internal::GetCapturedStdout().ends_with("unhandled exception in KZThread\n"));
}

TEST(KZThread, BodyThatWaitsForItselfIsTold) {
    int told = 0;
    KZSmartPtr<KZThread> const thread = NewThread([&] {
        KZThread & own = *KZThread::GetCurrentThreadP();
        auto const join = [&] { own.Join(); };
        auto const wait = [&] { KZThread::WaitForThread(own.GetThreadId()); };
        for (std::function<void()> const & onItself : {std::function<void()>(join), {wait}}) {
            try {
                onItself();
            } catch (KZException const & exception) {
                told += std::u16string(exception.What()) == u"A thread can't wait for its own end";
            }
        }
    });
    RunToTheEnd(*thread);
    EXPECT_EQ(told, 2);
    EXPECT_THROW(KZThread::WaitForThread(thread->GetThreadId()), KZException) << "it was waited for";
}

TEST(KZThread, ExitFunctionMayJoinWhileOthersDo) {
    for (int round = 0; round < 20; ++round) {
        std::atomic<bool> joins{false};
        KZSmartPtr<KZThread> const thread = NewThread([] {});
        thread->AddExitFunction(Callback([&] {
            while (!joins) std::this_thread::yield();
            for (int i = 0; i < 10; ++i) std::this_thread::yield();
            thread->Join();
        }));
        (void)thread->Start();
        joins = true;
        thread->Join();
    }
}

TEST(KZThread, BodyMayDestroyItsObject) {
    KZEventSemaphore ended;
    std::string order;
    auto * const object = new KZThread(Callback([&order, observer = std::make_shared<Observer>(ended)] {
        KZThread * const own = KZThread::GetCurrentThreadP();
        unsigned long const id = own->GetThreadId();
        delete own;
        order += KZThread::GetCurrentThreadP() == nullptr && !KZThread::IsFlagSet(id, 0) ? "gone" : "there";
    }));
    object->AddExitFunction(Callback([&order] { order += ", exit"; }));
    (void)object->Start();
    EXPECT_EQ(ended.Wait(), 0U);
    EXPECT_EQ(order, "gone");
}

TEST(KZThread, WaitingForItselfAtItsEndDoesNotBlock) {
    KZSmartPtr<KZThread> const thread = NewThread([] {});
    bool done = false;
    thread->AddExitFunction(Callback([&] {
        KZThread::WaitForThread(KZThread::GetCurrentThreadID());
        std::this_thread::yield();
        done = true;
    }));
    RunToTheEnd(*thread);
    EXPECT_TRUE(done) << "the join waits for the end all the same";
}

TEST(KZThread, RunHoldsItsObject) {
    KZEventSemaphore go, ended;
    {
        KZSmartPtr<KZThread> const thread =
            NewThread([&go, observer = std::make_shared<Observer>(ended)] { go.Wait(); });
        (void)thread->Start();
    }
    EXPECT_FALSE(ended.Posted());
    go.Post();
    EXPECT_EQ(ended.Wait(), 0U) << "the last hold was the run's own";

    ended.Reset();
    struct Observed : KZThread {
        using KZThread::KZThread;
        ~Observed() override { ended_->Post(); }
        KZEventSemaphore * ended_ = nullptr;
    };
    auto * const deletesItself = new Observed(Callback([] {}));
    deletesItself->ended_ = &ended;
    deletesItself->SetDeleteOnEnd(true);
    EXPECT_TRUE(deletesItself->GetDeleteOnEnd());
    (void)deletesItself->Start();
    EXPECT_EQ(ended.Wait(), 0U);
}

TEST(KZThread, RefusedPriorityLeavesItStartable) {
    bool hasRun = false;
    int inside = 0;
    KZSmartPtr<KZThread> const thread = NewThread([&] {
        hasRun = true;
        inside = KZThread::GetCurrentThreadP()->GetThreadPriority();
    });
    EXPECT_TRUE(thread->Start(1000).Bad());
    EXPECT_FALSE(hasRun || thread->IsStarted() || thread->SetThreadPriority(1));
    EXPECT_EQ(thread->GetThreadPriority(), 0x7FFFFFFF);
    EXPECT_TRUE(thread->Start(-2).Good() && thread->SetThreadPriority(-2));
    EXPECT_FALSE(KZThread::SetThreadPriority(KZThread_t(thread->GetThreadId(), nullptr), 0)) << "no handle";
    thread->Join();
    EXPECT_EQ(inside, -2);
    EXPECT_FALSE(thread->SetThreadPriority(0)) << "the handle is closed";
}

TEST(KZThread, OthersNeedNoMemoryForWhatTheyLeaveToTheirEnd) {
    std::size_t const before = KMMemoryPool::GetUsedMemory();
    void * const block = KMMemoryPool::New(64);
    bool isTold = false;
    std::thread([&isTold, block] {
        FailingResources const failing;
        KMMemoryPool::Delete(block, 64);
        try {
            KZInitCatchSignal();
        } catch (KZWindowsLastErrorException const &) {
            isTold = true;
        }
    }).join();
    EXPECT_TRUE(isTold || isSanitized) << "a sanitizer refuses only what operator new asks for";
    EXPECT_EQ(KMMemoryPool::GetUsedMemory(), before);
}

TEST(KZThread, ComModelIsTakenAtConstruction) {
    EXPECT_FALSE(KZThread::InitializeCOM(true));
    bool single = false;
    KZSmartPtr<KZThread> const thread = NewThread([&] { single = KZThread::IsSingleThreadedCOMApartment(); });
    EXPECT_EQ(KZThread::InitializeCOM(KZThread::MultiThreaded), KZThread::SingleThreaded);
    EXPECT_TRUE(KZThread::InitializeCOM(false));
    RunToTheEnd(*thread);
    EXPECT_TRUE(single && thread->IsFlagSet(KZThread::SingleThreaded));
    EXPECT_FALSE(KZThread::IsSingleThreadedCOMApartment());
}

TEST(KZThread, StackSizeIsReadOnce) {
    ASSERT_EQ(isStackSizeSet, 0);
    std::vector<std::size_t> sizes;
    for (char const * const text : {"16777216", "33554432"}) {
        setenv(stackSizeVariable, text, 1);
        KZThread thread(Callback([&] { sizes.push_back(OwnStackSize()); }));
        RunToTheEnd(thread);
    }
    EXPECT_EQ(sizes, (std::vector<std::size_t>{16777216, 16777216}));
}

TEST(KZThread, ManyStartsAndJoinsLeaveNothing) {
    constexpr int rounds = isSanitized ? 500 : 10000;
    int count = 0;
    auto const round = [&] {
        KZThread thread(Callback([&] { ++count; }));
        RunToTheEnd(thread);
    };
    for (int i = 0; i < 10; ++i) round(); // now all memory that is kept for later exists
    EXPECT_TRUE(isSanitized || AwaitThreads(1)) << "threads of earlier cases";
    std::vector<std::size_t> const before = Possessions();
    for (int i = 0; i < rounds; ++i) round();
    EXPECT_EQ(count, rounds + 10);
    if (isSanitized) return;
    EXPECT_TRUE(AwaitThreads(before.back()));
    EXPECT_EQ(Possessions(), before);
}

TEST(KZThread, CostsThreeMappingsAtMost) {
    if (isSanitized) GTEST_SKIP() << "it maps memory of its own for each thread";
    constexpr std::size_t count = 200;
    KZEventSemaphore go;
    std::vector<KZSmartPtr<KZThread>> threads;
    std::size_t const before = Possessions().front();
    for (std::size_t i = 0; i < count; ++i) {
        threads.push_back(NewThread([&] { go.Wait(); }));
        ASSERT_TRUE(threads.back()->Start().Good());
    }
    EXPECT_LE(Possessions().front() - before, 3 * count);
    go.Post();
    for (KZSmartPtr<KZThread> const & thread : threads) thread->Join();
    EXPECT_LE(Possessions().front() - before, count) << "given back, but for some that are kept";
}

TEST(KZThread, DumpNamesWhatEachThreadDoes) {
    KZEventSemaphore go, ready;
    KZSmartPtr<KZThread> const waiting = NewThread([&] {
        ready.Post();
        go.Wait();
    });
    std::string text;
    KZSmartPtr<KZThread> const dumping = NewThread([&] {
        testing::internal::CaptureStderr();
        KZDumpAllStacks();
        text = testing::internal::GetCapturedStderr();
    });
    KZSmartPtr<KZThread> const ended = NewThread([] {});
    (void)ended->Start();
    (void)waiting->Start();
    ready.Wait();
    while (ended->Exists()) std::this_thread::yield();
    RunToTheEnd(*dumping);
    go.Post();
    waiting->Join();
    EXPECT_TRUE(text.starts_with("\n\n****** Dumping call stack for all threads ******\n"));
    EXPECT_TRUE(text.ends_with("\n****** Call stacks dumped ******\n\n"));
    auto const stackOf = [&](KZSmartPtr<KZThread> const & thread) {
        unsigned long const id = thread->GetThreadId();
        std::size_t const start = text.find("Thread " + std::to_string(id) + "\n");
        return start == std::string::npos ? std::string()
                                          : text.substr(start, text.find("\n\n", start) - start);
    };
    EXPECT_NE(stackOf(dumping).find("KZDumpAllStacks"), std::string::npos) << text;
    EXPECT_EQ(stackOf(waiting).find("KZDumpAllStacks"), std::string::npos) << text;
    EXPECT_TRUE(stackOf(ended).empty());
#if !defined(__SANITIZE_THREAD__) // it delays signals to a waiting thread
    EXPECT_NE(stackOf(waiting).find("KZThread::"), std::string::npos) << text;
#endif
}
