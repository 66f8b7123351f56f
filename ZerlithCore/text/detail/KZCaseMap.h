/// @file
/// The simple case maps of Unicode, which map one unit to one unit, the same in every locale.
///
///     for (char16_t & unit : text) unit = KZDetail::upperCaseMap(unit);
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace KZDetail {

/// A map from each of the 65536 units to a unit, stored as the difference of the two. Pages of 256 units that all map
/// to themselves share one page of zeros, so that the table is small and stays in the cache.
class CaseMap {
public:
    /// `count` units from `first` on, `step` apart, each of which maps to the unit `distance` higher. The capital
    /// letters A to Z, for instance, are {u'A', 32, 26, 1} in the map to lower case.
    struct Run {
        char16_t first;
        int distance;
        unsigned char count;
        unsigned char step;
    };

    template <std::size_t Count>
    consteval explicit CaseMap(Run const (&runs)[Count]) {
        std::size_t used = 1; // the page of zeros
        for (Run const & run : runs)
            for (unsigned i = 0; i < run.count; ++i) {
                unsigned const unit = run.first + i * run.step;
                std::uint8_t & page = pageOf_[unit / pageUnits];
                if (page == 0) page = static_cast<std::uint8_t>(used++);
                pages_[page][unit % pageUnits] = static_cast<char16_t>(run.distance);
            }
    }

    constexpr char16_t operator()(char16_t unit) const noexcept {
        return static_cast<char16_t>(unit + pages_[pageOf_[unit / pageUnits]][unit % pageUnits]);
    }

private:
    static constexpr unsigned pageUnits = 256;
    static constexpr std::size_t mostPages = 21; // a map that needs more doesn't compile
    using Page = std::array<char16_t, pageUnits>;

    std::array<std::uint8_t, 0x10000 / pageUnits> pageOf_{};
    std::array<Page, mostPages> pages_{};
};

/// A unit that has no other case, or whose other case is more than one unit, maps to itself. The data are those of the
/// Unicode character database.
extern CaseMap const upperCaseMap;
extern CaseMap const lowerCaseMap;

} // namespace KZDetail
