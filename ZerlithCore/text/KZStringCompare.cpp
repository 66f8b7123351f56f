#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZUnitCompare.h"

int KZCompareUnits(char16_t const * a, char16_t const * b) noexcept {
    while (*a == *b && *a != 0) {
        ++a;
        ++b;
    }
    return (*a > *b) - (*a < *b);
}

int KZString::Compare(char16_t const * rhs, long flags) const {
    static_cast<void>(flags);
    if (!rhs) return IsNull() ? 0 : -1;
    return KZCompareUnits(c_str(), rhs);
}

int KZString::Compare(KZString const & rhs, long flags) const { return Compare(rhs.c_str(), flags); }
