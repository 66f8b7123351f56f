#include "pattern/CountedMemory.h"

#include <algorithm>
#include <cstdlib>
#include <new>

std::atomic<std::size_t> usedBytes = 0;
std::atomic<std::size_t> mostBytes = 0;
std::atomic<int> allowedBlocks = -1;

namespace {

constexpr std::size_t sizeRoom = alignof(std::max_align_t);

} // namespace

void * operator new(std::size_t size) {
    if (allowedBlocks >= 0 && allowedBlocks-- <= 0) {
        allowedBlocks = 0;
        throw std::bad_alloc();
    }
    auto * const block = static_cast<std::size_t *>(std::malloc(sizeRoom + size));
    if (!block) throw std::bad_alloc();
    *block = size;
    usedBytes += size;
    mostBytes = std::max(mostBytes.load(), usedBytes.load());
    return reinterpret_cast<std::byte *>(block) + sizeRoom;
}

void operator delete(void * memory) noexcept {
    if (!memory) return;
    auto * const block = reinterpret_cast<std::size_t *>(static_cast<std::byte *>(memory) - sizeRoom);
    usedBytes -= *block;
    std::free(block);
}

void operator delete(void * memory, std::size_t) noexcept { operator delete(memory); }
