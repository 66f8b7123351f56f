/// @file
/// A table from ranges of keys to values.
///
///     KZLookupTable<int, char> grades('F');
///     grades.Assign(50, 80, 'C');                // 50 to 79
///     grades.Assign(70, 101, 'A');               // 70 to 100; 'C' keeps 50 to 69
///     char const grade = grades.Lookup(69);      // 'C'
#pragma once

#include <utility>
#include <vector>

/// One entry of a KZLookupTable: the keys from `low` up to, but not including, `high`.
template <class Key, class Value>
struct KZLookupRange {
    Key low;
    Key high;
    Value value;

    bool operator==(KZLookupRange const &) const = default;
};

/// Maps ranges of keys to values; a key in no range has the default value.
///
/// The ranges are sorted, never empty and don't overlap; neighbours of equal value are merged. A look-up is a binary
/// search; a change moves the ranges after it.
///
/// Errors: functions that change the table throw std::bad_alloc.
///
/// Thread safety: a const object may be read from any thread.
template <class Key, class Value>
class KZLookupTable {
public:
    using Range = KZLookupRange<Key, Value>;
    using const_iterator = typename std::vector<Range>::const_iterator;

    explicit KZLookupTable(Value defaultValue = Value()) : default_(std::move(defaultValue)) {}

    [[nodiscard]] const_iterator begin() const noexcept { return ranges_.begin(); }
    [[nodiscard]] const_iterator end() const noexcept { return ranges_.end(); }
    [[nodiscard]] std::size_t size() const noexcept { return ranges_.size(); }
    [[nodiscard]] bool empty() const noexcept { return ranges_.empty(); }
    void clear() noexcept { ranges_.clear(); }

    /// The value at `key`.
    [[nodiscard]] Value const & Lookup(Key key) const {
        auto const found = FirstBehind(key);
        return found != ranges_.end() && found->low <= key ? found->value : default_;
    }

    /// Gives `value` to the keys from `low` up to, but not including, `high`. Does nothing when the range is empty.
    void Assign(Key low, Key high, Value const & value) {
        if (!(low < high)) return;
        if (ranges_.empty()) {
            ranges_.push_back({low, high, value});
            return;
        }
        // Ranges that only touch the new one are included, so that they can be merged with it.
        auto first =
            FirstNot(ranges_.begin(), ranges_.end(), [&](Range const & range) { return range.high < low; });
        auto last = FirstNot(first, ranges_.end(), [&](Range const & range) { return !(high < range.low); });
        Range fresh{low, high, value};
        Range left = fresh;
        Range right = fresh;
        bool keepLeft = false;
        bool keepRight = false;
        if (first != last) {
            keepLeft = first->low < low && !(first->value == value);
            if (keepLeft)
                left = {first->low, low, first->value};
            else if (first->low < low)
                fresh.low = first->low;
            Range const & back = *(last - 1);
            keepRight = high < back.high && !(back.value == value);
            if (keepRight)
                right = {high, back.high, back.value};
            else if (high < back.high)
                fresh.high = back.high;
        }
        Replace(first, last, keepLeft ? &left : nullptr, &fresh, keepRight ? &right : nullptr);
    }

    /// Removes the keys from `low` up to, but not including, `high`.
    void Erase(Key low, Key high) {
        if (!(low < high)) return;
        auto first = FirstBehind(low);
        auto last = FirstNot(first, ranges_.end(), [&](Range const & range) { return range.low < high; });
        if (first == last) return;
        Range const left{first->low, low, first->value};
        Range const right{high, (last - 1)->high, (last - 1)->value};
        Replace(first, last, left.low < low ? &left : nullptr, nullptr, high < right.high ? &right : nullptr);
    }

    /// Adds a range after all others; `low` must not be below the end of the last one.
    void Append(Key low, Key high, Value const & value) {
        if (!ranges_.empty() && ranges_.back().high == low && ranges_.back().value == value)
            ranges_.back().high = high;
        else
            ranges_.push_back({low, high, value});
    }

    friend bool operator==(KZLookupTable const & a, KZLookupTable const & b) {
        return a.ranges_ == b.ranges_;
    }

private:
    /// A binary search: the first range for which `isBefore` is false.
    template <class Iterator, class Predicate>
    static Iterator FirstNot(Iterator first, Iterator last, Predicate isBefore) {
        while (first != last) {
            Iterator const middle = first + (last - first) / 2;
            if (isBefore(*middle))
                first = middle + 1;
            else
                last = middle;
        }
        return first;
    }
    /// The first range that ends after `key`.
    [[nodiscard]] auto FirstBehind(Key key) const {
        return FirstNot(ranges_.begin(), ranges_.end(),
                        [&](Range const & range) { return !(key < range.high); });
    }
    [[nodiscard]] auto FirstBehind(Key key) {
        return FirstNot(ranges_.begin(), ranges_.end(),
                        [&](Range const & range) { return !(key < range.high); });
    }

    using Place = typename std::vector<Range>::iterator;
    void Replace(Place first, Place last, Range const * a, Range const * b, Range const * c) {
        for (Range const * part : {a, b, c}) {
            if (!part) continue;
            if (first != last) {
                *first++ = *part;
            } else {
                first = ranges_.insert(first, *part) + 1;
                last = first;
            }
        }
        ranges_.erase(first, last);
    }

    std::vector<Range> ranges_;
    Value default_;
};
