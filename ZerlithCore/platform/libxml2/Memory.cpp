// The reserve is memory of the library itself, so it is there from the start, costs nothing until it is touched, and can be
// told by its addresses. Blocks of it that outlive their call, as the text of a thread's last error, keep their place until
// they are freed. Blocks above 64 KB aren't had from it: those are tables and buffers, where the libraries mostly look for the
// refusal.
//
// All work can be stopped but the compiling of stylesheets and schemas. The reserve is enough for a stylesheet of 300,000
// bytes. For schemas, which take far more, memory is taken in advance: as long as it isn't needed it is untouched, and costs
// addresses only.
#include "ZerlithCore/platform/libxml2/Memory.h"

#include "ZerlithCore/platform/libxml2/Library.h"

#include <libxml/xmlmemory.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include <malloc.h>

namespace KZPlatform::LibXml2 {

namespace {

constexpr std::size_t reserveBytes = 4'194'304;
constexpr std::size_t smallestBlock = 32; // with its head
constexpr std::size_t largestBlock = 65'536;
constexpr std::size_t largestOfLarger = 64 * 1024 * 1024; // of the larger reserve

/// Blocks whose sizes are powers of two. One that was given back serves again for its size.
class Reserve {
    struct alignas(16) Block {
        std::size_t size; // with this head
        Block * next;
    };

public:
    /// Gives out blocks of up to `largest` bytes.
    constexpr Reserve(std::byte * bytes, std::size_t size, std::size_t largest) noexcept
        : bytes_(bytes), size_(size), largest_(largest) {}

    /// Null when there is nothing left, or nothing that large.
    [[nodiscard]] void * Take(std::size_t size) noexcept;
    void Give(void * place) noexcept;
    /// What fits into a block.
    [[nodiscard]] static std::size_t Room(void * place) noexcept { return Of(place)->size - sizeof(Block); }

    /// Takes memory to give out. False when it has some already.
    bool Open(std::byte * bytes, std::size_t size) noexcept;
    /// Gives its memory back; null when some of it is in use, or it has none.
    [[nodiscard]] std::byte * Close() noexcept;

private:
    [[nodiscard]] static Block * Of(void * place) noexcept { return static_cast<Block *>(place) - 1; }
    [[nodiscard]] Block *& Free(std::size_t size) noexcept {
        return free_[static_cast<std::size_t>(std::countr_zero(size / smallestBlock))];
    }

    std::mutex lock_;
    std::array<Block *, std::bit_width(largestOfLarger / smallestBlock)> free_{}; // a list a size
    std::byte * bytes_;
    std::size_t size_;
    std::size_t largest_;
    std::size_t used_ = 0;  // from the front on
    std::size_t inUse_ = 0; // of these
};

void * Reserve::Take(std::size_t size) noexcept {
    if (size > largest_ - sizeof(Block)) return nullptr;
    size = std::bit_ceil(std::max(size + sizeof(Block), smallestBlock));
    std::lock_guard const lock(lock_);
    Block * block = Free(size);
    if (block) {
        Free(size) = block->next;
    } else {
        if (size > size_ - used_) return nullptr;
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

bool Reserve::Open(std::byte * bytes, std::size_t size) noexcept {
    std::lock_guard const lock(lock_);
    if (bytes_) return false;
    bytes_ = bytes;
    size_ = size;
    return true;
}

std::byte * Reserve::Close() noexcept {
    std::lock_guard const lock(lock_);
    if (inUse_ != 0) return nullptr;
    size_ = 0;
    return std::exchange(bytes_, nullptr);
}

alignas(16) constinit std::byte ownBytes[reserveBytes]{};
constinit Reserve reserve(ownBytes, reserveBytes, largestBlock);

// Whoever frees a block asks whose it is, while another thread may be opening or closing the larger reserve: its place is
// one number, the address, which is a multiple of a megabyte, and the number of megabytes below that.
constexpr std::uintptr_t megabyte = 1'048'576;
constinit Reserve larger(nullptr, 0, largestOfLarger);
constinit std::atomic<std::uintptr_t> largerPlace = 0;
constinit std::mutex largerLock;

Reserve * OwnerOf(void const * block) noexcept {
    auto const address = reinterpret_cast<std::uintptr_t>(block);
    if (address - reinterpret_cast<std::uintptr_t>(ownBytes) < reserveBytes) return &reserve;
    std::uintptr_t const place = largerPlace.load(std::memory_order_acquire);
    bool const isLarger = address - place / megabyte * megabyte < place % megabyte * megabyte;
    return isLarger ? &larger : nullptr;
}

// What the libraries used before.
xmlFreeFunc hostFree = nullptr;
xmlMallocFunc hostAllocate = nullptr;
xmlReallocFunc hostReallocate = nullptr;

void * Allocate(std::size_t size) noexcept {
    if (void * const block = hostAllocate(size)) return block;
    if (!LibraryCall::NoteRefusedMemory()) return nullptr;
    void * const block = reserve.Take(size);
    return block ? block : larger.Take(size);
}

void Free(void * block) noexcept {
    if (Reserve * const owner = OwnerOf(block)) return owner->Give(block);
    hostFree(block);
}

// Bytes of a block that may be moved; 0 where the program has brought functions of its own, whose blocks don't tell. The
// libraries get their refusal then, which they look for where a block grows, but mend badly.
std::size_t RoomOf(void * block) noexcept {
    if (OwnerOf(block)) return Reserve::Room(block);
    return hostReallocate == static_cast<xmlReallocFunc>(std::realloc) ? malloc_usable_size(block) : 0;
}

void * Reallocate(void * block, std::size_t size) noexcept {
    if (!block) return Allocate(size);
    bool const isOwn = OwnerOf(block) != nullptr;
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

LargerReserve::LargerReserve(std::size_t bytes) : one_(largerLock) {
    std::size_t const size = (bytes / megabyte + 1) * megabyte;
    auto * const place = static_cast<std::byte *>(Need(std::aligned_alloc(megabyte, size)));
    if (larger.Open(place, size))
        largerPlace.store(reinterpret_cast<std::uintptr_t>(place) | size / megabyte,
                          std::memory_order_release);
    else
        std::free(place);
}

LargerReserve::~LargerReserve() {
    std::byte * const place = larger.Close();
    if (!place) return;
    largerPlace.store(0, std::memory_order_release);
    std::free(place);
}

} // namespace KZPlatform::LibXml2
