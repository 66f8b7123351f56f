// Units in classes: those that are in the same sets of a pattern lead to the same places and count as one. For
// "[a-f]x" the classes are a to f, x, and the rest.
#pragma once

#include "ZerlithCore/pattern/detail/RegExNFA.h"

#include <array>
#include <cstdint>
#include <vector>

namespace KZDetail {

class RegExUnits {
public:
    // The class of 0, U+FFFE and U+FFFF, which are handled apart: 0 ends a text, and the others may be in no set.
    static constexpr std::uint32_t odd = 0;
    static constexpr bool IsOdd(char16_t unit) noexcept { return static_cast<char16_t>(unit + 2) <= 2; }

    // A range of units that belong to one class.
    struct Interval {
        char16_t low;
        char16_t high; // included
        std::uint32_t unitClass;
    };

    // Keeps a reference to `sets`.
    explicit RegExUnits(RegExSets const & sets);

    [[nodiscard]] std::uint32_t GetCount() const noexcept {
        return static_cast<std::uint32_t>(samples_.size());
    }
    [[nodiscard]] std::uint32_t ClassOf(char16_t unit) const noexcept {
        return classes_[std::uint32_t{pages_[unit >> 8]} * 256 + (unit & 0xFFU)];
    }
    // The same for a unit below 256.
    [[nodiscard]] std::uint32_t ClassOfLow(char16_t unit) const noexcept { return classes_[unit]; }
    // True when the units of a class are in a set. Requires: not the odd class.
    [[nodiscard]] bool IsIn(std::uint32_t unitClass, std::uint32_t set) const {
        return masks_.empty() ? sets_[set].IsInSet(samples_[unitClass]) : (masks_[set] >> unitClass & 1) != 0;
    }
    // True when each unit is in some set of the pattern.
    [[nodiscard]] bool AreAllUsed() const noexcept { return areAllUsed_; }
    // One unit of each class.
    [[nodiscard]] std::vector<char16_t> const & GetSamples() const noexcept { return samples_; }
    // All intervals in order.
    [[nodiscard]] std::vector<Interval> const & GetIntervals() const noexcept { return intervals_; }

private:
    void MakeIntervals();
    void SplitByIntervals();
    void MakeMasks();
    void MakePages();
    // Calls `function(interval)` for each interval of a set that isn't odd.
    template <class Function>
    void ForEachIn(KZUWCharSet const & set, Function function);

    RegExSets const & sets_;
    bool areAllUsed_ = true;
    std::vector<Interval> intervals_;
    std::vector<char16_t> samples_;
    std::vector<std::uint64_t> masks_; // of the classes in each set; empty if there are more than 64 classes
    std::array<std::uint16_t, 256> pages_{}; // which 256 entries of classes_ belong to each page of 256 units
    std::vector<std::uint16_t> classes_;     // the class of each unit, by pages, the first page first
};

} // namespace KZDetail
