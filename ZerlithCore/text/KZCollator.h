/// @file
/// Collators: how texts compare when unit values aren't what counts.
///
///     KZSmartPtrToConst<KZCollator> ignoreCase(new KZTableIgnoreCaseCollator);
///     if (name.Compare(u"README", ignoreCase) == 0) ...
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
/// The constructors take a number without meaning. Texts end at their first 0 unit or byte; bytes are unsigned and
/// stand for the units of the same values; a null text is an empty one.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"

#include <array>
#include <cstddef>
#include <type_traits>

/// The count that a collator and its table share.
class KZ_EXPORT KZCollatorRefCount : public KZRefCountI {
public:
    KZCollatorRefCount() noexcept = default;
    ~KZCollatorRefCount() override;

    unsigned long AddRef() const override { return count_.Increment(); }
    unsigned long Release() const override;
    [[nodiscard]] unsigned long NbRef() const noexcept { return count_.Get(); }

private:
    KZCounter count_;
};

/// Compares two texts: below 0, 0 or above 0 as the first stands before, at or behind the second.
///
/// Thread safety: a collator that is built may serve all threads.
class KZ_EXPORT KZCollator : public virtual KZCollatorRefCount {
public:
    virtual int Compare(char16_t const * a, char16_t const * b) const = 0;
    virtual int Compare(char16_t const * a, char const * b) const = 0;
    virtual int Compare(char const * a, char const * b) const = 0;

    ~KZCollator() override;
};

/// A table with a weight for each character: 65536 of 16 bits, or 256 of 8 bits.
///
/// The members that build it are for constructors: a table isn't written once its collator is in use.
template <class T>
class KZ_EXPORT KZCollatingTable : public virtual KZCollatorRefCount {
    static_assert(std::is_same_v<T, unsigned short> || std::is_same_v<T, char>);

public:
    /// The weights; those of 8 bits are unsigned as well.
    using Weight = std::make_unsigned_t<T>;
    static constexpr std::size_t Size = std::size_t{1} << 8 * sizeof(T);

    /// Each character has its own value as weight.
    explicit KZCollatingTable(int unused = 1);
    ~KZCollatingTable() override;

    [[nodiscard]] Weight GetWeight(Weight character) const noexcept { return weights_[character]; }

protected:
    /// Gives each weight its upper case, where the table has it.
    void IgnoreCase();
    /// Gives each character whose base letter differs from it, and is in the table, the base letter as weight.
    void IgnoreAccent();
    /// Both leave the table alone: a sorting table has the order of values until a derived class refines it.
    void SortCase();
    void SortAccent();

    std::array<Weight, Size> weights_;
};

extern template class KZCollatingTable<unsigned short>;
extern template class KZCollatingTable<char>;

/// By values: -1, 0 or 1.
class KZ_EXPORT KZBinaryCollator : public KZCollator {
public:
    explicit KZBinaryCollator(int unused = 1);
    ~KZBinaryCollator() override;

    int Compare(char16_t const * a, char16_t const * b) const override;
    int Compare(char16_t const * a, char const * b) const override;
    int Compare(char const * a, char const * b) const override;
};

/// By the values of the upper-case units, as `KZtowupper` gives them: -1, 0 or 1.
class KZ_EXPORT KZBinaryIgnoreCaseCollator : public KZCollator {
public:
    explicit KZBinaryIgnoreCaseCollator(int unused = 1);
    ~KZBinaryIgnoreCaseCollator() override;

    int Compare(char16_t const * a, char16_t const * b) const override;
    int Compare(char16_t const * a, char const * b) const override;
    int Compare(char const * a, char const * b) const override;
};

/// By weights of 16 bits; the result is the difference of the first weights that differ.
///
/// There is no second level: texts with equal weights are equal, whatever differs in case or accent. A text that the
/// other one begins with comes first. The object has 128 KB.
class KZ_EXPORT KZTableCollator : public KZCollator, public KZCollatingTable<unsigned short> {
public:
    explicit KZTableCollator(int unused = 1);
    ~KZTableCollator() override;

    int Compare(char16_t const * a, char16_t const * b) const override;
    int Compare(char16_t const * a, char const * b) const override;
    int Compare(char const * a, char const * b) const override;
};

/// By weights of 8 bits; a unit above 255 has its own value as weight.
///
/// The result is 0 as soon as either text ends: ab and abc are equal, and so are the empty text and any other. Callers
/// rely on it. Else it is the difference of the first weights that differ.
class KZ_EXPORT KZSmallTableCollator : public KZCollator, public KZCollatingTable<char> {
public:
    explicit KZSmallTableCollator(int unused = 1);
    ~KZSmallTableCollator() override;

    int Compare(char16_t const * a, char16_t const * b) const override;
    int Compare(char16_t const * a, char const * b) const override;
    int Compare(char const * a, char const * b) const override;
};

/// By the weights of upper case.
class KZ_EXPORT KZTableIgnoreCaseCollator : public KZTableCollator {
public:
    explicit KZTableIgnoreCaseCollator(int unused = 1);
};

/// By the weights of base letters.
class KZ_EXPORT KZTableIgnoreAccentCollator : public KZTableCollator {
public:
    explicit KZTableIgnoreAccentCollator(int unused = 1);
};

/// By the weights of the base letters' upper case.
class KZ_EXPORT KZTableIgnoreCaseAndAccentCollator : public KZTableCollator {
public:
    explicit KZTableIgnoreCaseAndAccentCollator(int unused = 1);
};

/// By values, until a derived class gives the cases an order.
class KZ_EXPORT KZTableSortCaseCollator : public KZTableCollator {
public:
    explicit KZTableSortCaseCollator(int unused = 1);
};

/// By values, until a derived class gives the accents an order.
class KZ_EXPORT KZTableSortAccentCollator : public KZTableCollator {
public:
    explicit KZTableSortAccentCollator(int unused = 1);
};

/// By values, until a derived class gives cases and accents an order.
class KZ_EXPORT KZTableSortCaseAndAccentCollator : public KZTableCollator {
public:
    explicit KZTableSortCaseAndAccentCollator(int unused = 1);
};

/// By the small weights of upper case.
class KZ_EXPORT KZSmallTableIgnoreCaseCollator : public KZSmallTableCollator {
public:
    explicit KZSmallTableIgnoreCaseCollator(int unused = 1);
};

/// By the small weights of base letters.
class KZ_EXPORT KZSmallTableIgnoreAccentCollator : public KZSmallTableCollator {
public:
    explicit KZSmallTableIgnoreAccentCollator(int unused = 1);
};

/// By the small weights of the base letters' upper case.
class KZ_EXPORT KZSmallTableIgnoreCaseAndAccentCollator : public KZSmallTableCollator {
public:
    explicit KZSmallTableIgnoreCaseAndAccentCollator(int unused = 1);
};

/// By values, until a derived class gives the cases an order.
class KZ_EXPORT KZSmallTableSortCaseCollator : public KZSmallTableCollator {
public:
    explicit KZSmallTableSortCaseCollator(int unused = 1);
};

/// By values, until a derived class gives the accents an order.
class KZ_EXPORT KZSmallTableSortAccentCollator : public KZSmallTableCollator {
public:
    explicit KZSmallTableSortAccentCollator(int unused = 1);
};

/// By values, until a derived class gives cases and accents an order.
class KZ_EXPORT KZSmallTableSortCaseAndAccentCollator : public KZSmallTableCollator {
public:
    explicit KZSmallTableSortCaseAndAccentCollator(int unused = 1);
};
