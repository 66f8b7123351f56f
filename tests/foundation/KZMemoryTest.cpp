#include "ZerlithCore/foundation/KZMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <barrier>
#include <cstdlib>
#include <new>
#include <thread>
#include <vector>

namespace {
constinit thread_local bool isMemoryOut = false;
constinit std::atomic<int> glbMade{0};
} // namespace

// What the pool counts with comes from here.
void * operator new(std::size_t size, std::align_val_t alignment, std::nothrow_t const &) noexcept {
    if (isMemoryOut) return nullptr;
    ++glbMade;
    return std::aligned_alloc(static_cast<std::size_t>(alignment), size);
}

namespace {

TEST(KMMemoryPool, CountsTheBytesOfAllThreads) {
    std::size_t const before = KMMemoryPool::GetUsedMemory();
    KMMemoryPool::Delete(nullptr, 7);
    std::array<void *, 4> blocks{};
    // What threads have counted stays when they have ended, and others count on.
    for (std::size_t i = 1; i <= 8; ++i) {
        std::thread([&] { blocks[0] = KMMemoryPool::New(i); }).join();
        EXPECT_EQ(KMMemoryPool::GetUsedMemory(), before + i);
        KMMemoryPool::Delete(blocks[0], i);
    }

    std::barrier step(5);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < 4; ++i)
        threads.emplace_back([&, i] {
            isMemoryOut = i == 3; // it counts nevertheless
            step.arrive_and_wait();
            blocks[i] = KMMemoryPool::New(10 + i);
            step.arrive_and_wait();
            step.arrive_and_wait();
            KMMemoryPool::Delete(blocks[3 - i], 13 - i);
        });
    step.arrive_and_wait();
    step.arrive_and_wait();
    EXPECT_EQ(KMMemoryPool::GetUsedMemory(), before + 46);
    step.arrive_and_wait();
    for (std::thread & thread : threads) thread.join();
    EXPECT_EQ(KMMemoryPool::GetUsedMemory(), before);
    EXPECT_LE(glbMade, 5) << "no more counters than threads at once";
}

TEST(KMMemoryPool, ResizesAcrossTheLimitOfLargeBlocks) {
    std::size_t const before = KMMemoryPool::GetUsedMemory();
    std::size_t size = 1000;
    auto * block = static_cast<unsigned char *>(KMMemoryPool::New(size));
    for (std::size_t i = 0; i < size; ++i) block[i] = static_cast<unsigned char>(i);
    for (std::size_t const next : {131'071U, 131'072U, 5'000'000U, 200'000U, 999U, 999'999U, 7U}) {
        block = static_cast<unsigned char *>(KMMemoryPool::Resize(block, size, next));
        size = next;
        block[size - 1] = static_cast<unsigned char>(size - 1);
        EXPECT_EQ(KMMemoryPool::GetUsedMemory(), before + size);
        for (std::size_t i = 0; i < std::min<std::size_t>(size, 999); ++i)
            ASSERT_EQ(block[i], static_cast<unsigned char>(i)) << size;
    }
    KMMemoryPool::Delete(block, size);
    EXPECT_EQ(KMMemoryPool::GetUsedMemory(), before);
}

} // namespace
