// A queue in one block of memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

namespace KZDetail {

/// First in, first out, in a ring that grows when it is full. Small enough that a lock and two of them share a cache line, so
/// that a thread that gets the lock gets them with it.
///
/// `Item` is a handle, which is empty after a move, or a pointer.
template <class Item>
class Fifo {
public:
    [[nodiscard]] bool IsEmpty() const noexcept { return count_ == 0; }
    /// Requires: not empty.
    [[nodiscard]] Item & First() noexcept { return ring_[first_]; }

    /// Makes room for `count` items in all. Errors: std::bad_alloc, without effect.
    void Reserve(std::size_t count) {
        constexpr std::size_t most = std::size_t{1} << 31;
        if (count > most) throw std::bad_alloc();
        std::uint32_t room = 16;
        while (room < count) room *= 2;
        if (room > room_) MoveTo(std::make_unique<Item[]>(room), room);
    }
    /// Errors: std::bad_alloc, without effect. Can't fail as long as there is room.
    void Add(Item && item) {
        if (count_ == room_) Reserve(std::size_t{count_} + 1);
        ring_[Place(count_)] = std::move(item);
        ++count_;
    }
    /// Requires: not empty.
    Item Take() noexcept {
        Item item = std::move(ring_[first_]);
        first_ = Place(1);
        --count_;
        return item;
    }

private:
    /// The place in the ring that is `steps` after the first item; `room_` is a power of 2.
    [[nodiscard]] std::uint32_t Place(std::uint32_t steps) const noexcept {
        return (first_ + steps) & (room_ - 1);
    }

    void MoveTo(std::unique_ptr<Item[]> ring, std::uint32_t room) noexcept {
        for (std::uint32_t i = 0; i < count_; ++i) ring[i] = std::move(ring_[Place(i)]);
        ring_ = std::move(ring);
        room_ = room;
        first_ = 0;
    }

    std::unique_ptr<Item[]> ring_;
    std::uint32_t room_ = 0, first_ = 0, count_ = 0;
};

} // namespace KZDetail
