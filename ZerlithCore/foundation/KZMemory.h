/// @file
/// The memory from which the library's own blocks come, and a count of the bytes in use.
///
///     void * block = KMMemoryPool::New(64);
///     std::size_t const used = KMMemoryPool::GetUsedMemory();    // 64 or more
///     KMMemoryPool::Delete(block, 64);
#pragma once

#include "ZerlithCore/KZExport.h"

#include <cstddef>

/// Allocates and frees blocks by size, and counts the bytes in use.
///
/// Blocks below 128 KiB come from the global `operator new`, so a program that replaces it replaces this too. Larger
/// ones come from `std::malloc`, which can extend a block without copying it. No size is stored with a block: the
/// caller keeps it.
///
/// Thread safety: all operations may be called from any thread; a block may be freed by another thread.
class KZ_EXPORT KMMemoryPool {
public:
    KMMemoryPool() = delete;

    /// A block of `size` bytes, aligned for every fundamental type. Size 0 gives a distinct block, too.
    /// Errors: std::bad_alloc.
    [[nodiscard]] static void * New(std::size_t size);

    /// Frees a block of `New`; `size` must be the size that was passed to `New` or
    /// `Resize`. Null does nothing.
    static void Delete(void * block, std::size_t size) noexcept;

    /// Gives a block another size, and returns its new place. The bytes up to the smaller of both sizes stay; a large
    /// block is extended in place, or moved by its pages, where the system can.
    /// Errors: std::bad_alloc; the block is then unchanged.
    [[nodiscard]] static void * Resize(void * block, std::size_t size, std::size_t newSize);

    /// The bytes allocated and not yet freed, summed over all threads. Exact while no other thread allocates or frees;
    /// otherwise some of what other threads do during the call is counted and some isn't.
    [[nodiscard]] static std::size_t GetUsedMemory() noexcept;
};
