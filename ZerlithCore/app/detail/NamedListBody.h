// The functions of NamedList, for the two sources that use them. Not installed.
#pragma once

#include "ZerlithCore/app/detail/KZIgnoreCase.h"
#include "ZerlithCore/app/detail/NamedList.h"

#include <algorithm>
#include <iterator>

namespace KZDetail {

template <class Item, KZString const & (Item::*NameOf)() const noexcept>
Item const * NamedList<Item, NameOf>::Find(KZString const & name, Item const * start) const {
    auto const isNamed = [&name](Item const & item) { return EqualIgnoringCase((item.*NameOf)(), name); };
    if (!start) start = begin();
    if (!index_) return std::find_if(start, end(), isNamed);
    auto place = index_->First(NameIndex::HashOf(name), static_cast<std::size_t>(start - begin()));
    while (place != NameIndex::none && !isNamed(items_[place])) place = index_->Next(place);
    return place == NameIndex::none ? end() : begin() + place;
}

template <class Item, KZString const & (Item::*NameOf)() const noexcept>
Item * NamedList<Item, NameOf>::Insert(Item && item, Item const * position, KZConfigLockableI const * owner) {
    auto const place = position ? position - begin() : end() - begin();
    MakeIndex(items_.size() + 1);
    {
        bool const allMove = items_.size() == items_.capacity();
        Moving const moving(*this, allMove ? 0 : static_cast<std::size_t>(place));
        items_.insert(items_.begin() + place, std::move(item));
    }
    Item & added = items_[static_cast<std::size_t>(place)];
    added.Adopt(owner);
    if (index_) index_->Insert(static_cast<std::size_t>(place), NameIndex::HashOf((added.*NameOf)()));
    // If a caller has assigned another item to one of these, it has the other one's owner now.
    if (!index_ || std::exchange(index_->hasStranger, false))
        for (Item & each : items_)
            if (each.GetOwner() != owner) each.Adopt(owner);
    return &added;
}

template <class Item, KZString const & (Item::*NameOf)() const noexcept>
void NamedList<Item, NameOf>::Erase(Item const * position) noexcept {
    auto const place = position - begin();
    {
        Moving const moving(*this, static_cast<std::size_t>(place));
        items_.erase(items_.begin() + place);
    }
    if (index_) index_->Erase(static_cast<std::size_t>(place));
}

template <class Item, KZString const & (Item::*NameOf)() const noexcept>
void NamedList<Item, NameOf>::Clear() noexcept {
    items_.clear();
    index_.reset();
}

template <class Item, KZString const & (Item::*NameOf)() const noexcept>
void NamedList<Item, NameOf>::Take(std::vector<Item> & source) {
    items_.assign(std::move_iterator(source.begin()), std::move_iterator(source.end()));
    source.clear();
    MakeIndex(items_.size());
}

/// Makes an index if a list of `count` items needs one, with room for them.
template <class Item, KZString const & (Item::*NameOf)() const noexcept>
void NamedList<Item, NameOf>::MakeIndex(std::size_t count) {
    if (index_) return index_->Reserve(count);
    if (count < leastIndexed) return;
    auto index = std::make_unique<NameIndex>();
    index->Reserve(count);
    for (std::size_t place = 0; place < items_.size(); ++place)
        index->Insert(place, NameIndex::HashOf((items_[place].*NameOf)()));
    index->hasStranger = true; // nobody was told until now
    index_ = std::move(index);
    TellPlaces(0, index_.get());
}

template <class Item, KZString const & (Item::*NameOf)() const noexcept>
void NamedList<Item, NameOf>::TellPlaces(std::size_t first, NameIndex * index) noexcept {
    if (!index_) return;
    for (std::size_t place = first; place < items_.size(); ++place)
        items_[place].SetPlace(index, static_cast<NameIndex::Place>(place));
}

} // namespace KZDetail
