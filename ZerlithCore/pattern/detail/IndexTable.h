// A hash table of numbers under which its user keeps things elsewhere, as in a vector.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace KZDetail {

// No number: of a node, a set, a thing in a table.
inline constexpr std::uint32_t none = 0xFFFFFFFFU;

// Mixes `value` into `hash`.
inline std::size_t AddToHash(std::size_t hash, std::size_t value) noexcept {
    hash = (hash ^ value) * 0x9E3779B97F4A7C15U;
    return hash ^ hash >> 29;
}

// The user computes the hashes and compares the things; numbers are added once and never removed one by one.
class IndexTable {
public:
    // Returns the number with this hash for which `isEqual(number)` is true, or `none`.
    template <class IsEqual>
    [[nodiscard]] std::uint32_t Find(std::size_t hash, IsEqual isEqual) const {
        if (slots_.empty()) return none;
        for (std::size_t at = hash & (slots_.size() - 1); slots_[at].index != none;
             at = (at + 1) & (slots_.size() - 1))
            if (slots_[at].hash == static_cast<std::uint32_t>(hash) && isEqual(slots_[at].index))
                return slots_[at].index;
        return none;
    }
    // Errors: std::bad_alloc, and the table is unchanged.
    void Add(std::size_t hash, std::uint32_t index) {
        if (2 * (count_ + 1) > slots_.size()) Grow();
        Put(slots_, {static_cast<std::uint32_t>(hash), index});
        ++count_;
    }
    void Clear() noexcept {
        slots_.clear();
        count_ = 0;
    }

private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t index = none;
    };

    void Grow() {
        std::vector<Slot> larger(slots_.empty() ? 32 : 4 * slots_.size());
        for (Slot const & slot : slots_)
            if (slot.index != none) Put(larger, slot);
        slots_.swap(larger);
    }
    static void Put(std::vector<Slot> & slots, Slot slot) {
        std::size_t at = slot.hash & (slots.size() - 1);
        while (slots[at].index != none) at = (at + 1) & (slots.size() - 1);
        slots[at] = slot;
    }

    std::vector<Slot> slots_; // the number of slots is a power of two
    std::size_t count_ = 0;
};

} // namespace KZDetail
