/// @file
/// An index of the names in a list, for KZConfigSection and KZConfigFile. Installed only because they contain lists.
#pragma once

#include "ZerlithCore/text/KZString.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace KZDetail {

/// Finds the places of a name in a list, in the order of the list and ignoring case.
///
/// Places whose names have the same hash are linked into a chain, in ascending order. Finding, and adding and removing at the
/// end, take the same time whatever the length of the list; changes in the middle renumber the places behind them. A search
/// never looks at more names than a search from item to item would.
///
/// The items know their index and tell it when their name changes (KZConfigLockable::Renamed), so it is always true and a search
/// changes nothing. Thread safety: searches may run at the same time as each other.
class NameIndex {
public:
    using Place = std::uint32_t;
    static constexpr Place none = 0xFFFFFFFF;

    /// Equal for names that differ in case only.
    [[nodiscard]] static std::uint32_t HashOf(KZString const & name) noexcept;

    /// Makes room, so that additions up to `count` names can't fail. Errors: std::bad_alloc, and nothing has changed.
    void Reserve(std::size_t count);
    /// Requires: room.
    void Insert(std::size_t place, std::uint32_t hash) noexcept;
    void Erase(std::size_t place) noexcept;
    /// The item at `place` has another name now.
    void Rename(Place place, KZString const & name) noexcept;

    /// The first place at or behind `start` whose name has this hash, and the next one; `none` if there is none.
    [[nodiscard]] Place First(std::uint32_t hash, std::size_t start) const noexcept;
    [[nodiscard]] Place Next(Place place) const noexcept;

    /// True when an item may have another owner than the list's.
    bool hasStranger = false;

private:
    struct Entry {
        std::uint32_t hash;
        Place previous, next; // in the chain
    };
    struct Chain {
        Place first = none, last = none;
    };

    [[nodiscard]] std::size_t ChainOf(std::uint32_t hash) const noexcept {
        return hash & (chains_.size() - 1);
    }
    void Link(Place place) noexcept;
    void Unlink(Place place) noexcept;
    void Shift(Place from, std::uint32_t by) noexcept;

    std::vector<Entry> entries_; // of the items, in their order
    std::vector<Chain> chains_;  // their number is a power of two
};

} // namespace KZDetail
