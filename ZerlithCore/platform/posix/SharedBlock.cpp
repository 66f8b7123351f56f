// A block is a file in the system's memory file system. Each holder has a read lock on the file, which the system
// releases when the process ends, even if it is killed. So a file that can be locked for writing has no holder:
// killed processes have left it. Only the owner of that write lock may remove the file.
//
// Making a block, when several processes may try at the same time:
//
// 1. Make a file without a name, lock it for reading, and fill it.
// 2. Link it to its name. This fails if another process has made the name meanwhile; then drop the file and open the
//    other one.
//
// So nobody ever sees a block that is half filled, and nobody waits for another process to fill it.
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

// The name may come and go between two steps; then everything is tried again. The other process has only to remove a
// file, so a few tries are enough. There are so many in case that process is stopped just then.
constexpr int maximumTurns = 20000;

// The result of a try during which the name came or went.
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

// These locks belong to the open file. Ordinary ones would be lost when any descriptor of the same file is closed.
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

// A file's name is made of two hashes of the object's name, which may have any units. The object's name itself is in
// the file, to be compared.
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

// The path by which an open file can be reached, whether it has a name or not.
class UnnamedPath {
public:
    explicit UnnamedPath(int descriptor) noexcept {
        std::snprintf(text_, sizeof text_, "/proc/self/fd/%d", descriptor);
    }
    [[nodiscard]] char const * c_str() const noexcept { return text_; }

private:
    char text_[32];
};

// Removes the file if nobody holds it.
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
    // A file that another user has made under this name is refused: that user could shorten it, and the memory would
    // be gone.
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
    // Room is reserved now. Otherwise a later write to the memory would be a fault when the file system is full.
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
    // The file is opened once more for the mapping, because a mapping keeps its open file, and that file's lock, in
    // existence. The lock has to end before the mapping.
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
    // A forked child may have inherited the descriptor; it then still holds the block, and this does nothing.
    if (!path_.empty()) RemoveUnheld(std::exchange(path_, {}));
}

} // namespace KZPlatform
