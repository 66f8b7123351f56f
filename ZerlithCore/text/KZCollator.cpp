// One template makes all comparisons, for any combination of units and bytes. Equal characters have equal weights, so
// a weight that is costly to compute is only computed where the characters differ.

#include "ZerlithCore/text/KZCollator.h"

#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZUnicode.h"
#include "ZerlithCore/text/detail/KZCaseMap.h"
#include "ZerlithCore/text/detail/KZUnitCompare.h"

#include <cstdint>

namespace {

char16_t UnitOf(char16_t unit) { return unit; }
char16_t UnitOf(char byte) { return static_cast<unsigned char>(byte); }

template <class Character>
Character const * TextOf(Character const * text) {
    static constexpr Character empty = 0;
    return text ? text : &empty;
}

// The first units at which two texts differ in weight, or at which one of them ends.
struct Stop {
    char16_t a;
    char16_t b;
};

template <class A, class B, class Weigh>
Stop Walk(A const * aText, B const * bText, Weigh const & weigh) {
    A const * a = TextOf(aText);
    B const * b = TextOf(bText);
    for (;; ++a, ++b) {
        char16_t const aUnit = UnitOf(*a);
        char16_t const bUnit = UnitOf(*b);
        if (aUnit == 0 || bUnit == 0 || (aUnit != bUnit && weigh(aUnit) != weigh(bUnit)))
            return {aUnit, bUnit};
    }
}

int Difference(std::uint32_t a, std::uint32_t b) { return static_cast<int>(a - b); }

template <class A, class B, class Weigh>
int CompareValues(A const * a, B const * b, Weigh const & weigh) {
    Stop const stop = Walk(a, b, weigh);
    auto const aWeight = weigh(stop.a);
    auto const bWeight = weigh(stop.b);
    return (aWeight > bWeight) - (aWeight < bWeight);
}

char16_t Identity(char16_t unit) { return unit; }

template <class A, class B>
int CompareUpperCase(A const * a, B const * b) {
    return CompareValues(a, b, KZDetail::upperCaseMap);
}

template <class A, class B>
int CompareByTable(KZTableCollator const & table, A const * a, B const * b) {
    // Both weights are looked up without comparing the characters first: that saves a branch for each character.
    A const * left = TextOf(a);
    B const * right = TextOf(b);
    for (;; ++left, ++right) {
        char16_t const aUnit = UnitOf(*left);
        char16_t const bUnit = UnitOf(*right);
        auto const aWeight = table.GetWeight(aUnit);
        auto const bWeight = table.GetWeight(bUnit);
        if ((aUnit == 0) | (bUnit == 0) | (aWeight != bWeight)) return Difference(aWeight, bWeight);
    }
}

// Returns 0 when either text ends, or when both have a weight of 0.
template <class A, class B>
int CompareBySmallTable(KZSmallTableCollator const & table, A const * aText, B const * bText) {
    auto const weigh = [&table](char16_t unit) -> std::uint32_t {
        return unit < table.Size ? table.GetWeight(static_cast<unsigned char>(unit)) : unit;
    };
    A const * a = TextOf(aText);
    B const * b = TextOf(bText);
    for (; *a != 0 && *b != 0; ++a, ++b) {
        std::uint32_t const aWeight = weigh(UnitOf(*a));
        std::uint32_t const bWeight = weigh(UnitOf(*b));
        if (aWeight != bWeight) return Difference(aWeight, bWeight);
        if (aWeight == 0) return 0;
    }
    return 0;
}

} // namespace

KZCollatorRefCount::~KZCollatorRefCount() = default;

KZCollator::~KZCollator() = default;

// --- KZCollatingTable

template <class T>
KZCollatingTable<T>::KZCollatingTable(int) {
    for (std::size_t i = 0; i < Size; ++i) weights_[i] = static_cast<Weight>(i);
}

template <class T>
KZCollatingTable<T>::~KZCollatingTable() = default;

template <class T>
void KZCollatingTable<T>::IgnoreCase() {
    for (Weight & weight : weights_) {
        char16_t const upper = KZtowupper(weight);
        if (upper < Size) weight = static_cast<Weight>(upper);
    }
}

