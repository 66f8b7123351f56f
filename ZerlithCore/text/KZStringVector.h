/// @file
/// The pieces of a string, as `KZString::Split` gives them.
///
///     KZStringVector const words = KZString(u"red,green,blue").Split(u",");
///     KZString const lines = KZString::Join(words, u"\n");
///     std::vector<KZString> plain = words;
#pragma once

#include "ZerlithCore/text/KZString.h"

#include <vector>

/// A standard vector of strings under a name that other headers can declare without including `<vector>`. It is used, and
/// converts, like the vector that it is.
///
/// Thread safety: as the standard's vector.
class KZStringVector : public std::vector<KZString> {
public:
    using std::vector<KZString>::vector;
};
