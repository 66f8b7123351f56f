// The reserve is memory of the library itself, so it is there from the start, costs nothing until it is touched, and can be
// told by its addresses. Blocks of it that outlive their call, as the text of a thread's last error, keep their place until
// they are freed. All work can be stopped but the compiling of stylesheets and schemas; the reserve is enough for
// a stylesheet of 300,000 bytes and a schema of 50,000. Blocks above 64 KB aren't had: those are tables and buffers, where the
// libraries look for the refusal.
#include "ZerlithCore/platform/libxml2/Memory.h"

#include "ZerlithCore/platform/libxml2/Library.h"

#include <libxml/xmlmemory.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include <malloc.h>

namespace KZPlatform::LibXml2 {

namespace {

constexpr std::size_t ReserveBytes = 4'194'304;
constexpr std::size_t SmallestBlock = 32; // with its head
constexpr std::size_t LargestBlock = 65'536;

/// Blocks whose sizes are powers of two. One that was given back serves again for its size.
class Reserve {
    struct alignas(16) Block {
        std::size_t size; // with this head
        Block * next;
    };

public:
    [[nodiscard]] bool Owns(void const * place) const noexcept {
        auto const * const byte = static_cast<std::byte const *>(place);
        return byte >= bytes_ && byte < bytes_ + ReserveBytes;
    }
    /// Null when there is nothing left, or nothing that large.
    [[nodiscard]] void * Take(std::size_t size) noexcept;
    void Give(void * place) noexcept;
    /// What fits into a block.
    [[nodiscard]] static std::size_t Room(void * place) noexcept { return Of(place)->size - sizeof(Block); }

private:
    [[nodiscard]] static Block * Of(void * place) noexcept { return static_cast<Block *>(place) - 1; }
    [[nodiscard]] Block *& Free(std::size_t size) noexcept {
        return free_[static_cast<std::size_t>(std::countr_zero(size / SmallestBlock))];
    }

    std::mutex lock_;
    std::array<Block *, std::bit_width(LargestBlock / SmallestBlock)> free_{}; // a list a size
    std::size_t used_ = 0;                                                     // from the front on
    std::size_t inUse_ = 0;                                                    // of these
    alignas(Block) std::byte bytes_[ReserveBytes]{};
};

void * Reserve::Take(std::size_t size) noexcept {
    if (size > LargestBlock - sizeof(Block)) return nullptr;
    size = std::bit_ceil(std::max(size + sizeof(Block), SmallestBlock));
    std::lock_guard const lock(lock_);
    Block * block = Free(size);
    if (block) {
        Free(size) = block->next;
    } else {
        if (size > ReserveBytes - used_) return nullptr;
        block = new (bytes_ + used_) Block{size, nullptr};
        used_ += size;
    }
    inUse_ += size;
    return block + 1;
}

// When all are back, sizes may be had that were never asked for.
void Reserve::Give(void * place) noexcept {
    Block * const block = Of(place);
    std::lock_guard const lock(lock_);
    inUse_ -= block->size;
    block->next = std::exchange(Free(block->size), block);
    if (inUse_ != 0) return;
    used_ = 0;
    free_.fill(nullptr);
}

constinit Reserve reserve;

// What the libraries used before.
xmlFreeFunc hostFree = nullptr;
xmlMallocFunc hostAllocate = nullptr;
xmlReallocFunc hostReallocate = nullptr;

void * Allocate(std::size_t size) noexcept {
    if (void * const block = hostAllocate(size)) return block;
    return LibraryCall::NoteRefusedMemory() ? reserve.Take(size) : nullptr;
}

void Free(void * block) noexcept {
    if (reserve.Owns(block)) return reserve.Give(block);
    hostFree(block);
}

// Bytes of a block that may be moved; 0 where the program has brought functions of its own, whose blocks don't tell. The
// libraries get their refusal then, which they look for where a block grows, but mend badly.
std::size_t RoomOf(void * block) noexcept {
    if (reserve.Owns(block)) return Reserve::Room(block);
    return hostReallocate == static_cast<xmlReallocFunc>(std::realloc) ? malloc_usable_size(block) : 0;
}

void * Reallocate(void * block, std::size_t size) noexcept {
    if (!block) return Allocate(size);
    bool const isOwn = reserve.Owns(block);
    if (!isOwn) {
        void * const moved = hostReallocate(block, size);
        if (moved || size == 0) return moved;
    }
    std::size_t const room = RoomOf(block);
    if (isOwn && size <= room) return block;
    if (room == 0) LibraryCall::NoteRefusedMemory();
    void * const moved = room == 0 ? nullptr : Allocate(size);
    if (!moved) return nullptr;
    std::memcpy(moved, block, std::min(room, size));
    Free(block);
    return moved;
}

char * Duplicate(char const * text) noexcept {
    std::size_t const size = std::strlen(text) + 1;
    void * const copy = Allocate(size);
    return copy ? static_cast<char *>(std::memcpy(copy, text, size)) : nullptr;
}

} // namespace

void UseReserve() noexcept {
    static std::once_flag once;
    std::call_once(once, [] {
        xmlStrdupFunc duplicate = nullptr;
        xmlMemGet(&hostFree, &hostAllocate, &hostReallocate, &duplicate);
        xmlMemSetup(Free, Allocate, Reallocate, Duplicate);
    });
}

} // namespace KZPlatform::LibXml2
