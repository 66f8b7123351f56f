/// @file
/// The dynamic array of elements of any fixed byte size, under the typed templates.
///
///     KZRawVector vector(sizeof(int));
///     int const value = 7;
///     vector.push_back(reinterpret_cast<unsigned char const *>(&value));
///     // Programs use a typed layer over it: KZTypedRawVector, KZSmartPtrVector.
#pragma once

#include "ZerlithCore/KZExport.h"

namespace KZDetail {
template <class Vector>
struct VectorCore;
}

/// A dynamic array whose elements are blocks of bytes, moved as bytes unless a derived class overrides the hooks.
///
/// All logic of the typed vectors stands here once; they only cast, and say how an element is copied. Iterators are
/// pointers to the first byte of an element. Counts and positions are in elements. Values and ranges that lie in the
/// vector itself may be passed to every operation. Growing takes half the present size more (a tenth from 100,001
/// elements on), but at least what is asked for. Spare slots behind the end always read as zero bytes, or as null
/// handles in vectors of handles.
///
/// Errors: std::length_error "vector<T> too long" past `max_size`, std::out_of_range for a bad subscript.
///
/// Thread safety: none; one vector is for one thread at a time.
class KZ_EXPORT KZRawVector {
public:
    /// An empty vector without memory. An `elementSize` of 0 bytes counts as 1.
    explicit KZRawVector(unsigned int elementSize) noexcept : elementSize_(elementSize ? elementSize : 1U) {}
    KZRawVector(KZRawVector const & other);
    KZRawVector(KZRawVector && other) noexcept;
    virtual ~KZRawVector();

    /// Errors: std::invalid_argument when the element sizes differ.
    KZRawVector & operator=(KZRawVector const & other);

    /// Inserts copies of the elements of a range in front of `where`.
    virtual void insert(unsigned char * where, unsigned char const * first, unsigned char const * last);
    /// Inserts `count` copies of the element at `value` in front of `where`.
    virtual void insert(unsigned char * where, unsigned int count, unsigned char const * value);
    /// Removes a range; returns the place behind it.
    virtual unsigned char * erase(unsigned char * first, unsigned char * last);
    /// Removes one element; returns the place of the next. The end position changes nothing.
    virtual unsigned char * erase(unsigned char * where);

protected:
    /// Copies a range to `dest`, which may overlap it; returns the place behind the copy. An empty range touches
    /// no memory.
    virtual unsigned char * OptCopy(unsigned char const * first, unsigned char const * last,
                                    unsigned char * dest);
    /// Copies the element at `value` to `count` places from `dest` on.
    virtual void OptFill(unsigned char * dest, unsigned int count, unsigned char const * value);
    /// A block for `count` elements, every byte zero.
    virtual unsigned char * Alloc(unsigned int count);
    /// Gives the block back; the pointers are for the caller to reset.
    virtual void DeAlloc();

public:
    [[nodiscard]] unsigned char * begin() noexcept { return first_; }
    [[nodiscard]] unsigned char const * begin() const noexcept { return first_; }
    [[nodiscard]] unsigned char * end() noexcept { return last_; }
    [[nodiscard]] unsigned char const * end() const noexcept { return last_; }

    /// The place of element `index`. Errors: std::out_of_range "Invalid KZRawVector subscript!".
    [[nodiscard]] unsigned char * operator[](unsigned int index) { return first_ + Offset(index); }
    [[nodiscard]] unsigned char const * operator[](unsigned int index) const {
        return first_ + Offset(index);
    }

    [[nodiscard]] unsigned int size() const noexcept { return internal_size(); }
    [[nodiscard]] unsigned int capacity() const noexcept;
    /// 0xFFFFFFFF bytes in elements, at least 1.
    [[nodiscard]] unsigned int max_size() const noexcept { return 0xFFFFFFFFU / elementSize_; }
    [[nodiscard]] bool empty() const noexcept { return first_ == last_; }

    /// Makes the capacity exactly `count`, if that is more than there is.
    void reserve(unsigned int count);
    /// Grows by copies of the element at `value`, or cuts from the end.
    void resize(unsigned int count, unsigned char const * value);
    void push_back(unsigned char const * value) { insert(last_, 1U, value); }
    /// Removes the last element; does nothing if there is none.
    void pop_back();
    void assign(unsigned char const * first, unsigned char const * last);
    void assign(unsigned int count, unsigned char const * value);
    /// Inserts one element and returns its place.
    unsigned char * insert(unsigned char * where, unsigned char const * value);
    /// Removes all elements; the block stays.
    void clear() { erase(first_, last_); }

protected:
    /// Throws the exception of a bad subscript.
    [[noreturn]] void _Xran() const;
    /// The number of elements.
    [[nodiscard]] unsigned int internal_size() const noexcept;

    unsigned char * first_ = nullptr;
    unsigned char * last_ = nullptr;
    unsigned char * end_ = nullptr; // of the allocated capacity
    unsigned int elementSize_;      // bytes

private:
    template <class>
    friend struct KZDetail::VectorCore;
    using Unit = unsigned char;

    [[nodiscard]] unsigned int Stride() const noexcept { return elementSize_; }
    [[nodiscard]] unsigned long Offset(unsigned int index) const {
        if (index >= size()) _Xran();
        return static_cast<unsigned long>(index) * elementSize_;
    }
};
