/// @file
/// The dynamic array of plain pointers, under KZPointerVector.
///
///     int number = 7;
///     KZVoidPtrVector vector;
///     vector.push_back(&number);         // not owned
///     // Programs use the typed layer over it: KZPointerVector.
#pragma once

#include "ZerlithCore/KZExport.h"

namespace KZDetail {
template <class Vector>
struct VectorCore;
}

/// A dynamic array of pointers that it doesn't own.
///
/// Iterators are pointers to elements; counts and positions are in elements. Ranges that lie in the vector itself may
/// be passed to every operation. Growth, limits and errors are those of KZRawVector.
///
/// Thread safety: none; one vector is for one thread at a time.
class KZ_EXPORT KZVoidPtrVector {
public:
    KZVoidPtrVector() noexcept = default;
    KZVoidPtrVector(KZVoidPtrVector const & other);
    KZVoidPtrVector(KZVoidPtrVector && other) noexcept;
    virtual ~KZVoidPtrVector();

    KZVoidPtrVector & operator=(KZVoidPtrVector const & other);

    /// Inserts copies of the elements of a range before `where`.
    virtual void insert(void ** where, void * const * first, void * const * last);
    /// Inserts `value` `count` times before `where`.
    virtual void insert(void ** where, unsigned int count, void * value);
    /// Removes a range; returns the place after it.
    virtual void ** erase(void ** first, void ** last);
    /// Removes the element at `where` and returns the place of the next. Does nothing if `where` is the end.
    virtual void ** erase(void ** where);

protected:
    /// Copies a range to `dest`, which may overlap it; returns the place after the copy. An empty range touches
    /// no memory.
    virtual void ** OptCopy(void * const * first, void * const * last, void ** dest);
    /// Stores `value` at `count` places from `dest` on.
    virtual void OptFill(void ** dest, unsigned int count, void * value);

public:
    [[nodiscard]] void ** begin() noexcept { return first_; }
    [[nodiscard]] void * const * begin() const noexcept { return first_; }
    [[nodiscard]] void ** end() noexcept { return last_; }
    [[nodiscard]] void * const * end() const noexcept { return last_; }

    /// Errors: std::out_of_range "Invalid KZVoidPtrVector subscript!".
    [[nodiscard]] void *& operator[](unsigned int index) { return *At(index); }
    [[nodiscard]] void * const & operator[](unsigned int index) const { return *At(index); }

    [[nodiscard]] unsigned int size() const noexcept { return internal_size(); }
    [[nodiscard]] unsigned int capacity() const noexcept;
    /// The number of elements that fit into 0xFFFFFFFF bytes.
    [[nodiscard]] unsigned int max_size() const noexcept { return 0xFFFFFFFFU / sizeof(void *); }
    [[nodiscard]] bool empty() const noexcept { return first_ == last_; }

    /// Makes the capacity exactly `count`, if that is more than there is.
    void reserve(unsigned int count);
    /// Makes the size `count`: appends `value`s, or removes elements at the end.
    void resize(unsigned int count, void * value = nullptr);
    void push_back(void * value) { insert(last_, 1U, value); }
    /// Removes the last element; does nothing if there is none.
    void pop_back();
    void assign(void * const * first, void * const * last);
    void assign(unsigned int count, void * value);
    /// Inserts one element and returns its place.
    void ** insert(void ** where, void * value);
    /// Removes all elements; the memory is kept.
    void clear() { erase(first_, last_); }

protected:
    /// Throws the exception of a bad subscript.
    [[noreturn]] void _Xran() const;
    /// The number of elements.
    [[nodiscard]] unsigned int internal_size() const noexcept;

private:
    template <class>
    friend struct KZDetail::VectorCore;
    using Unit = void *;

    [[nodiscard]] static constexpr unsigned int Stride() noexcept { return 1; }
    [[nodiscard]] void ** At(unsigned int index) const {
        if (index >= size()) _Xran();
        return first_ + index;
    }
    [[nodiscard]] static void ** Alloc(unsigned int count);
    void DeAlloc() noexcept;

    void ** first_ = nullptr;
    void ** last_ = nullptr;
    void ** end_ = nullptr; // the end of the allocated block
};
