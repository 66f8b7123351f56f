// Each function has the name of a function of the C library. It fails if this is the call that is to fail; otherwise it calls
// the function of the C library. Allocation uses the C library's other names for its functions, since looking up a name may
// itself allocate.
#include "FailingCalls.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

extern "C" {
void * __libc_malloc(std::size_t) noexcept;
void * __libc_calloc(std::size_t, std::size_t) noexcept;
void * __libc_realloc(void *, std::size_t) noexcept;
void * __libc_memalign(std::size_t, std::size_t) noexcept;
}

namespace {

constexpr int none = -1;
constinit std::atomic<int> armedKind{none};
constinit std::atomic<long> failing{0};
constinit std::atomic<bool> failsAlways{false};
constinit std::atomic<long> calls{0};

bool Fails(KZFailKind kind, int error) noexcept {
    if (armedKind.load(std::memory_order_relaxed) != kind) return false;
    long const call = calls.fetch_add(1, std::memory_order_relaxed) + 1;
    long const nth = failing.load(std::memory_order_relaxed);
    if (nth == 0 || call < nth || (call > nth && !failsAlways.load(std::memory_order_relaxed))) return false;
    errno = error;
    return true;
}

/// The function of the C library with that name.
template <class Function>
Function * Next(char const * name) noexcept {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

/// Acts like a full disk: the first call that fails still writes half of its bytes.
ssize_t WriteTo(int file, void const * bytes, std::size_t size) noexcept {
    static auto * const next = Next<ssize_t(int, void const *, std::size_t)>("write");
    if (!Fails(KZFailWrite, ENOSPC)) return next(file, bytes, size);
    bool const isFirst = calls.load(std::memory_order_relaxed) == failing.load(std::memory_order_relaxed);
    if (isFirst && failsAlways && size > 1) return next(file, bytes, size / 2);
    errno = ENOSPC;
    return -1;
}

[[gnu::constructor]] void ArmByEnvironment() noexcept {
    constexpr std::array kinds{"memory", "write", "read", "open", "mapping", "thread"};
    char const * const text = std::getenv("KZ_FAIL");
    if (!text) return;
    for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
        std::size_t const length = std::strlen(kinds[kind]);
        if (std::strncmp(text, kinds[kind], length) != 0 || text[length] != ':') continue;
        char * rest = nullptr;
        long const nth = std::strtol(text + length + 1, &rest, 10);
        KZArmFailingCalls(static_cast<KZFailKind>(kind), nth, std::strcmp(rest, ":always") == 0);
    }
}

} // namespace

extern "C" {

void KZArmFailingCalls(KZFailKind kind, long nth, bool always) noexcept {
    failing = nth;
    failsAlways = always;
    calls = 0;
    armedKind = kind;
}

long KZDisarmFailingCalls() noexcept {
    armedKind = none;
    return calls;
}

void * malloc(std::size_t size) noexcept {
    return Fails(KZFailMemory, ENOMEM) ? nullptr : __libc_malloc(size);
}
void * calloc(std::size_t count, std::size_t size) noexcept {
    return Fails(KZFailMemory, ENOMEM) ? nullptr : __libc_calloc(count, size);
}
void * realloc(void * block, std::size_t size) noexcept {
    return Fails(KZFailMemory, ENOMEM) ? nullptr : __libc_realloc(block, size);
}
void * memalign(std::size_t alignment, std::size_t size) noexcept {
    return Fails(KZFailMemory, ENOMEM) ? nullptr : __libc_memalign(alignment, size);
}
void * aligned_alloc(std::size_t alignment, std::size_t size) noexcept { return memalign(alignment, size); }
int posix_memalign(void ** block, std::size_t alignment, std::size_t size) noexcept {
    void * const made = memalign(alignment, size);
    if (made) *block = made;
    return made ? 0 : ENOMEM;
}

ssize_t write(int file, void const * bytes, std::size_t size) { return WriteTo(file, bytes, size); }
int fsync(int file) {
    static auto * const next = Next<int(int)>("fsync");
    return Fails(KZFailWrite, EIO) ? -1 : next(file);
}
int fdatasync(int file) {
    static auto * const next = Next<int(int)>("fdatasync");
    return Fails(KZFailWrite, EIO) ? -1 : next(file);
}
int ftruncate(int file, off_t size) noexcept {
    static auto * const next = Next<int(int, off_t)>("ftruncate");
    return Fails(KZFailWrite, EIO) ? -1 : next(file, size);
}
int fallocate(int file, int mode, off_t offset, off_t size) {
    static auto * const next = Next<int(int, int, off_t, off_t)>("fallocate");
    return Fails(KZFailWrite, ENOSPC) ? -1 : next(file, mode, offset, size);
}
int posix_fallocate(int file, off_t offset, off_t size) {
    static auto * const next = Next<int(int, off_t, off_t)>("posix_fallocate");
    return Fails(KZFailWrite, ENOSPC) ? ENOSPC : next(file, offset, size);
}
int rename(char const * from, char const * to) noexcept {
    static auto * const next = Next<int(char const *, char const *)>("rename");
    return Fails(KZFailWrite, EIO) ? -1 : next(from, to);
}

ssize_t read(int file, void * bytes, std::size_t size) {
    static auto * const next = Next<ssize_t(int, void *, std::size_t)>("read");
    return Fails(KZFailRead, EIO) ? -1 : next(file, bytes, size);
}

int open(char const * path, int flags, ...) {
    static auto * const next = Next<int(char const *, int, ...)>("open");
    std::va_list arguments;
    va_start(arguments, flags);
    auto const mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : mode_t{0};
    va_end(arguments);
    return Fails(KZFailOpen, EMFILE) ? -1 : next(path, flags, mode);
}
DIR * opendir(char const * path) {
    static auto * const next = Next<DIR *(char const *)>("opendir");
    return Fails(KZFailOpen, EMFILE) ? nullptr : next(path);
}

void * mmap(void * place, std::size_t size, int protection, int flags, int file, off_t offset) noexcept {
    static auto * const next = Next<void *(void *, std::size_t, int, int, int, off_t)>("mmap");
    return Fails(KZFailMapping, ENOMEM) ? MAP_FAILED : next(place, size, protection, flags, file, offset);
}
int mprotect(void * place, std::size_t size, int protection) noexcept {
    static auto * const next = Next<int(void *, std::size_t, int)>("mprotect");
    return Fails(KZFailMapping, ENOMEM) ? -1 : next(place, size, protection);
}

int pthread_create(pthread_t * thread, pthread_attr_t const * attributes, void * (*body)(void *),
                   void * argument) noexcept {
    static auto * const next =
        Next<int(pthread_t *, pthread_attr_t const *, void * (*)(void *), void *)>("pthread_create");
    return Fails(KZFailThread, EAGAIN) ? EAGAIN : next(thread, attributes, body, argument);
}

} // extern "C"
