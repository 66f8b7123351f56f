/// @file
/// Collators: rules by which texts are compared, such as by their letters without case and accents.
///
///     KZSmartPtrToConst<KZCollator> const ignoreCase(new KZTableIgnoreCaseCollator);
///     bool const isReadme = KZString(u"ReadMe").Compare(u"README", ignoreCase) == 0;    // true
///
/// | Class                              | Compares by                                               |
/// |------------------------------------|-----------------------------------------------------------|
/// | KZBinaryCollator                   | values                                                    |
/// | KZBinaryIgnoreCaseCollator         | values of the upper-case units                            |
/// | KZTableCollator                    | a table of 65536 weights, at first each unit's own value  |
/// | KZTableIgnoreCaseCollator          | the same, with upper-case weights                         |
/// | KZTableIgnoreAccentCollator        | the same, with the weights of base letters                |
/// | KZTableIgnoreCaseAndAccentCollator | both                                                      |
/// | KZTableSort…Collator               | the identity table, for derived classes to refine         |
/// | KZSmallTable…Collator              | like rows with a table of 256 weights; see below          |
///
/// The number that the constructors take is ignored. Texts end at their first 0 unit or byte; a byte is unsigned and
/// counts as the unit of the same value; a null text counts as an empty one.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"

#include <array>
#include <cstddef>
#include <type_traits>

/// The reference count that a collator and its table share.
///
/// Thread safety: all operations may be called from any thread.
class KZ_EXPORT KZCollatorRefCount : public KZCounted<KZCollatorRefCount, KZRefCountI> {
public:
    KZCollatorRefCount() noexcept = default;
    ~KZCollatorRefCount() override;
};

/// Compares two texts: the result is below 0 when `a` comes before `b`, 0 when they are equal, above 0 when `a` comes
/// after `b`. A comparison allocates nothing and can't fail.
///
/// Thread safety: any number of threads may use one collator at the same time.
class KZ_EXPORT KZCollator : public virtual KZCollatorRefCount {
public:
    virtual int Compare(char16_t const * a, char16_t const * b) const = 0;
    virtual int Compare(char16_t const * a, char const * b) const = 0;
    virtual int Compare(char const * a, char const * b) const = 0;

    ~KZCollator() override;
};

/// A table with a weight for each character: 65536 of 16 bits, or 256 of 8 bits.
///
/// Only constructors may call the protected functions: a table isn't changed any more once its collator is in use.
///
/// Thread safety: any number of threads may read one table.
template <class T>
class KZ_EXPORT KZCollatingTable : public virtual KZCollatorRefCount {
    static_assert(std::is_same_v<T, unsigned short> || std::is_same_v<T, char>);

public:
    /// The type of a weight, unsigned in both tables.
    using Weight = std::make_unsigned_t<T>;
    static constexpr std::size_t Size = std::size_t{1} << 8 * sizeof(T);

    /// Each character has its own value as weight.
    explicit KZCollatingTable(int unused = 1);
    ~KZCollatingTable() override;

    [[nodiscard]] Weight GetWeight(Weight character) const noexcept { return weights_[character]; }

protected:
    /// Replaces each weight by its upper case, if that fits into the table.
    void IgnoreCase();
    /// Gives each accented character the weight of its base letter, if that fits into the table.
    void IgnoreAccent();
    /// Both do nothing: a sorting table has the order of values until a derived class changes it.
    void SortCase();
    void SortAccent();

    std::array<Weight, Size> weights_;
};

extern template class KZCollatingTable<unsigned short>;
extern template class KZCollatingTable<char>;

/// Compares by values: -1, 0 or 1.
class KZ_EXPORT KZBinaryCollator : public KZCollator {
public:
    explicit KZBinaryCollator(int unused = 1);
    ~KZBinaryCollator() override;

    int Compare(char16_t const * a, char16_t const * b) const override;
    int Compare(char16_t const * a, char const * b) const override;
    int Compare(char const * a, char const * b) const override;
};

/// Compares by the values of the upper-case units, as `KZtowupper` gives them: -1, 0 or 1.
class KZ_EXPORT KZBinaryIgnoreCaseCollator : public KZCollator {
public:
    explicit KZBinaryIgnoreCaseCollator(int unused = 1);
    ~KZBinaryIgnoreCaseCollator() override;