template <class T>
void KZCollatingTable<T>::IgnoreAccent() {
    for (std::size_t i = 0; i < Size; ++i) {
        char16_t const base = KZUnicode::GetEquivalentChar(static_cast<char16_t>(i));
        if (base != i && base < Size) weights_[i] = static_cast<Weight>(base);
    }
}

template <class T>
void KZCollatingTable<T>::SortCase() {}

template <class T>
void KZCollatingTable<T>::SortAccent() {}

template class KZCollatingTable<unsigned short>;
template class KZCollatingTable<char>;

// --- KZBinaryCollator

KZBinaryCollator::KZBinaryCollator(int) {}
KZBinaryCollator::~KZBinaryCollator() = default;

int KZBinaryCollator::Compare(char16_t const * a, char16_t const * b) const {
    return KZCompareUnits(TextOf(a), TextOf(b));
}
int KZBinaryCollator::Compare(char16_t const * a, char const * b) const {
    return CompareValues(a, b, Identity);
}
int KZBinaryCollator::Compare(char const * a, char const * b) const { return CompareValues(a, b, Identity); }

// --- KZBinaryIgnoreCaseCollator

KZBinaryIgnoreCaseCollator::KZBinaryIgnoreCaseCollator(int) {}
KZBinaryIgnoreCaseCollator::~KZBinaryIgnoreCaseCollator() = default;

int KZBinaryIgnoreCaseCollator::Compare(char16_t const * a, char16_t const * b) const {
    return CompareUpperCase(a, b);
}
int KZBinaryIgnoreCaseCollator::Compare(char16_t const * a, char const * b) const {
    return CompareUpperCase(a, b);
}
int KZBinaryIgnoreCaseCollator::Compare(char const * a, char const * b) const {
    return CompareUpperCase(a, b);
}

// --- KZTableCollator

KZTableCollator::KZTableCollator(int) {}
KZTableCollator::~KZTableCollator() = default;

int KZTableCollator::Compare(char16_t const * a, char16_t const * b) const {
    return CompareByTable(*this, a, b);
}
int KZTableCollator::Compare(char16_t const * a, char const * b) const { return CompareByTable(*this, a, b); }
int KZTableCollator::Compare(char const * a, char const * b) const { return CompareByTable(*this, a, b); }

KZTableIgnoreCaseCollator::KZTableIgnoreCaseCollator(int) { IgnoreCase(); }
KZTableIgnoreAccentCollator::KZTableIgnoreAccentCollator(int) { IgnoreAccent(); }
KZTableIgnoreCaseAndAccentCollator::KZTableIgnoreCaseAndAccentCollator(int) {
    IgnoreAccent();
    IgnoreCase();
}
KZTableSortCaseCollator::KZTableSortCaseCollator(int) { SortCase(); }
KZTableSortAccentCollator::KZTableSortAccentCollator(int) { SortAccent(); }
KZTableSortCaseAndAccentCollator::KZTableSortCaseAndAccentCollator(int) {
    SortAccent();
    SortCase();
}

// --- KZSmallTableCollator

KZSmallTableCollator::KZSmallTableCollator(int) {}
KZSmallTableCollator::~KZSmallTableCollator() = default;

int KZSmallTableCollator::Compare(char16_t const * a, char16_t const * b) const {
    return CompareBySmallTable(*this, a, b);
}
int KZSmallTableCollator::Compare(char16_t const * a, char const * b) const {
    return CompareBySmallTable(*this, a, b);
}
int KZSmallTableCollator::Compare(char const * a, char const * b) const {
    return CompareBySmallTable(*this, a, b);
}

KZSmallTableIgnoreCaseCollator::KZSmallTableIgnoreCaseCollator(int) { IgnoreCase(); }
KZSmallTableIgnoreAccentCollator::KZSmallTableIgnoreAccentCollator(int) { IgnoreAccent(); }
KZSmallTableIgnoreCaseAndAccentCollator::KZSmallTableIgnoreCaseAndAccentCollator(int) {
    IgnoreAccent();
    IgnoreCase();
}
KZSmallTableSortCaseCollator::KZSmallTableSortCaseCollator(int) { SortCase(); }
KZSmallTableSortAccentCollator::KZSmallTableSortAccentCollator(int) { SortAccent(); }
KZSmallTableSortCaseAndAccentCollator::KZSmallTableSortCaseAndAccentCollator(int) {
    SortAccent();
    SortCase();
}
