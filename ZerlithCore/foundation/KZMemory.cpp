#include "ZerlithCore/foundation/KZMemory.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <new>

// The bytes are counted in several counters, each on a cache line of its own. A block's address chooses the counter, so
// that the thread that frees it needs no note of who allocated it. The usual allocators give each thread an arena, whose
// addresses differ above 64 MB: threads that keep to their arena don't share a line.

namespace {

struct alignas(64) Counter {
    std::atomic<std::size_t> bytes{0};
};
constexpr unsigned ArenaBits = 26;
constinit std::array<Counter, 16> counters;

std::atomic<std::size_t> & CounterOf(void const * block) noexcept {
    auto const arena = reinterpret_cast<std::uintptr_t>(block) >> ArenaBits;
    return counters[(arena ^ (arena >> 4)) % counters.size()].bytes;
}

} // namespace

void * KMMemoryPool::New(std::size_t size) {
    void * const block = ::operator new(size);
    CounterOf(block).fetch_add(size, std::memory_order_relaxed);
    return block;
}

void KMMemoryPool::Delete(void * block, std::size_t size) noexcept {
    if (!block) return;
    CounterOf(block).fetch_sub(size, std::memory_order_relaxed);
    ::operator delete(block, size);
}

std::size_t KMMemoryPool::GetUsedMemory() noexcept {
    std::size_t sum = 0;
    for (Counter const & counter : counters) sum += counter.bytes.load(std::memory_order_relaxed);
    return sum;
}
