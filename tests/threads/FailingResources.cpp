#include "threads/FailingResources.h"

#include <cerrno>
#include <cstdlib>
#include <new>

namespace {

thread_local constinit bool isRefusing = false;

bool IsRefused() noexcept {
    if (isRefusing) errno = ENOMEM;
    return isRefusing;
}

} // namespace

FailingResources::FailingResources() { isRefusing = true; }

FailingResources::~FailingResources() { isRefusing = false; }

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

void * operator new(std::size_t size, std::nothrow_t const &) noexcept {
    return IsRefused() ? nullptr : std::malloc(size);
}
void * operator new(std::size_t size) {
    void * const block = operator new(size, std::nothrow);
    if (!block) throw std::bad_alloc();
    return block;
}
void operator delete(void * block) noexcept { std::free(block); }
void operator delete(void * block, std::size_t) noexcept { std::free(block); }

#else

// The functions must be visible to the library, which calls them instead of those of the C library.
#pragma GCC visibility push(default)
extern "C" {

void * __libc_malloc(std::size_t size);
void * __libc_calloc(std::size_t count, std::size_t size);
void * __libc_realloc(void * block, std::size_t size);

void * malloc(std::size_t size) { return IsRefused() ? nullptr : __libc_malloc(size); }
void * calloc(std::size_t count, std::size_t size) {
    return IsRefused() ? nullptr : __libc_calloc(count, size);
}
void * realloc(void * block, std::size_t size) { return IsRefused() ? nullptr : __libc_realloc(block, size); }

} // extern "C"
#pragma GCC visibility pop

#endif
