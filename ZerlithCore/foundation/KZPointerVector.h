/// @file
/// The typed array of plain pointers.
///
///     KZString first, second;
///     KZPointerVector<KZString *> texts;     // doesn't own them
///     texts.push_back(&first);
///     texts.push_back(&second);
///     for (KZString * text : texts) *text += u"end";
#pragma once

#include "ZerlithCore/foundation/KZVoidPtrVector.h"

#include <type_traits>

/// A dynamic array of pointers `T` (a pointer type) that it doesn't own. Growth, limits, errors and thread safety are
/// those of KZVoidPtrVector; this layer only casts.
template <class T>
class KZPointerVector : public KZVoidPtrVector {
    static_assert(std::is_pointer_v<T>, "elements are plain pointers");
    static_assert(!std::is_same_v<T, void *>, "untyped pointers are what KZVoidPtrVector holds");

public:
    using value_type = T;
    using iterator = T *;
    using const_iterator = T const *;

    // The functions of the base remain visible, because the typed ones call them.
    using KZVoidPtrVector::erase;
    using KZVoidPtrVector::insert;

    virtual void insert(T * where, T const * first, T const * last) {
        insert(Raw(where), Raw(first), Raw(last));
    }
    virtual void insert(T * where, unsigned int count, T const & value) {
        insert(Raw(where), count, Void(value));
    }
    virtual T * erase(T * first, T * last) { return Typed(erase(Raw(first), Raw(last))); }
    virtual T * erase(T * where) { return Typed(erase(Raw(where))); }

    [[nodiscard]] T * begin() noexcept { return Typed(KZVoidPtrVector::begin()); }
    [[nodiscard]] T const * begin() const noexcept { return Typed(KZVoidPtrVector::begin()); }
    [[nodiscard]] T * end() noexcept { return Typed(KZVoidPtrVector::end()); }
    [[nodiscard]] T const * end() const noexcept { return Typed(KZVoidPtrVector::end()); }

    /// Errors: std::out_of_range "Invalid KZVoidPtrVector subscript!".
    [[nodiscard]] T & operator[](unsigned int index) { return *Typed(&KZVoidPtrVector::operator[](index)); }
    [[nodiscard]] T const & operator[](unsigned int index) const {
        return *Typed(&KZVoidPtrVector::operator[](index));
    }

    void resize(unsigned int count, T value = nullptr) { KZVoidPtrVector::resize(count, Void(value)); }
    void push_back(T value) { KZVoidPtrVector::push_back(Void(value)); }
    void assign(T const * first, T const * last) { KZVoidPtrVector::assign(Raw(first), Raw(last)); }
    void assign(unsigned int count, T value) { KZVoidPtrVector::assign(count, Void(value)); }
    /// Inserts one element and returns its place.
    T * insert(T * where, T const & value) { return Typed(KZVoidPtrVector::insert(Raw(where), Void(value))); }

private:
    static void ** Raw(T * place) noexcept { return reinterpret_cast<void **>(place); }
    static void * const * Raw(T const * place) noexcept { return reinterpret_cast<void * const *>(place); }
    static T * Typed(void ** place) noexcept { return reinterpret_cast<T *>(place); }
    static T const * Typed(void * const * place) noexcept { return reinterpret_cast<T const *>(place); }
    static void * Void(T value) noexcept { return const_cast<void *>(static_cast<void const *>(value)); }
};
