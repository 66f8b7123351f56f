// The logic that KZRawVector and KZVoidPtrVector share. Each has `Unit` (the type to which its pointers point),
// `Stride` (units of one element), the three pointers, and the hooks that copy, fill, allocate and free; the algorithms
// here use nothing else, and are compiled once for each of the two.
//
// A value or a range that is passed may lie in the vector itself. When the block is replaced, the old one is freed only
// after everything has been copied. When elements move up in place, `Shift` gives the new place of a pointer to one of
// them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <stdexcept>

namespace KZDetail {

/// A block of `bytes` zero bytes; never null.
inline void * AllocZeroed(std::size_t count, std::size_t bytes) {
    void * const block = std::calloc(std::max<std::size_t>(count, 1), bytes);
    if (!block) throw std::bad_alloc();
    return block;
}

template <class Vector>
struct VectorCore {
    using Unit = typename Vector::Unit;
    using Source = Unit const *;

    /// The new place of a pointer into the vector, after the units from `tail` to `end` have moved up by `distance`.
    struct Shift {
        Source tail;
        Source end;
        std::ptrdiff_t distance;

        Source operator()(Source place) const noexcept {
            return place >= tail && place < end ? place + distance : place;
        }
    };

    static std::ptrdiff_t Units(Vector const & v, unsigned int count) noexcept {
        return static_cast<std::ptrdiff_t>(count) * v.Stride();
    }
    static unsigned int Count(Vector const & v, Source first, Source last) noexcept {
        return static_cast<unsigned int>(static_cast<std::size_t>(last - first) / v.Stride());
    }

    static unsigned int GrownCapacity(Vector const & v, unsigned int count) {
        unsigned int const size = v.size();
        unsigned int const limit = v.max_size() - size;
        if (count > limit) throw std::length_error("vector<T> too long");
        unsigned int const growth = size < 100001U ? size / 2 : size / 10;
        return size + std::min(std::max(growth, count), limit);
    }

    static void SetBlock(Vector & v, Unit * block, Unit * last, unsigned int capacity) noexcept {
        v.first_ = block;
        v.last_ = last;
        v.end_ = block + Units(v, capacity);
    }

    /// Fills a vector without a block.
    static void CopyFrom(Vector & v, Vector const & other) {
        unsigned int const count = other.size();
        if (count == 0) return;
        Unit * const block = v.Alloc(count);
        SetBlock(v, block, v.OptCopy(other.first_, other.last_, block), count);
    }

    static void Reserve(Vector & v, unsigned int count) {
        if (count <= v.capacity()) return;
        if (count > v.max_size()) throw std::length_error("vector<T> too long");
        Unit * const block = v.Alloc(count);
        Unit * const last = v.OptCopy(v.first_, v.last_, block);
        v.DeAlloc();
        SetBlock(v, block, last, count);
    }

    /// Opens a gap of `count` elements at `where`; `fill(gap, shift)` writes them.
    template <class Fill>
    static void Insert(Vector & v, Unit * where, unsigned int count, Fill fill) {
        if (count == 0) return;
        std::ptrdiff_t const span = Units(v, count);
        if (count <= v.capacity() - v.size()) {
            v.OptCopy(where, v.last_, where + span);
            fill(where, Shift{where, v.last_, span});
            v.last_ += span;
            return;
        }
        unsigned int const capacity = GrownCapacity(v, count);
        Unit * const block = v.Alloc(capacity);
        Unit * const gap = v.OptCopy(v.first_, where, block);
        fill(gap, Shift{nullptr, nullptr, 0});
        Unit * const last = v.OptCopy(where, v.last_, gap + span);
        v.DeAlloc();
        SetBlock(v, block, last, capacity);
    }

    static void InsertRange(Vector & v, Unit * where, Source first, Source last) {
        Insert(v, where, Count(v, first, last), [&](Unit * gap, Shift const & shift) {
            // A range that begins before `where` and ends after it lies in two pieces since the tail has moved.
            Source const cut = first < shift.tail && shift.tail < last ? shift.tail : first;
            gap = v.OptCopy(first, cut, gap);
            if (cut != last) v.OptCopy(shift(cut), shift(cut) + (last - cut), gap);
        });
    }

    static Unit * Erase(Vector & v, Unit * first, Unit * last) {
        if (first != last) v.last_ = v.OptCopy(last, v.last_, first);
        return first;
    }

    template <class Value>
    static void Resize(Vector & v, unsigned int count, Value value) {
        if (count > v.size()) {
            v.insert(v.last_, count - v.size(), value);
        } else {
            v.erase(v.first_ + Units(v, count), v.last_);
        }
    }

    // Assigning overwrites the present elements first and grows or shrinks afterwards: so the source may lie in the
    // vector. Where the block is too small a new one is filled, so that a failure changes nothing.

    /// Replaces the block by a larger one for `count` elements; `fill(block)` writes them and returns their end.
    template <class Fill>
    static void Replace(Vector & v, unsigned int count, Fill fill) {
        unsigned int const capacity = GrownCapacity(v, count - v.size());
        Unit * const block = v.Alloc(capacity);
        Unit * const last = fill(block);
        v.DeAlloc();
        SetBlock(v, block, last, capacity);
    }

    static void AssignRange(Vector & v, Source first, Source last) {
        unsigned int const count = Count(v, first, last);
        if (count > v.capacity())
            return Replace(v, count, [&](Unit * block) { return v.OptCopy(first, last, block); });
        std::ptrdiff_t const common = Units(v, std::min(count, v.size()));
        Unit * const rest = v.OptCopy(first, first + common, v.first_);
        if (count > v.size()) {
            v.insert(v.last_, first + common, last);
        } else {
            v.erase(rest, v.last_);
        }
    }

    template <class Value>
    static void AssignCount(Vector & v, unsigned int count, Value value) {
        if (count > v.capacity())
            return Replace(v, count, [&](Unit * block) {
                v.OptFill(block, count, value);
                return block + Units(v, count);
            });
        v.OptFill(v.first_, std::min(count, v.size()), value);
        Resize(v, count, value);
    }

    template <class Value>
    static Unit * InsertOne(Vector & v, Unit * where, Value value) {
        std::ptrdiff_t const offset = where - v.first_;
        v.insert(where, 1U, value);
        return v.first_ + offset;
    }
};

} // namespace KZDetail
