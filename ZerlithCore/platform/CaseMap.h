/// @file
/// The simple case maps: one unit in, one unit out, the same in every locale.
///
///     KZPlatform::CaseMap const & upper = KZPlatform::UpperCaseMap();
///     for (char16_t & unit : text) unit = upper(unit);
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace KZPlatform {

/// A map of all 65536 units on units, as differences. Pages of 256 units without a difference share one page of zeros,
/// so that the tables that are in use stay in the nearest cache.
///
/// Thread safety: constant once built.
class CaseMap {
public:
    static constexpr unsigned PageSize = 256;
    using Page = std::array<char16_t, PageSize>;

    /// Takes what `map`, a function from unit to unit, says about every unit.
    template <class Map>
    explicit CaseMap(Map map);

    char16_t operator()(char16_t unit) const noexcept {
        return static_cast<char16_t>(unit + pages_[pageOf_[unit / PageSize]][unit % PageSize]);
    }

private:
    std::array<std::uint8_t, PageSize> pageOf_{};
    std::vector<Page> pages_;
};

/// The maps of the platform's neutral locale, read on first use; they live as long as the process. A unit without a
/// map, or whose map isn't one unit, stays.
[[nodiscard]] CaseMap const & UpperCaseMap() noexcept;
[[nodiscard]] CaseMap const & LowerCaseMap() noexcept;

template <class Map>
CaseMap::CaseMap(Map map) : pages_(1) { // the page of zeros
    for (unsigned high = 0; high < PageSize; ++high) {
        Page page;
        bool hasDifference = false;
        for (unsigned low = 0; low < PageSize; ++low) {
            auto const unit = static_cast<char16_t>(high * PageSize + low);
            page[low] = static_cast<char16_t>(map(unit) - unit);
            hasDifference = hasDifference || page[low] != 0;
        }
        if (!hasDifference) continue;
        pageOf_[high] = static_cast<std::uint8_t>(pages_.size());
        pages_.push_back(page);
    }
}

} // namespace KZPlatform
