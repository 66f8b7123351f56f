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
/// The blocks come from the global `operator new`, so a program that replaces it replaces this too. No size is stored
/// with a block: the caller keeps it.
///
/// Thread safety: all operations may be called from any thread; a block may be freed by another thread.
class KZ_EXPORT KMMemoryPool {
public:
    KMMemoryPool() = delete;

    /// A block of `size` bytes, aligned for every fundamental type. Size 0 gives a distinct block, too.
    /// Errors: std::bad_alloc.
    [[nodiscard]] static void * New(std::size_t size);

    /// Frees a block of `New`; `size` must be the size that was passed to `New`. Null does nothing.
    static void Delete(void * block, std::size_t size) noexcept;

    /// The bytes allocated and not yet freed, summed over all threads. Exact while no other thread allocates or frees;
    /// otherwise some of what other threads do during the call is counted and some isn't.
    [[nodiscard]] static std::size_t GetUsedMemory() noexcept;
};
