// Output of units to wide streams of any kind.
#pragma once

#include <ostream>
#include <string_view>

namespace KZDetail {

/// Writes all units, 0 units included, as `std::wostream::write` writes characters: width and flags have no effect. They go to
/// the stream's buffer as they are if that is a KZUnitStreamBuf, and as characters, in pieces, otherwise. Never allocates.
std::wostream & WriteUnits(std::wostream & stream, std::u16string_view units);

} // namespace KZDetail
