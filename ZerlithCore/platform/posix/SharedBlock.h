/// @file
/// A block of memory that the processes of one user share by name. It exists as long as some process holds it.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace KZPlatform {

/// One process's hold on a named block. Move-only.
///
/// The block exists as long as any process holds it; a process that ends or is killed holds it no more. Blocks of
/// different `kind` may have the same name.
class SharedBlock {
public:
    SharedBlock() noexcept = default;
    SharedBlock(SharedBlock && other) noexcept;
    SharedBlock & operator=(SharedBlock && other) noexcept;
    ~SharedBlock() { LetGo(); }

    /// Opens the block of that name, or makes it with `size` bytes that are zero. `initialise` fills a new block
    /// before anybody else can see it. If another process makes the block at the same time and is faster, the new one
    /// is dropped, after a call of `undo`. Returns an error number, 0 for success.
    int Open(char kind, std::u16string_view name, std::size_t size,
             std::function<int(void *)> const & initialise, std::function<void(void *)> const & undo);

    [[nodiscard]] void * Memory() const noexcept { return memory_; }

    /// Gives up the hold and unmaps the memory.
    void LetGo() noexcept;

    /// Gives up the hold but keeps the memory mapped, for memory that is still used here.
    void GiveUpHold() noexcept;

private:
    int TryOpen(std::string const & path, std::u16string_view name);
    int TryMake(std::string const & path, std::u16string_view name,
                std::function<int(void *)> const & initialise, std::function<void(void *)> const & undo);
    int Map();

    std::string path_;
    void * memory_ = nullptr;
    std::size_t size_ = 0; // of the part that the caller uses
    std::size_t mapped_ = 0;
    int descriptor_ = -1;
};

} // namespace KZPlatform
