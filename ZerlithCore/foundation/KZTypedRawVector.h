/// @file
/// The typed array of elements that may be moved as bytes.
///
///     struct Point { int x, y; };
///     KZTypedRawVector<Point> points;
///     points.push_back({1, 2});
///     for (Point & point : points) point.x += 1;
#pragma once

#include "ZerlithCore/foundation/KZRawVector.h"

#include <type_traits>

/// A dynamic array of `T`. Elements move as bytes, without constructors or destructors: so `T` must be a trivial type,
/// or a derived class must override the hooks, as KZSmartPtrVector does. Growth, limits, errors and thread safety are
/// those of KZRawVector; this layer only casts.
template <class T>
class KZTypedRawVector : public KZRawVector {
    static_assert(!std::is_same_v<std::remove_cv_t<T>, unsigned char>, "bytes are what KZRawVector(1) holds");

public:
    using value_type = T;
    using iterator = T *;
    using const_iterator = T const *;

    KZTypedRawVector() noexcept : KZRawVector(sizeof(T)) {}

    // The functions of the base remain visible, because the typed ones call them and derived classes override them.
    using KZRawVector::erase;
    using KZRawVector::insert;

    virtual void insert(T * where, T const * first, T const * last) {
        insert(Raw(where), Raw(first), Raw(last));
    }
    virtual void insert(T * where, unsigned int count, T const & value) {
        insert(Raw(where), count, Raw(&value));
    }
    virtual T * erase(T * first, T * last) { return Typed(erase(Raw(first), Raw(last))); }
    virtual T * erase(T * where) { return Typed(erase(Raw(where))); }

    [[nodiscard]] T * begin() noexcept { return Typed(KZRawVector::begin()); }
    [[nodiscard]] T const * begin() const noexcept { return Typed(KZRawVector::begin()); }
    [[nodiscard]] T * end() noexcept { return Typed(KZRawVector::end()); }
    [[nodiscard]] T const * end() const noexcept { return Typed(KZRawVector::end()); }

    /// Errors: std::out_of_range "Invalid KZRawVector subscript!".
    [[nodiscard]] T & operator[](unsigned int index) { return *Typed(KZRawVector::operator[](index)); }
    [[nodiscard]] T const & operator[](unsigned int index) const {
        return *Typed(KZRawVector::operator[](index));
    }

    void resize(unsigned int count, T const & value = T()) { KZRawVector::resize(count, Raw(&value)); }
    void push_back(T const & value) { KZRawVector::push_back(Raw(&value)); }
    void assign(T const * first, T const * last) { KZRawVector::assign(Raw(first), Raw(last)); }
    void assign(unsigned int count, T const & value) { KZRawVector::assign(count, Raw(&value)); }
    /// Inserts one element and returns its place.
    T * insert(T * where, T const & value) { return Typed(KZRawVector::insert(Raw(where), Raw(&value))); }

protected:
    static unsigned char * Raw(T * place) noexcept { return reinterpret_cast<unsigned char *>(place); }
    static unsigned char const * Raw(T const * place) noexcept {
        return reinterpret_cast<unsigned char const *>(place);
    }
    static T * Typed(unsigned char * place) noexcept { return reinterpret_cast<T *>(place); }
    static T const * Typed(unsigned char const * place) noexcept {
        return reinterpret_cast<T const *>(place);
    }
};
