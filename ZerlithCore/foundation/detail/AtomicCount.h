/// @file
/// A number that threads share, for the headers that everybody includes: <atomic> would take as long to read as all the
/// rest of them.
#pragma once

namespace KZDetail {

/// A counter of references. It costs what std::atomic costs with the orders of memory that such a count needs.
///
/// Thread safety: all operations may be called from any thread.
template <class Integer>
class AtomicCount {
public:
    constexpr AtomicCount(Integer value = 0) noexcept : value_(value) {}
    AtomicCount(AtomicCount const &) = delete;
    AtomicCount & operator=(AtomicCount const &) = delete;

    /// The present value. Whoever reads that an owner has gone also sees what that owner did before.
    [[nodiscard]] Integer load() const noexcept { return __atomic_load_n(&value_, __ATOMIC_ACQUIRE); }
    /// Adds one owner; returns the new count. Orders nothing, because the caller holds a reference already.
    Integer Increment() noexcept { return __atomic_add_fetch(&value_, 1, __ATOMIC_RELAXED); }
    /// Removes one owner; returns the new count. The last owner sees what the others did before they went.
    Integer Decrement() noexcept { return __atomic_sub_fetch(&value_, 1, __ATOMIC_ACQ_REL); }

private:
    Integer value_;
};

} // namespace KZDetail