    int Compare(char16_t const * a, char16_t const * b) const override;
    int Compare(char16_t const * a, char const * b) const override;
    int Compare(char const * a, char const * b) const override;
};

/// Compares by weights of 16 bits; the result is the difference of the first weights that differ.
///
/// Only weights count: texts with equal weights are equal, even if they differ in case or accent. When one text is the
/// beginning of the other, the shorter one comes first. The object has 128 KB.
class KZ_EXPORT KZTableCollator : public KZCollator, public KZCollatingTable<unsigned short> {
public:
    explicit KZTableCollator(int unused = 1);
    ~KZTableCollator() override;

    int Compare(char16_t const * a, char16_t const * b) const override;
    int Compare(char16_t const * a, char const * b) const override;
    int Compare(char const * a, char const * b) const override;
};

/// Compares by weights of 8 bits; a unit above 255 has its own value as weight.
///
/// The result is 0 as soon as either text ends: ab and abc are equal, and the empty text equals any other. Callers
/// rely on it. Otherwise it is the difference of the first weights that differ.
class KZ_EXPORT KZSmallTableCollator : public KZCollator, public KZCollatingTable<char> {
public:
    explicit KZSmallTableCollator(int unused = 1);
    ~KZSmallTableCollator() override;

    int Compare(char16_t const * a, char16_t const * b) const override;
    int Compare(char16_t const * a, char const * b) const override;
    int Compare(char const * a, char const * b) const override;
};

/// Compares by the weights of upper case.
class KZ_EXPORT KZTableIgnoreCaseCollator : public KZTableCollator {
public:
    explicit KZTableIgnoreCaseCollator(int unused = 1);
};

/// Compares by the weights of base letters.
class KZ_EXPORT KZTableIgnoreAccentCollator : public KZTableCollator {
public:
    explicit KZTableIgnoreAccentCollator(int unused = 1);
};

/// Compares by the weights of the base letters' upper case.
class KZ_EXPORT KZTableIgnoreCaseAndAccentCollator : public KZTableCollator {
public:
    explicit KZTableIgnoreCaseAndAccentCollator(int unused = 1);
};

/// Compares by values, unless a derived class gives the cases an order.
class KZ_EXPORT KZTableSortCaseCollator : public KZTableCollator {
public:
    explicit KZTableSortCaseCollator(int unused = 1);
};

/// Compares by values, unless a derived class gives the accents an order.
class KZ_EXPORT KZTableSortAccentCollator : public KZTableCollator {
public:
    explicit KZTableSortAccentCollator(int unused = 1);
};

/// Compares by values, unless a derived class gives cases and accents an order.
class KZ_EXPORT KZTableSortCaseAndAccentCollator : public KZTableCollator {
public:
    explicit KZTableSortCaseAndAccentCollator(int unused = 1);
};

/// Compares by the small weights of upper case.
class KZ_EXPORT KZSmallTableIgnoreCaseCollator : public KZSmallTableCollator {
public:
    explicit KZSmallTableIgnoreCaseCollator(int unused = 1);
};

/// Compares by the small weights of base letters.
class KZ_EXPORT KZSmallTableIgnoreAccentCollator : public KZSmallTableCollator {
public:
    explicit KZSmallTableIgnoreAccentCollator(int unused = 1);
};

/// Compares by the small weights of the base letters' upper case.
class KZ_EXPORT KZSmallTableIgnoreCaseAndAccentCollator : public KZSmallTableCollator {
public:
    explicit KZSmallTableIgnoreCaseAndAccentCollator(int unused = 1);
};

/// Compares by values, unless a derived class gives the cases an order.
class KZ_EXPORT KZSmallTableSortCaseCollator : public KZSmallTableCollator {
public:
    explicit KZSmallTableSortCaseCollator(int unused = 1);
};

/// Compares by values, unless a derived class gives the accents an order.
class KZ_EXPORT KZSmallTableSortAccentCollator : public KZSmallTableCollator {
public:
    explicit KZSmallTableSortAccentCollator(int unused = 1);
};

/// Compares by values, unless a derived class gives cases and accents an order.
class KZ_EXPORT KZSmallTableSortCaseAndAccentCollator : public KZSmallTableCollator {
public:
    explicit KZSmallTableSortCaseAndAccentCollator(int unused = 1);
};
