#include "ZerlithCore/pattern/KZNFANodeSet.h"

#include <algorithm>
#include <bit>

KZNFANodeSet::iterator & KZNFANodeSet::iterator::operator++() {
    if (small_ != None)
        small_ = set_->GetNextSmallID(small_);
    else
        ++large_;
    return *this;
}

KZNFANodeSet::KZNFANodeSet(KZNFANodeSet const & other)
    : small_(other.small_)
    , large_(other.large_ ? std::make_unique<std::set<std::uint32_t>>(*other.large_) : nullptr) {}

KZNFANodeSet & KZNFANodeSet::operator=(KZNFANodeSet const & other) {
    if (this != &other) *this = KZNFANodeSet(other);
    return *this;
}

bool KZNFANodeSet::Insert(std::uint32_t id) {
    if (id < smallEnd) {
        std::uint32_t const bit = 1U << id % 32;
        bool const isNew = !(small_[id / 32] & bit);
        small_[id / 32] |= bit;
        return isNew;
    }
    if (!large_) large_ = std::make_unique<std::set<std::uint32_t>>();
    return large_->insert(id).second;
}

bool KZNFANodeSet::Insert(KZNFANodeSet const & other) {
    bool isNew = false;
    for (std::size_t i = 0; i < small_.size(); ++i) {
        isNew |= (other.small_[i] & ~small_[i]) != 0;
        small_[i] |= other.small_[i];
    }
    if (other.large_ && this != &other)
        for (std::uint32_t const id : *other.large_) isNew |= Insert(id);
    return isNew;
}

bool KZNFANodeSet::IsInSet(std::uint32_t id) const {
    if (id < smallEnd) return (small_[id / 32] >> id % 32 & 1U) != 0;
    return large_ && large_->contains(id);
}

KZNFANodeSet::iterator KZNFANodeSet::begin() const {
    iterator first = end();
    first.small_ = GetFirstSmallID();
    if (large_) first.large_ = large_->begin();
    return first;
}

KZNFANodeSet::iterator KZNFANodeSet::end() const {
    iterator last;
    last.set_ = this;
    if (large_) last.large_ = large_->end();
    return last;
}

std::strong_ordering KZNFANodeSet::operator<=>(KZNFANodeSet const & other) const {
    if (auto const order = small_ <=> other.small_; std::is_neq(order)) return order;
    bool const isEmpty = !large_ || large_->empty();
    bool const isOtherEmpty = !other.large_ || other.large_->empty();
    if (isEmpty || isOtherEmpty) return isOtherEmpty <=> isEmpty;
    return std::lexicographical_compare_three_way(large_->begin(), large_->end(), other.large_->begin(),
                                                  other.large_->end());
}

std::uint32_t KZNFANodeSet::FindSmall(std::uint32_t from) const noexcept {
    for (std::uint32_t word = from / 32; word < small_.size(); ++word) {
        std::uint32_t const bits =
            word == from / 32 ? small_[word] & (0xFFFFFFFFU << from % 32) : small_[word];
        if (bits != 0) return word * 32 + static_cast<std::uint32_t>(std::countr_zero(bits));
    }
    return None;
}
