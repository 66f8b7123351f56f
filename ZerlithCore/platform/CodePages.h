/// @file
/// Converts 8-bit text, whose encoding is given as the number of a code page, to UTF-16 and back.
///
///     char16_t units[64];
///     auto count = KZPlatform::DecodeCodePage(932, bytes, units, KZPlatform::InvalidBytes::Refuse);
///     if (!count) return KZErrorID(new KZWinLastError);
///
/// Page 0 and page 65001 are UTF-8. The other pages are 932, 936, 949, 950, 1250 to 1258, 437, 850, 20127 and 28591
/// to 28605, as far as the system has them. Conversions by one page give the same results for the life of the
/// process.
///
/// Thread safety: all functions may be called from any thread. Errors: std::bad_alloc. The first use of a page costs
/// some milliseconds; a first use that fails is tried again by the next one.
#pragma once

#include "ZerlithCore/encoding/detail/CodePageTables.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace KZPlatform {

inline constexpr unsigned defaultCodePage = 0;
inline constexpr unsigned utf8CodePage = 65001;

using KZEncoding::InvalidBytes;

/// True when this page can be used for conversions.
[[nodiscard]] bool CodePageExists(unsigned page);

/// Converts all `bytes`, writes the units to `out` and returns how many there are. Requires: `out` has room for
/// `bytes.size()` units, which is always enough. Errors: null, with the last error set, for a page that doesn't exist
/// and for invalid bytes that are refused.
[[nodiscard]] std::optional<std::size_t> DecodeCodePage(unsigned page, std::string_view bytes,
                                                        std::span<char16_t> out, InvalidBytes invalid);

/// Converts `units` and appends the bytes to `out`. A unit that the page lacks becomes "?"; in UTF-8 a lone surrogate
/// becomes U+FFFD. Errors: false, with the last error set and nothing appended, for a page that doesn't exist.
[[nodiscard]] bool EncodeCodePage(unsigned page, std::u16string_view units, std::string & out);

} // namespace KZPlatform
