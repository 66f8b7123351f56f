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
/// The logic of all typed vectors is here; they only cast, and say how an element is copied. Iterators are pointers to
/// the first byte of an element. Counts and positions are in elements. Values and ranges that lie in the vector itself
/// may be passed to every operation. A vector that is full grows by half its size (by a tenth from 100,001 elements
/// on), or by as many elements as are added if that is more. Spare slots after the end always hold zero bytes, or null
/// handles in vectors of handles.
///
/// Errors: std::bad_alloc, std::length_error "vector<T> too long" past `max_size`, std::out_of_range for a bad
/// subscript.
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

    /// Inserts copies of the elements of a range before `where`.
    virtual void insert(unsigned char * where, unsigned char const * first, unsigned char const * last);
    /// Inserts `count` copies of the element at `value` before `where`.
    virtual void insert(unsigned char * where, unsigned int count, unsigned char const * value);
    /// Removes a range; returns the place after it.
    virtual unsigned char * erase(unsigned char * first, unsigned char * last);
    /// Removes the element at `where` and returns the place of the next. Does nothing if `where` is the end.
    virtual unsigned char * erase(unsigned char * where);

protected:
    /// Copies a range to `dest`, which may overlap it; returns the place after the copy. An empty range touches
    /// no memory.
    virtual unsigned char * OptCopy(unsigned char const * first, unsigned char const * last,
                                    unsigned char * dest);
    /// Copies the element at `value` to `count` places from `dest` on.
    virtual void OptFill(unsigned char * dest, unsigned int count, unsigned char const * value);
    /// A block for `count` elements, every byte zero.
    virtual unsigned char * Alloc(unsigned int count);
    /// Frees the block; the caller resets the pointers.
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
    /// The number of elements that fit into 0xFFFFFFFF bytes, at least 1.
    [[nodiscard]] unsigned int max_size() const noexcept { return 0xFFFFFFFFU / elementSize_; }
    [[nodiscard]] bool empty() const noexcept { return first_ == last_; }

    /// Makes the capacity exactly `count`, if that is more than there is.
    void reserve(unsigned int count);
    /// Makes the size `count`: appends copies of the element at `value`, or removes elements at the end.
    void resize(unsigned int count, unsigned char const * value);
    void push_back(unsigned char const * value) { insert(last_, 1U, value); }
    /// Removes the last element; does nothing if there is none.
    void pop_back();
    void assign(unsigned char const * first, unsigned char const * last);
    void assign(unsigned int count, unsigned char const * value);
    /// Inserts one element and returns its place.
    unsigned char * insert(unsigned char * where, unsigned char const * value);
    /// Removes all elements; the memory is kept.
    void clear() { erase(first_, last_); }

protected:
    /// Throws the exception of a bad subscript.
    [[noreturn]] void _Xran() const;
    /// The number of elements.
    [[nodiscard]] unsigned int internal_size() const noexcept;

    unsigned char * first_ = nullptr;
    unsigned char * last_ = nullptr;
    unsigned char * end_ = nullptr; // the end of the allocated block
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
