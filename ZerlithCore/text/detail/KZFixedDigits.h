// The digits of common doubles.
#pragma once

namespace KZDetail {

/// Writes a double from 1/256 to below 2^52, or 0, with `precision` digits after the point, and returns the end of the text. The
/// digits are those of std::to_chars, made in less time. Null, with nothing written, for other values and for more than 17
/// digits. Requires: `value` isn't negative, and there is room for it up to `limit`.
char * PutFixed(char * out, char * limit, double value, int precision) noexcept;

} // namespace KZDetail
