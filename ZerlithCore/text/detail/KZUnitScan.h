/// @file
/// Searches in 16-bit units, eight at a time, for the string, the converters and the patterns.
#pragma once

#include <cstddef>

namespace KZUnitScan {

/// The number of units before the terminator of `text`.
[[nodiscard]] std::size_t Length(char16_t const * text) noexcept;

/// The position of the first `unit` among `count` units of `text`; `count` when there is none.
[[nodiscard]] std::size_t FindUnit(char16_t const * text, std::size_t count, char16_t unit) noexcept;

/// A needle that is prepared for searching. It isn't copied, so it must outlive the finder.
class Finder {
public:
    /// Takes `size` units, at least 1. Units of value 0 are like others.
    Finder(char16_t const * needle, std::size_t size) noexcept;

    /// The position of the first needle among `count` units of `text`; `count` when there is none.
    [[nodiscard]] std::size_t operator()(char16_t const * text, std::size_t count) const noexcept;

private:
    char16_t const * needle_;
    std::size_t size_;
    std::size_t probes_[2]; // the positions in the needle that are compared first
};

} // namespace KZUnitScan
