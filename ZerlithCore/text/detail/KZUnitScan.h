/// @file
/// Scans of 16-bit units by blocks of eight: what the string and its neighbours search with.
#pragma once

#include <cstddef>

namespace KZUnitScan {

/// Units in front of the terminator of `text`.
[[nodiscard]] std::size_t Length(char16_t const * text) noexcept;

/// Where the first `unit` among `count` units of `text` stands; `count` when there is none.
[[nodiscard]] std::size_t FindUnit(char16_t const * text, std::size_t count, char16_t unit) noexcept;

/// A needle made ready for searching.
///
/// The needle is used where it stands: it has to outlive the finder.
class Finder {
public:
    /// `size` units, at least 1; 0 units have no meaning of their own.
    Finder(char16_t const * needle, std::size_t size) noexcept;

    /// Where the first needle begins among `count` units of `text`; `count` when there is none.
    [[nodiscard]] std::size_t operator()(char16_t const * text, std::size_t count) const noexcept;

private:
    char16_t const * needle_;
    std::size_t size_;
    std::size_t probes_[2]; // the places in the needle that are compared first
};

} // namespace KZUnitScan
