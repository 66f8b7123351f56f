/// @file
/// A set of values, kept as sorted ranges.
///
///     KZRangeSet<int> days;
///     days.Add(1, 32);               // 1 to 31
///     days.Del(10, 20);
///     bool const is20 = days.IsInSet(20);        // true
///     int const count = days.GetKeyLength();     // 21
#pragma once

#include "ZerlithCore/pattern/KZLookupTable.h"

#include <utility>

/// A set of keys. A range doesn't include its end, so the greatest value of `T` can't be in a set.
///
/// Errors: functions that change the set throw std::bad_alloc.
///
/// Thread safety: a const object may be read from any thread.
template <class T>
class KZRangeSet {
public:
    using Table = KZLookupTable<T, bool>;
    using const_iterator = typename Table::const_iterator;

    /// Adds, or removes, the keys from `low` up to, but not including, `high`. An empty range does nothing.
    void Add(T low, T high) { table_.Assign(low, high, true); }
    void Del(T low, T high) { table_.Erase(low, high); }
    void Clear() noexcept { table_.clear(); }

    [[nodiscard]] bool IsEmpty() const noexcept { return table_.empty(); }
    [[nodiscard]] bool IsInSet(T key) const { return table_.Lookup(key); }
    /// The number of keys, counted in `T`.
    [[nodiscard]] T GetKeyLength() const {
        T sum{};
        for (auto const & range : table_) sum = static_cast<T>(sum + (range.high - range.low));
        return sum;
    }
    /// The ranges in order.
    [[nodiscard]] const_iterator GetBegin() const noexcept { return table_.begin(); }
    [[nodiscard]] const_iterator GetEnd() const noexcept { return table_.end(); }

    /// Union, difference and intersection.
    KZRangeSet & operator|=(KZRangeSet const & other) {
        if (this != &other)
            for (auto const & range : other.table_) Add(range.low, range.high);
        return *this;
    }
    KZRangeSet & operator/=(KZRangeSet const & other) {
        if (this == &other) {
            Clear();
        } else {
            for (auto const & range : other.table_) Del(range.low, range.high);
        }
        return *this;
    }
    KZRangeSet & operator&=(KZRangeSet const & other) {
        if (this == &other) return *this;
        Table const mine = table_;
        table_.clear();
        ComputeIntersection(table_, mine, other.table_);
        return *this;
    }
    /// Becomes the intersection of `a` and `b`, and removes it from both.
    void ComputeDifference(KZRangeSet & a, KZRangeSet & b) {
        Table common(false);
        ComputeIntersection(common, a.table_, b.table_);
        for (auto const & range : common) {
            a.Del(range.low, range.high);
            b.Del(range.low, range.high);
        }
        table_ = std::move(common);
    }

    /// True when the sets share a key.
    [[nodiscard]] bool operator&(KZRangeSet const & other) const {
        auto a = GetBegin();
        auto b = other.GetBegin();
        while (a != GetEnd() && b != other.GetEnd()) {
            if (a->low < b->high && b->low < a->high) return true;
            a->high < b->high ? ++a : ++b;
        }
        return false;
    }
    friend bool operator==(KZRangeSet const & a, KZRangeSet const & b) { return a.table_ == b.table_; }
    /// Compares range by range, first the low ends, then the high ones. When all ranges of one set are those with which
    /// the other begins, the shorter set comes first.
    friend bool operator<(KZRangeSet const & a, KZRangeSet const & b) {
        auto left = a.GetBegin();
        auto right = b.GetBegin();
        for (; left != a.GetEnd() && right != b.GetEnd(); ++left, ++right) {
            if (left->low != right->low) return left->low < right->low;
            if (left->high != right->high) return left->high < right->high;
        }
        return left == a.GetEnd() && right != b.GetEnd();
    }

protected:
    /// Appends the overlaps of two tables to the empty `result`.
    static void ComputeIntersection(Table & result, Table const & a, Table const & b) {
        auto left = a.begin();
        auto right = b.begin();
        while (left != a.end() && right != b.end()) {
            T const low = left->low < right->low ? right->low : left->low;
            T const high = right->high < left->high ? right->high : left->high;
            if (low < high) result.Append(low, high, true);
            left->high < right->high ? ++left : ++right;
        }
    }

private:
    Table table_{false};
};
