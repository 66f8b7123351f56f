/// @file
/// The lists of KZConfigSection and KZConfigFile. Installed only because they contain them.
#pragma once

#include "ZerlithCore/app/KZConfigLockable.h"
#include "ZerlithCore/app/detail/NameIndex.h"
#include "ZerlithCore/text/KZString.h"

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace KZDetail {

/// Items in one block of memory. A long list has an index of their names.
///
/// A position is an item of the list or its end; null is the end for adding, and the beginning for searching.
/// Errors: std::bad_alloc, and nothing has changed. Thread safety: searches may run at the same time as each other.
template <class Item, KZString const & (Item::*NameOf)() const noexcept>
class NamedList {
public:
    NamedList() noexcept = default;
    NamedList(NamedList const & other) : items_(other.items_) { MakeIndex(items_.size()); }
    NamedList(NamedList && other) noexcept = default;
    NamedList & operator=(NamedList && other) noexcept = default;

    [[nodiscard]] Item * begin() noexcept { return items_.data(); }
    [[nodiscard]] Item * end() noexcept { return items_.data() + items_.size(); }
    [[nodiscard]] Item const * begin() const noexcept { return items_.data(); }
    [[nodiscard]] Item const * end() const noexcept { return items_.data() + items_.size(); }

    /// The first item of this name at or behind `start`, ignoring case; the end if there is none.
    [[nodiscard]] Item const * Find(KZString const & name, Item const * start) const;
    /// Inserts before `position`. The item, and any whose owner was changed, belongs to `owner` then and has no locks.
    Item * Insert(Item && item, Item const * position, KZConfigLockableI const * owner);
    void Erase(Item const * position) noexcept;
    void Clear() noexcept;
    /// Moves all items of `source` here, into a block of exactly their number; `source` keeps its own memory.
    /// Requires: this list is empty. After an error the items are lost.
    void Take(std::vector<Item> & source);

private:
    /// In shorter lists a search from item to item is as fast.
    static constexpr std::size_t leastIndexed = 32;

    /// While one exists, the items from `first` on don't know their places: what moves then isn't told to the index.
    class Moving {
    public:
        Moving(NamedList & list, std::size_t first) : list_(list), first_(first) {
            list_.TellPlaces(first_, nullptr);
        }
        Moving(Moving const &) = delete;
        Moving & operator=(Moving const &) = delete;
        ~Moving() { list_.TellPlaces(first_, list_.index_.get()); }

    private:
        NamedList & list_;
        std::size_t first_;
    };

    void MakeIndex(std::size_t count);
    void TellPlaces(std::size_t first, NameIndex * index) noexcept;

    std::vector<Item> items_;
    std::unique_ptr<NameIndex> index_; // null while the list is short
};

} // namespace KZDetail
