#include "ZerlithCore/app/detail/NameIndex.h"

#include "ZerlithCore/app/detail/KZIgnoreCase.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

namespace KZDetail {

namespace {

constexpr std::size_t unitsOfWord = sizeof(std::uint64_t) / sizeof(char16_t);

constexpr std::uint64_t InEachUnit(std::uint64_t unit) { return unit * 0x0001'0001'0001'0001; }

/// Four units as a word, small letters as capitals. The sums set bit 7 of each unit that is at least "a" and of each above "z".
std::uint64_t FoldedWord(char16_t const * units) {
    std::uint64_t word;
    std::memcpy(&word, units, sizeof word);
    if ((word & InEachUnit(0xFF80)) == 0) {
        std::uint64_t const small = (word + InEachUnit(0x80 - u'a')) & ~(word + InEachUnit(0x7F - u'z'));
        return word ^ ((small & InEachUnit(0x80)) >> 2);
    }
    char16_t folded[unitsOfWord];
    std::transform(units, units + unitsOfWord, folded, KZtowupper);
    std::memcpy(&word, folded, sizeof word);
    return word;
}

} // namespace

/// Names of other lengths differ anyway, so 0 units fill the last word.
std::uint32_t NameIndex::HashOf(KZString const & name) noexcept {
    std::u16string_view text(name);
    std::uint64_t hash = text.size();
    auto const add = [&hash](char16_t const * units) {
        hash = (hash ^ FoldedWord(units)) * 0x9E37'79B9'7F4A'7C15;
        hash ^= hash >> 32;
    };
    for (; text.size() >= unitsOfWord; text.remove_prefix(unitsOfWord)) add(text.data());
    char16_t last[unitsOfWord] = {};
    std::copy(text.begin(), text.end(), last);
    add(last);
    return static_cast<std::uint32_t>(hash);
}

void NameIndex::Reserve(std::size_t count) {
    if (count > entries_.capacity()) entries_.reserve(std::max(count, 2 * entries_.capacity()));
    if (count <= chains_.size()) return;
    chains_ = std::vector<Chain>(std::bit_ceil(count));
    for (Place place = 0; place < entries_.size(); ++place) Link(place);
}

void NameIndex::Insert(std::size_t place, std::uint32_t hash) noexcept {
    Place const at = static_cast<Place>(place);
    if (at < entries_.size()) Shift(at, 1);
    entries_.insert(entries_.begin() + at, Entry{hash, none, none});
    Link(at);
}

void NameIndex::Erase(std::size_t place) noexcept {
    Place const at = static_cast<Place>(place);
    Unlink(at);
    entries_.erase(entries_.begin() + at);
    if (at < entries_.size()) Shift(at, static_cast<std::uint32_t>(-1));
}

void NameIndex::Rename(Place place, KZString const & name) noexcept {
    std::uint32_t const hash = HashOf(name);
    if (hash == entries_[place].hash) return;
    Unlink(place);
    entries_[place].hash = hash;
    Link(place);
}

/// A search that goes on behind the item that it has found last, as one for all items of a name does, goes on in the chain.
NameIndex::Place NameIndex::First(std::uint32_t hash, std::size_t start) const noexcept {
    std::size_t const chain = ChainOf(hash);
    bool const isBehind = start > 0 && ChainOf(entries_[start - 1].hash) == chain;
    Place place = isBehind ? entries_[start - 1].next : chains_[chain].first;
    while (place != none && (place < start || entries_[place].hash != hash)) place = entries_[place].next;
    return place;
}

NameIndex::Place NameIndex::Next(Place place) const noexcept {
    return First(entries_[place].hash, std::size_t{place} + 1);
}

/// Goes back from the end of the chain, which is where most places belong.
void NameIndex::Link(Place place) noexcept {
    Entry & entry = entries_[place];
    Chain & chain = chains_[ChainOf(entry.hash)];
    entry.next = none;
    entry.previous = chain.last;
    while (entry.previous != none && entry.previous > place) {
        entry.next = entry.previous;
        entry.previous = entries_[entry.previous].previous;
    }
    (entry.previous == none ? chain.first : entries_[entry.previous].next) = place;
    (entry.next == none ? chain.last : entries_[entry.next].previous) = place;
}

void NameIndex::Unlink(Place place) noexcept {
    Entry const & entry = entries_[place];
    Chain & chain = chains_[ChainOf(entry.hash)];
    (entry.previous == none ? chain.first : entries_[entry.previous].next) = entry.next;
    (entry.next == none ? chain.last : entries_[entry.next].previous) = entry.previous;
}

/// Adds `by` to all places from `from` on.
void NameIndex::Shift(Place from, std::uint32_t by) noexcept {
    auto const shift = [from, by](Place & place) { place += place >= from && place != none ? by : 0; };
    for (Entry & entry : entries_) shift(entry.previous), shift(entry.next);
    for (Chain & chain : chains_) shift(chain.first), shift(chain.last);
}

} // namespace KZDetail
