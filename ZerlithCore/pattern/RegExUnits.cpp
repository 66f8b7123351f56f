// The ends of all ranges cut the units into intervals. Each set then takes its intervals out of their classes: those of
// a class that are in the set become a new class.
#include "ZerlithCore/pattern/detail/RegExUnits.h"

#include <algorithm>

namespace KZDetail {

RegExUnits::RegExUnits(RegExSets const & sets) : sets_(sets) {
    MakeIntervals();
    SplitByIntervals();
    MakeMasks();
    MakePages();
}

void RegExUnits::MakeIntervals() {
    std::vector<char16_t> starts;
    starts.reserve(3 + 4 * std::size_t{sets_.GetCount()});
    starts.assign({0, 1, 0xFFFE});
    for (std::uint32_t id = 0; id < sets_.GetCount(); ++id)
        for (auto range = sets_[id].GetBegin(); range != sets_[id].GetEnd(); ++range) {
            starts.push_back(range->low);
            if (range->high < 0xFFFE) starts.push_back(range->high);
        }
    std::ranges::sort(starts);
    starts.erase(std::unique(starts.begin(), starts.end()), starts.end());
    while (starts.back() > 0xFFFE) starts.pop_back();
    intervals_.reserve(starts.size());
    for (std::size_t i = 0; i < starts.size(); ++i) {
        auto const last = static_cast<char16_t>(i + 1 < starts.size() ? starts[i + 1] - 1 : 0xFFFF);
        intervals_.push_back({starts[i], last, IsOdd(starts[i]) ? odd : 1});
    }
}

template <class Function>
void RegExUnits::ForEachIn(KZUWCharSet const & set, Function function) {
    for (auto range = set.GetBegin(); range != set.GetEnd(); ++range) {
        auto interval = std::ranges::lower_bound(intervals_, range->low, {}, &Interval::low);
        for (; interval != intervals_.end() && interval->low < range->high; ++interval)
            if (!IsOdd(interval->low)) function(*interval);
    }
}

void RegExUnits::SplitByIntervals() {
    struct Split {
        std::uint32_t set = none; // the last set that has split the class
        std::uint32_t into = 0;
    };
    std::vector<Split> splits;
    splits.reserve(2 + 2 * std::size_t{sets_.GetCount()});
    splits.resize(2);
    for (std::uint32_t id = 0; id < sets_.GetCount(); ++id)
        ForEachIn(sets_[id], [&](Interval & interval) {
            Split & split = splits[interval.unitClass];
            if (split.set != id) split = {id, static_cast<std::uint32_t>(splits.size())};
            interval.unitClass = split.into;
            if (interval.unitClass == splits.size()) splits.emplace_back();
        });
    // Classes that have lost all intervals have no number any more.
    std::vector<std::uint32_t> numbers(splits.size(), none);
    numbers[odd] = odd;
    samples_.push_back(0);
    for (Interval & interval : intervals_) {
        areAllUsed_ &= interval.unitClass != 1; // no set has taken it
        std::uint32_t & number = numbers[interval.unitClass];
        if (number == none) {
            number = GetCount();
            samples_.push_back(interval.low);
        }
        interval.unitClass = number;
    }
}

void RegExUnits::MakeMasks() {
    if (GetCount() > 64) return;
    masks_.resize(sets_.GetCount());
    for (std::uint32_t id = 0; id < sets_.GetCount(); ++id)
        ForEachIn(sets_[id],
                  [&](Interval const & interval) { masks_[id] |= std::uint64_t{1} << interval.unitClass; });
}

// Pages that lie inside of one interval share the entries of their class.
void RegExUnits::MakePages() {
    constexpr std::uint16_t nowhere = 0xFFFF;
    std::vector<std::uint16_t> whole(GetCount(), nowhere); // the page that each class shares
    classes_.reserve(3 * 256);
    auto const add = [this](std::uint32_t count, std::uint32_t unitClass) {
        classes_.insert(classes_.end(), count, static_cast<std::uint16_t>(unitClass));
    };
    for (Interval const & interval : intervals_) {
        for (std::uint32_t unit = interval.low; unit <= interval.high;) {
            std::uint32_t const end = std::min<std::uint32_t>(interval.high + 1U, (unit | 0xFFU) + 1);
            std::uint32_t const page = unit >> 8;
            if (unit % 256 == 0) pages_[page] = static_cast<std::uint16_t>(classes_.size() / 256);
            if (end - unit < 256) {
                add(end - unit, interval.unitClass);
                unit = end;
                continue;
            }
            std::uint32_t const pageEnd = (interval.high + 1U) >> 8;
            if (whole[interval.unitClass] == nowhere) {
                whole[interval.unitClass] = pages_[page];
                add(256, interval.unitClass);
            }
            std::fill(pages_.begin() + page, pages_.begin() + pageEnd, whole[interval.unitClass]);
            unit = pageEnd << 8;
        }
    }
}

} // namespace KZDetail
