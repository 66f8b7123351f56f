/// @file
/// Reads numbers from text, where standard libraries differ.
///
///     bool fits = false;
///     double const value = KZPlatform::ReadDouble(text.data(), text.data() + text.size(), false, fits);
#pragma once

namespace KZPlatform {

/// Returns the double that the ASCII digits from `begin` to `end` stand for, correctly rounded, whatever the
/// program's locale is. The digits have no sign; hexadecimal ones have no "0x". `fits` is set to whether the value
/// lies in the range of a double; if it doesn't, the result has no meaning.
///
/// Errors: throws `std::bad_alloc` where a port needs a copy of the digits and has no memory for it.
[[nodiscard]] double ReadDouble(char const * begin, char const * end, bool isHex, bool & fits);

} // namespace KZPlatform
