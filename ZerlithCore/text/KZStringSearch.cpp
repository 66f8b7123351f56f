// KZString::Find and its relatives, and the hashes.
#include "ZerlithCore/text/KZString.h"

#include "ZerlithCore/text/KZStringVector.h"
#include "ZerlithCore/text/detail/KZStringText.h"
#include "ZerlithCore/text/detail/KZUnitScan.h"

#include <algorithm>
#include <bitset>
#include <cstring>

// The fast searches go by the length of the string and don't stop at a 0 unit. When they find a hit, the units before
// it are searched for a 0, since what follows a 0 doesn't count. That takes no longer than the search itself.

namespace {

/// A set of units. A look-up takes constant time, except for a unit above 255 in a set that has such units.
class UnitSet {
public:
    explicit UnitSet(char16_t const * units) noexcept {
        for (; units && *units != u'\0'; ++units) {
            if (*units < low_.size()) {
                low_.set(*units);
            } else if (!high_) {
                high_ = units;
            }
        }
    }
    bool Has(char16_t unit) const noexcept {
        return unit < low_.size() ? low_[unit] : high_ && HasHigh(unit);
    }

private:
    bool HasHigh(char16_t unit) const noexcept {
        char16_t const * place = high_;
        while (*place != u'\0' && *place != unit) ++place;
        return *place == unit;
    }

    std::bitset<256> low_;
    char16_t const * high_ = nullptr; // the set from its first unit above 255 on
};

bool IsEmpty(char16_t const * text) noexcept { return !text || *text == u'\0'; }

/// The position of the first unit at or after `position`, and before the first 0, that is in `set`, or that isn't.
std::uint32_t FirstInSet(KZString const & string, std::uint32_t position, UnitSet const & set,
                         bool wanted) noexcept {
    for (char16_t const * place = string.begin() + position; *place != u'\0'; ++place) {
        if (set.Has(*place) == wanted) return static_cast<std::uint32_t>(place - string.begin());
    }
    return KZString::npos;
}

/// The position of the last unit at or before `position` that is in `set`, or that isn't.
std::uint32_t LastInSet(KZString const & string, std::uint32_t position, UnitSet const & set,
                        bool wanted) noexcept {
    if (string.IsNull()) return KZString::npos;
    for (std::uint32_t i = std::min(position, string.Length() - 1) + 1; i-- > 0;) {
        if (set.Has(string.begin()[i]) == wanted) return i;
    }
    return KZString::npos;
}

} // namespace

std::uint32_t KZString::Find(char16_t const * needle, unsigned int position) const {
    if (position >= Length()) return npos;
    if (IsEmpty(needle)) return position;
    char16_t const * const start = begin() + position;
    std::size_t const count = Length() - position;
    std::size_t const place = KZUnitScan::Finder(needle, KZUnitScan::Length(needle))(start, count);
    if (place == count || KZUnitScan::FindUnit(start, place, u'\0') != place) return npos;
    return position + static_cast<std::uint32_t>(place);
}

std::uint32_t KZString::Find(char16_t unit, unsigned int position) const {
    if (position >= Length()) return npos;
    char16_t const * const start = begin() + position;
    std::size_t const count = Length() - position;
    std::size_t const place = KZUnitScan::FindUnit(start, count, unit);
    if (unit != u'\0' && (place == count || KZUnitScan::FindUnit(start, place, u'\0') != place)) return npos;
    return position + static_cast<std::uint32_t>(place);
}

// The result is that of a search from the front that keeps the last hit; searching from the end is faster, because it
// can stop at its first hit.
std::uint32_t KZString::RFind(char16_t const * needle, unsigned int position) const {
    if (IsNull()) return npos;
    position = std::min(position, Length() - 1);
    if (IsEmpty(needle)) return position;
    std::size_t const size = KZUnitScan::Length(needle);
    std::size_t const visible = KZUnitScan::FindUnit(begin(), Length(), u'\0');
    if (size > visible) return npos;
    char16_t const last = needle[size - 1];
    for (std::size_t i = std::min<std::size_t>(position, visible - size) + 1; i-- > 0;) {
        char16_t const * const place = begin() + i;
        if (place[size - 1] == last && std::memcmp(place, needle, size * sizeof last) == 0) {
            return static_cast<std::uint32_t>(i);
        }
    }
    return npos;
}

std::uint32_t KZString::RFind(char16_t unit, unsigned int position) const {
    if (IsNull() || unit == u'\0') return npos;
    for (std::uint32_t i = std::min(position, Length() - 1) + 1; i-- > 0;) {
        if (data_->text[i] == unit) return i;
    }
    return npos;
}

std::uint32_t KZString::FindFirstOf(char16_t const * set, unsigned int position) const {
    if (position >= Length() || IsEmpty(set)) return npos;
    return FirstInSet(*this, position, UnitSet(set), true);
}

std::uint32_t KZString::FindFirstNotOf(char16_t const * set, unsigned int position) const {
    if (IsEmpty(set)) return 0;
    if (position >= Length()) return npos;
    return FirstInSet(*this, position, UnitSet(set), false);
}

std::uint32_t KZString::FindLastOf(char16_t const * set, unsigned int position) const {
    if (IsEmpty(set)) return npos;
    return LastInSet(*this, position, UnitSet(set), true);
}

std::uint32_t KZString::FindLastNotOf(char16_t const * set, unsigned int position) const {
    if (IsEmpty(set)) return Length() - 1;
    return LastInSet(*this, position, UnitSet(set), false);
}

bool KZString::StartsWith(char16_t const * part) const noexcept {
    if (IsEmpty(part)) return true;
    char16_t const * unit = c_str(); // ends with a 0, so it differs from a longer part in time
    while (*part != u'\0' && *part == *unit) ++part, ++unit;
    return *part == u'\0';
}

bool KZString::StartsWith(char16_t unit) const noexcept { return unit != u'\0' && front() == unit; }

bool KZString::EndsWith(char16_t const * part) const noexcept {
    return IsEmpty(part) || KZTextOf(*this).ends_with(part);
}

bool KZString::EndsWith(char16_t unit) const noexcept { return KZTextOf(*this).ends_with(unit); }

bool KZString::Contains(char16_t const * part) const { return IsEmpty(part) || Find(part) != npos; }

bool KZString::Contains(char16_t unit) const { return unit != u'\0' && Find(unit) != npos; }

KZStringVector KZString::Split(KZString const & separator) const {
    std::u16string_view const mark = KZTextOf(separator);
    std::u16string_view rest = KZTextOf(*this);
    KZStringVector pieces;
    if (!mark.empty()) {
        KZUnitScan::Finder const find(mark.data(), mark.size());
        for (std::size_t place; (place = find(rest.data(), rest.size())) != rest.size();) {
            pieces.emplace_back(rest.substr(0, place));
            rest.remove_prefix(place + mark.size());
        }
    }
    pieces.emplace_back(rest);
    return pieces;
}

int KZStringHash::operator()(KZString const & string) const noexcept {
    std::uint32_t hash = string.Length();
    for (char16_t const * unit = string.c_str(); *unit != u'\0'; ++unit) hash = hash * 613 + *unit;
    auto const value = static_cast<std::int32_t>(hash);
    auto const negated = static_cast<std::int32_t>(0U - hash);
    return std::max(value, negated) % 0x40000003;
}

std::size_t std::hash<KZString>::operator()(KZString const & string) const noexcept {
    std::size_t const visible = KZUnitScan::FindUnit(string.begin(), string.Length(), u'\0');
    return std::hash<std::u16string_view>()({string.begin(), visible});
}
