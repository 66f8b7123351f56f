// A block is a file in the system's memory file system. Its holders have a read lock on it, which the system drops when
// a process ends, however it ends. So a block whose file can be locked for writing has no holder: it is left over from
// killed processes, and is removed. Only the owner of the write lock removes a file.
//
// A new file is filled while it has no name and is then linked to its name, with the read lock already on it: nobody
// ever sees a half-made block, and nobody waits for its maker.
#include "ZerlithCore/platform/posix/SharedBlock.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace KZPlatform {

namespace {

constexpr char const * directory = "/dev/shm";

// The other side of a lock only removes a file, so a few turns are enough. The bound is for a process that was stopped in
// that very moment.
constexpr int maximumTurns = 20000;

// A turn was in vain: the file came or went in between.
constexpr int again = -1;

class Descriptor {
public:
    explicit Descriptor(int number) noexcept : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) close(number_);
    }
    Descriptor(Descriptor const &) = delete;
    Descriptor & operator=(Descriptor const &) = delete;

    [[nodiscard]] int Get() const noexcept { return number_; }
    int Release() noexcept { return std::exchange(number_, -1); }

private:
    int number_;
};

// Locks belong to the open file, so that they aren't lost by closing another descriptor of the same file.
bool Lock(int descriptor, short type) noexcept {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return fcntl(descriptor, F_OFD_SETLK, &lock) == 0;
}

std::uint64_t Hash(std::u16string_view name, std::uint64_t seed) noexcept {
    std::uint64_t hash = seed;
    for (char16_t const unit : name) {
        hash = (hash ^ unit) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 29U;
    }
    return hash;
}

// Two hashes make a file's name, since any units may stand in the object's. The name itself stands in the file.
std::string PathOf(char kind, std::u16string_view name) {
    char text[96];
    std::snprintf(text, sizeof text, "%s/zerlithcore.%u.%c%u.%016llx%016llx", directory,
                  static_cast<unsigned>(geteuid()), kind, static_cast<unsigned>(sizeof(void *) * 8),
                  static_cast<unsigned long long>(Hash(name, 0xCBF29CE484222325U)),
                  static_cast<unsigned long long>(Hash(name, 0x84222325CBF29CE4U)));
    return text;
}

std::size_t FileSize(std::size_t size, std::u16string_view name) noexcept {
    return size + name.size() * sizeof(char16_t);
}

// A path to an open file, whether it has a name or not.
class UnnamedPath {
public:
    explicit UnnamedPath(int descriptor) noexcept {
        std::snprintf(text_, sizeof text_, "/proc/self/fd/%d", descriptor);
    }
    [[nodiscard]] char const * c_str() const noexcept { return text_; }

private:
    char text_[32];
};

// Removes a file that nobody holds.
void RemoveUnheld(std::string const & path) noexcept {
    Descriptor const file(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
    struct stat status = {};
    if (file.Get() < 0 || !Lock(file.Get(), F_WRLCK) || fstat(file.Get(), &status) != 0) return;
    if (status.st_nlink != 0) unlink(path.c_str());
}

} // namespace

SharedBlock::SharedBlock(SharedBlock && other) noexcept { *this = std::move(other); }

SharedBlock & SharedBlock::operator=(SharedBlock && other) noexcept {
    std::swap(path_, other.path_);
    std::swap(memory_, other.memory_);
    std::swap(size_, other.size_);
    std::swap(mapped_, other.mapped_);
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

int SharedBlock::Open(char kind, std::u16string_view name, std::size_t size,
                      std::function<int(void *)> const & initialise,
                      std::function<void(void *)> const & undo) {
    LetGo();
    size_ = size;
    mapped_ = FileSize(size, name);
    std::string path = PathOf(kind, name);
    for (int turn = 0; turn < maximumTurns; ++turn) {
        int error = TryOpen(path, name);
        if (error == ENOENT) error = TryMake(path, name, initialise, undo);
        if (error == 0) {
            path_ = std::move(path);
            return 0;
        }
        if (error != again) return error;
        sched_yield();
    }
    return ETIMEDOUT;
}

int SharedBlock::TryOpen(std::string const & path, std::u16string_view name) {
    Descriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
    struct stat status = {};
    if (file.Get() < 0 || fstat(file.Get(), &status) != 0) return errno;
    // Another user may have put a file of this name there: it must not be able to pull the memory away.
    if (!S_ISREG(status.st_mode) || status.st_uid != geteuid()) return EACCES;
    if (Lock(file.Get(), F_WRLCK)) {
        if (fstat(file.Get(), &status) == 0 && status.st_nlink != 0) unlink(path.c_str());
        return again;
    }
    if (!Lock(file.Get(), F_RDLCK) || fstat(file.Get(), &status) != 0 || status.st_nlink == 0) return again;
    if (static_cast<std::size_t>(status.st_size) != mapped_) return EEXIST;
    descriptor_ = file.Release();
    int error = Map();
    if (error == 0 && std::memcmp(static_cast<char *>(memory_) + size_, name.data(), mapped_ - size_) != 0) {
        error = EEXIST;
    }
    if (error != 0) LetGo();
    return error;
}

int SharedBlock::TryMake(std::string const & path, std::u16string_view name,
                         std::function<int(void *)> const & initialise,
                         std::function<void(void *)> const & undo) {
    Descriptor file(open(directory, O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (file.Get() < 0) return errno;
    // Space is taken now: a write into a hole of a full file system would be a fault.
    if (int const error = posix_fallocate(file.Get(), 0, static_cast<off_t>(mapped_)); error != 0)
        return error;
    if (!Lock(file.Get(), F_RDLCK)) return errno;
    descriptor_ = file.Release();
    int error = Map();
    if (error == 0) {
        std::memcpy(static_cast<char *>(memory_) + size_, name.data(), mapped_ - size_);
        error = initialise(memory_);
        if (error == 0) {
            if (linkat(AT_FDCWD, UnnamedPath(descriptor_).c_str(), AT_FDCWD, path.c_str(),
                       AT_SYMLINK_FOLLOW) == 0)
                return 0;
            error = errno == EEXIST ? again : errno;
            undo(memory_);
        }
    }
    LetGo();
    return error;
}

int SharedBlock::Map() {
    // Through an open file of its own: a map keeps its file open, and with it the lock, which must be able to end first.
    Descriptor const file(open(UnnamedPath(descriptor_).c_str(), O_RDWR | O_CLOEXEC));
    if (file.Get() < 0) return errno;
    void * const memory = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_SHARED, file.Get(), 0);
    if (memory == MAP_FAILED) return errno;
    memory_ = memory;
    return 0;
}

void SharedBlock::LetGo() noexcept {
    GiveUpHold();
    if (memory_) munmap(std::exchange(memory_, nullptr), mapped_);
}

void SharedBlock::GiveUpHold() noexcept {
    if (descriptor_ >= 0) close(std::exchange(descriptor_, -1));
    // A descriptor that a forked child inherited still holds the block; then this does nothing.
    if (!path_.empty()) RemoveUnheld(std::exchange(path_, {}));
}

} // namespace KZPlatform
