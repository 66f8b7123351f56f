#include "ZerlithCore/foundation/KZMemory.h"

#include "ZerlithCore/platform/ThreadEnd.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

// Each thread counts its bytes in a counter of its own, so that counting costs no locked instruction and no shared
// cache line. When one thread frees what another one allocated, a single counter may go below 0, but never the sum.
//
// Counters are in a list that only grows. A thread that ends gives back its counter with the value it has, and the
// next new thread continues with that value: so there are only as many counters as threads were alive at once. A thread
// that has given back its counter, and still destroys its last objects, counts in a shared counter; so does a thread
// for which there is no memory for a counter.

namespace {

struct alignas(64) Counter : KZPlatform::ThreadEndTask {
    std::atomic<std::size_t> bytes{0};
    std::atomic<bool> isTaken{true};
    Counter * nextCounter = nullptr;
};

constinit std::atomic<Counter *> counters{nullptr};
constinit Counter shared;

constinit thread_local Counter * mine = nullptr;

void GiveBack(KZPlatform::ThreadEndTask & counter) noexcept {
    static_cast<Counter &>(counter).isTaken.store(false, std::memory_order_release);
    mine = &shared;
}

/// A counter that no thread has, or a new one; null without memory.
Counter * FindCounter() noexcept {
    for (Counter * counter = counters.load(std::memory_order_acquire); counter;
         counter = counter->nextCounter) {
        bool isTaken = false;
        if (counter->isTaken.compare_exchange_strong(isTaken, true, std::memory_order_acquire))
            return counter;
    }
    auto * const counter = new (std::nothrow) Counter;
    if (!counter) return nullptr;
    counter->run = &GiveBack;
    counter->nextCounter = counters.load(std::memory_order_relaxed);
    while (!counters.compare_exchange_weak(counter->nextCounter, counter, std::memory_order_release)) {}
    return counter;
}

/// Gives this thread a counter of its own and returns it. If that fails, returns the shared one; the next call tries
/// again.
Counter * TakeCounter() noexcept {
    Counter * const counter = FindCounter();
    if (!counter) return &shared;
    mine = counter;
    if (KZPlatform::CallAtThreadEnd(*counter)) return counter;
    GiveBack(*counter);
    return mine;
}

void Count(std::size_t bytes) noexcept {
    Counter * const counter = mine ? mine : TakeCounter();
    if (counter == &shared) {
        shared.bytes.fetch_add(bytes, std::memory_order_relaxed);
    } else {
        counter->bytes.store(counter->bytes.load(std::memory_order_relaxed) + bytes,
                             std::memory_order_relaxed);
    }
}

constexpr std::size_t largeSize = 128 * 1024;

void * OrThrow(void * block) {
    if (!block) throw std::bad_alloc();
    return block;
}

// Moves a block between the two kinds. Inlined into `Resize`, it would look to GCC as if it freed a block of the other kind.
[[gnu::noinline]] void * Move(void * block, std::size_t size, std::size_t newSize) {
    void * const fresh = KMMemoryPool::New(newSize);
    std::memcpy(fresh, block, std::min(size, newSize));
    KMMemoryPool::Delete(block, size);
    return fresh;
}

} // namespace

void * KMMemoryPool::New(std::size_t size) {
    void * const block = size < largeSize ? ::operator new(size) : OrThrow(std::malloc(size));
    Count(size);
    return block;
}

void * KMMemoryPool::Resize(void * block, std::size_t size, std::size_t newSize) {
    if (size >= largeSize && newSize >= largeSize) {
        void * const moved = OrThrow(std::realloc(block, newSize));
        Count(newSize - size);
        return moved;
    }
    return Move(block, size, newSize);
}

void KMMemoryPool::Delete(void * block, std::size_t size) noexcept {
    if (!block) return;
    Count(0 - size);
    size < largeSize ? ::operator delete(block, size) : std::free(block);
}

std::size_t KMMemoryPool::GetUsedMemory() noexcept {
    std::size_t sum = shared.bytes.load(std::memory_order_relaxed);
    for (Counter * counter = counters.load(std::memory_order_acquire); counter;
         counter = counter->nextCounter) {
        sum += counter->bytes.load(std::memory_order_relaxed);
    }
    return sum;
}
