/// @file
/// Comparison of terminated texts by unit values, for `KZString::Compare` and the binary collator.
#pragma once

/// Returns -1 if `a` comes before `b`, 0 if they are equal, 1 if `a` comes after `b`. Both end at their first 0 unit
/// and must not be null.
[[nodiscard]] int KZCompareUnits(char16_t const * a, char16_t const * b) noexcept;
