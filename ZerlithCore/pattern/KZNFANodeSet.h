/// @file
/// A set of small numbers: the nodes in which an automaton may be at the same time.
///
///     KZNFANodeSet nodes;
///     nodes.Insert(3);
///     nodes.Insert(200);
///     for (std::uint32_t const id : nodes) std::cout << id << '\n';      // 3, 200
#pragma once

#include "ZerlithCore/KZExport.h"

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <set>

/// A set of node identifiers. Those up to 127 are bits of the object; only those above are allocated, in a tree.
///
/// Errors: insertions and copies throw std::bad_alloc.
///
/// Thread safety: a const object may be read from any thread.
class KZ_EXPORT KZNFANodeSet {
public:
    static constexpr std::uint32_t None = 0xFFFFFFFFU;

    /// Walks the identifiers in ascending order; valid until the set changes.
    class KZ_EXPORT iterator {
    public:
        using value_type = std::uint32_t;
        using difference_type = std::ptrdiff_t;
        using iterator_category = std::forward_iterator_tag;
        using reference = std::uint32_t;
        using pointer = void;

        iterator() = default;
        std::uint32_t operator*() const { return small_ != None ? small_ : *large_; }
        iterator & operator++();
        iterator operator++(int) {
            iterator const before = *this;
            ++*this;
            return before;
        }
        bool operator==(iterator const & other) const {
            return small_ == other.small_ && large_ == other.large_;
        }

    private:
        friend class KZNFANodeSet;
        KZNFANodeSet const * set_ = nullptr;
        std::uint32_t small_ = None;
        std::set<std::uint32_t>::const_iterator large_;
    };

    KZNFANodeSet() noexcept = default;
    KZNFANodeSet(KZNFANodeSet const & other);
    KZNFANodeSet(KZNFANodeSet &&) noexcept = default;
    KZNFANodeSet & operator=(KZNFANodeSet const & other);
    KZNFANodeSet & operator=(KZNFANodeSet &&) noexcept = default;
    ~KZNFANodeSet() = default;

    /// Inserts an identifier, or all of another set. Returns true when one of them is new.
    bool Insert(std::uint32_t id);
    bool Insert(KZNFANodeSet const & other);
    [[nodiscard]] bool IsInSet(std::uint32_t id) const;
    /// The first identifier of the bitmap, and the one after `id`; `None` when there is none.
    [[nodiscard]] std::uint32_t GetFirstSmallID() const noexcept { return FindSmall(0); }
    [[nodiscard]] std::uint32_t GetNextSmallID(std::uint32_t id) const noexcept {
        return id >= smallEnd ? None : FindSmall(id + 1);
    }
    /// The number of identifiers above 127, which are the ones that take memory.
    [[nodiscard]] std::size_t GetLargeCount() const noexcept { return large_ ? large_->size() : 0; }
    [[nodiscard]] iterator begin() const;
    [[nodiscard]] iterator end() const;

    bool operator==(KZNFANodeSet const & other) const { return std::is_eq(*this <=> other); }
    bool operator<(KZNFANodeSet const & other) const { return std::is_lt(*this <=> other); }

private:
    static constexpr std::uint32_t smallEnd = 128;

    /// Compares the words of the bitmap, starting with the first, then the identifiers above 127.
    std::strong_ordering operator<=>(KZNFANodeSet const & other) const;
    [[nodiscard]] std::uint32_t FindSmall(std::uint32_t from) const noexcept;

    std::array<std::uint32_t, smallEnd / 32> small_{};
    std::unique_ptr<std::set<std::uint32_t>> large_; // null until first needed
};
