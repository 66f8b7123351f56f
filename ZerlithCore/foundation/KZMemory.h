/// @file
/// The memory from which the library's own blocks come, with the bytes in use.
///
///     void * block = KMMemoryPool::New(64);
///     ...
///     KMMemoryPool::Delete(block, 64);
#pragma once

#include "ZerlithCore/KZExport.h"

#include <cstddef>

/// Allocates and frees blocks by size, and knows how many bytes are in use.
///
/// The blocks come from the global `operator new`, so a program that replaces it replaces this too. No size is stored
/// with a block: whoever allocates remembers it.
///
/// Thread safety: all operations may be called from any thread; a block may be freed by another thread.
class KZ_EXPORT KMMemoryPool {
public:
    KMMemoryPool() = delete;

    /// A block of `size` bytes, aligned for every fundamental type. Size 0 gives a block of its own as well.
    /// Errors: std::bad_alloc.
    [[nodiscard]] static void * New(std::size_t size);

    /// Frees a block of `New`; `size` is what was asked for. Null does nothing.
    static void Delete(void * block, std::size_t size) noexcept;

    /// The bytes asked for and not yet freed, over all threads. Exact while no other thread allocates or frees; else a
    /// figure in which some of what happens meanwhile is counted and some isn't.
    [[nodiscard]] static std::size_t GetUsedMemory() noexcept;
};
