/// @file
/// A block of memory that the processes of one user share by name, and that ends with its last holder.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace KZPlatform {

/// One hold on a named block. Move-only.
///
/// The block lives as long as any process holds it; a process that is killed lets go as well. Blocks of different
/// `kind` have names of their own.
class SharedBlock {
public:
    SharedBlock() noexcept = default;
    SharedBlock(SharedBlock && other) noexcept;
    SharedBlock & operator=(SharedBlock && other) noexcept;
    ~SharedBlock() { LetGo(); }

    /// Opens the block of that name or makes it, with `size` bytes that start zeroed. `initialise` fills a new block
    /// before anybody else can see it; `undo` is called for one that nobody will see, since another process was faster.
    /// Returns an error number, 0 for success.
    int Open(char kind, std::u16string_view name, std::size_t size,
             std::function<int(void *)> const & initialise, std::function<void(void *)> const & undo);

    [[nodiscard]] void * Memory() const noexcept { return memory_; }

    /// Gives up the hold and the memory.
    void LetGo() noexcept;

    /// Gives up the hold alone: for memory that is still in use here, in a block that may have ended.
    void GiveUpHold() noexcept;

private:
    int TryOpen(std::string const & path, std::u16string_view name);
    int TryMake(std::string const & path, std::u16string_view name,
                std::function<int(void *)> const & initialise, std::function<void(void *)> const & undo);
    int Map();

    std::string path_;
    void * memory_ = nullptr;
    std::size_t size_ = 0; // of the caller's part
    std::size_t mapped_ = 0;
    int descriptor_ = -1;
};

} // namespace KZPlatform
