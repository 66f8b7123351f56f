// Locks compared with the standard's, handles with a plain counter, threads with std::thread.
//
// While a process has only one thread, glibc and the library use plain instead of atomic instructions. So
// "uncontended" has two figures: alone, and with another thread in the process.
#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/threads/KZBaton.h"
#include "ZerlithCore/threads/KZCriticalSection.h"
#include "ZerlithCore/threads/KZEventSemaphore.h"
#include "ZerlithCore/threads/KZMutex.h"
#include "ZerlithCore/threads/KZThread.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

namespace {

template <class Lock>
void LockUnlock(benchmark::State & state) {
    static Lock lock;
    for (auto _ : state) {
        lock.lock();
        benchmark::ClobberMemory();
        lock.unlock();
    }
}

void BecomeThreaded(benchmark::State const &) {
    std::thread([] {}).join();
}

// "Alone" is measured first: a process that has once had two threads uses atomic instructions from then on.
BENCHMARK(LockUnlock<KZCriticalSection>)->Name("lock alone/KZCriticalSection");
BENCHMARK(LockUnlock<std::mutex>)->Name("lock alone/std::mutex");
BENCHMARK(LockUnlock<std::recursive_mutex>)->Name("lock alone/std::recursive_mutex");
BENCHMARK(LockUnlock<KZCriticalSection>)->Name("lock/KZCriticalSection")->Setup(BecomeThreaded);
BENCHMARK(LockUnlock<std::mutex>)->Name("lock/std::mutex");
BENCHMARK(LockUnlock<std::recursive_mutex>)->Name("lock/std::recursive_mutex");
BENCHMARK(LockUnlock<KZMutex>)->Name("lock/KZMutex");
BENCHMARK(LockUnlock<std::recursive_timed_mutex>)->Name("lock/std::recursive_timed_mutex");
BENCHMARK(LockUnlock<KZCriticalSection>)->Name("lock contended/KZCriticalSection")->Threads(4)->UseRealTime();
BENCHMARK(LockUnlock<std::mutex>)->Name("lock contended/std::mutex")->Threads(4)->UseRealTime();
BENCHMARK(LockUnlock<std::recursive_mutex>)
    ->Name("lock contended/std::recursive_mutex")
    ->Threads(4)
    ->UseRealTime();

class Counted : public KZRefCount {};

void BareIncrementAndDecrement(benchmark::State & state) {
    static std::atomic<std::uint32_t> count{1};
    for (auto _ : state) {
        count.fetch_add(1, std::memory_order_relaxed);
        benchmark::ClobberMemory();
        if (count.fetch_sub(1, std::memory_order_acq_rel) == 1) std::abort();
    }
}
BENCHMARK(BareIncrementAndDecrement)->Name("handle/bare atomic");

/// Makes a copy of a handle, and drops it.
template <class Handle>
void CopyAndDrop(benchmark::State & state) {
    Handle const handle(new Counted);
    for (auto _ : state) {
        Handle copy(handle);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(CopyAndDrop<KZSmartPtr<Counted>>)->Name("handle/KZSmartPtr");
BENCHMARK(CopyAndDrop<KZSmartPtr<KZRefCountI>>)->Name("handle/KZSmartPtr on an interface");
BENCHMARK(CopyAndDrop<std::shared_ptr<Counted>>)->Name("handle/std::shared_ptr");

class Nothing : public KZCallback {
public:
    Nothing() : KZCallback(u"") {}
    void operator()(KZSmartPtr<KZCallbackArgs> const &) override {}
};

void StartAndJoin(benchmark::State & state) {
    KZSmartPtr<KZCallback> const body(new Nothing);
    for (auto _ : state) {
        KZThread thread(body);
        if (thread.Start().Bad()) std::abort();
        thread.Join();
    }
}
BENCHMARK(StartAndJoin)->Name("thread/KZThread")->UseRealTime();

void StandardStartAndJoin(benchmark::State & state) {
    for (auto _ : state) std::thread([] {}).join();
}
BENCHMARK(StandardStartAndJoin)->Name("thread/std::thread")->UseRealTime();

void PostResetEvent(benchmark::State & state) {
    KZEventSemaphore event;
    for (auto _ : state) {
        event.Post();
        benchmark::DoNotOptimize(event.Wait(0));
        event.Reset();
    }
}
BENCHMARK(PostResetEvent)->Name("event/post, wait, reset");

} // namespace
