/// @file
/// A set of 16-bit units, such as those between "[" and "]" in a pattern.
///
///     KZUWCharSet letters;
///     letters.AddRange(u'a', u'z');
///     letters.DelChar(u'q');
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/pattern/KZRangeSet.h"

/// A set of units from 0 to 0xFFFE. 0xFFFF can't be in a set, because a range is stored with the unit after its last
/// one, which has 16 bits, too. Callers rely on the limit. A `char` counts as an unsigned byte.
///
/// Thread safety: a const object may be read from any thread.
class KZ_EXPORT KZUWCharSet : public KZRangeSet<char16_t> {
public:
    KZUWCharSet() = default;
    /// A set of one unit.
    explicit KZUWCharSet(char unit) { AddChar(unit); }
    explicit KZUWCharSet(char16_t unit) { AddChar(unit); }

    void AddChar(char16_t unit) { AddRange(unit, unit); }
    void AddChar(char unit) { AddChar(Widen(unit)); }
    void DelChar(char16_t unit) { DelRange(unit, unit); }
    void DelChar(char unit) { DelChar(Widen(unit)); }
    /// Adds, or removes, the units from `low` to `high`, both included. Does nothing when `high` is below `low`.
    void AddRange(char16_t low, char16_t high) { Add(low, End(high)); }
    void AddRange(char low, char high) { AddRange(Widen(low), Widen(high)); }
    void DelRange(char16_t low, char16_t high) { Del(low, End(high)); }
    void DelRange(char low, char high) { DelRange(Widen(low), Widen(high)); }
    /// All units but 0xFFFF.
    void AddAllChars() { Add(0, 0xFFFF); }

    [[nodiscard]] bool IsInSet(char16_t unit) const { return KZRangeSet::IsInSet(unit); }
    [[nodiscard]] bool IsInSet(char unit) const { return IsInSet(Widen(unit)); }
    /// The number of units.
    [[nodiscard]] unsigned short GetCount() const { return GetKeyLength(); }

    KZUWCharSet & operator|=(KZUWCharSet const & other) {
        KZRangeSet::operator|=(other);
        return *this;
    }
    KZUWCharSet & operator/=(KZUWCharSet const & other) {
        KZRangeSet::operator/=(other);
        return *this;
    }
    KZUWCharSet & operator&=(KZUWCharSet const & other) {
        KZRangeSet::operator&=(other);
        return *this;
    }

private:
    static char16_t Widen(char unit) noexcept { return static_cast<unsigned char>(unit); }
    static char16_t End(char16_t last) noexcept {
        return static_cast<char16_t>(last < 0xFFFF ? last + 1 : 0xFFFF);
    }
};
