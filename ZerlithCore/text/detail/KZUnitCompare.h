/// @file
/// Comparison of terminated texts by unit values: what `KZString::Compare` and the binary collator have in common.
#pragma once

/// -1, 0 or 1 as `a` stands before, at or behind `b`, up to their first 0 units. Neither is null.
[[nodiscard]] int KZCompareUnits(char16_t const * a, char16_t const * b) noexcept;
