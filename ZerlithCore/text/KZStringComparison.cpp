// Comparisons of KZString: by values, or by collators that are made at their first use and shared.
#include "ZerlithCore/text/KZCollator.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/detail/KZUnitCompare.h"

namespace {

// A collator of 128 KB, made at the first use and never freed, because destructors of static objects may still compare.
// Without memory the first use throws std::bad_alloc, and the next one tries again.
template <class Collator>
KZCollator const * SharedCollator() {
    static KZCollator const & collator = []() -> KZCollator const & {
        auto * const made = new Collator(1);
        made->AddRef();
        return *made;
    }();
    return &collator;
}

KZCollator const * CollatorFor(long flags) {
    switch (flags & (KZString::IgnoreCase | KZString::IgnoreAccent)) {
    case KZString::IgnoreCase: return SharedCollator<KZTableIgnoreCaseCollator>();
    case KZString::IgnoreAccent: return SharedCollator<KZTableIgnoreAccentCollator>();
    case KZString::IgnoreCase | KZString::IgnoreAccent:
        return SharedCollator<KZTableIgnoreCaseAndAccentCollator>();
    default: return nullptr;
    }
}

int CompareTexts(KZString const & lhs, char16_t const * rhs, KZCollator const * collator) {
    if (!rhs) return lhs.IsNull() ? 0 : -1;
    return collator ? collator->Compare(lhs.c_str(), rhs) : KZCompareUnits(lhs.c_str(), rhs);
}

} // namespace

int KZString::Compare(char16_t const * rhs, long flags) const {
    return CompareTexts(*this, rhs, rhs ? CollatorFor(flags) : nullptr);
}

int KZString::Compare(KZString const & rhs, long flags) const { return Compare(rhs.c_str(), flags); }

int KZString::Compare(char16_t const * rhs, KZSmartPtrToConst<KZCollator> const & collator) const {
    return CompareTexts(*this, rhs, collator);
}

int KZString::Compare(KZString const & rhs, KZSmartPtrToConst<KZCollator> const & collator) const {
    return Compare(rhs.c_str(), collator);
}
