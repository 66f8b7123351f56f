/// @file
/// Numbers out of text, where standard libraries differ.
#pragma once

namespace KZPlatform {

/// The double that the ASCII digits from `begin` to `end` stand for, rounded correctly, whatever the program's locale is.
/// They have no sign; hexadecimal ones have no "0x". `fits` tells whether the value lies in the range of a double; where it
/// doesn't, the result means nothing. Throws `std::bad_alloc` where long digits need a copy that can't be had.
[[nodiscard]] double ReadDouble(char const * begin, char const * end, bool isHex, bool & fits);

} // namespace KZPlatform
