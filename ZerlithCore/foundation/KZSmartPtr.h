/// @file
/// The two owning handles on counted objects.
///
///     class Job : public KZRefCount {};
///     KZSmartPtr<Job> job(new Job);              // count 1
///     KZSmartPtrToConst<Job> reader = job;       // count 2
///     job.Clear();                               // count 1
///     if (reader.IsNull()) return;
#pragma once

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view> // std::hash
#include <type_traits>
#include <utility>

namespace KZDetail {

/// An integer that is compared with a handle or assigned to one. It is a class, so that 0, 0L and NULL, which could
/// also be pointers, always choose the forms that take a pointer and are never ambiguous.
class Integer {
public:
    template <class Number>
    requires std::is_integral_v<Number> ||
        (std::is_enum_v<Number> && std::is_convertible_v<Number, int>)Integer(Number number) noexcept
        : value_(static_cast<std::uintptr_t>(number)) {}

    [[nodiscard]] std::uintptr_t Value() const noexcept { return value_; }

private:
    std::uintptr_t value_;
};

/// What KZSmartPtr and KZSmartPtrToConst have in common; `T` is const in the second.
///
/// The assignment rule, part of the contract: equal pointers change nothing; otherwise the old object is released
/// first, then the new pointer is stored, then a reference is added. So never assign from a handle that is a member of
/// the object being released: that object may be gone before the new one is counted.
template <class T>
class CountedHandle {
public:
    using element_type = T;

    constexpr CountedHandle() noexcept = default;
    CountedHandle(T * object) : object_(object) { Add(); }
    CountedHandle(CountedHandle const & other) : object_(other.object_) { Add(); }
    CountedHandle(CountedHandle && other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ~CountedHandle() { Drop(); }

    CountedHandle & operator=(CountedHandle const & other) {
        Assign(other.object_);
        return *this;
    }
    CountedHandle & operator=(CountedHandle && other) noexcept {
        if (object_ != other.object_) {
            T * const taken = std::exchange(other.object_, nullptr);
            Drop();
            object_ = taken;
        }
        return *this;
    }

    /// Releases the object and becomes null.
    void Clear() { Assign(nullptr); }

    /// The raw pointer; no null check, no change of the count.
    operator T *() const noexcept { return object_; }
    // The analyzer doesn't follow counts, and takes each release for the last one.
    // NOLINTBEGIN(clang-analyzer-cplusplus.NewDelete)
    T * operator->() const noexcept { return object_; }
    T & operator*() const noexcept { return *object_; }
    // NOLINTEND(clang-analyzer-cplusplus.NewDelete)

    /// The raw pointer with const removed: the sole way from a handle on a const object to a writable pointer.
    [[nodiscard]] std::remove_const_t<T> * GetPtr() const noexcept {
        return const_cast<std::remove_const_t<T> *>(object_);
    }

    /// True when no object is held.
    [[nodiscard]] bool IsNull() const noexcept { return object_ == nullptr; }

protected:
    void Assign(T * object) {
        if (object == object_) return;
        Drop();
        object_ = object;
        Add();
    }

private:
    void Add() const {
        if (object_) object_->AddRef();
    }
    void Drop() {
        if (object_) object_->Release();
    }

    T * object_ = nullptr;
};

template <class T>
inline std::uintptr_t AddressOf(T const * object) noexcept {
    return reinterpret_cast<std::uintptr_t>(object);
}

// Handles are compared by the addresses of their objects, taken as unsigned numbers; the objects themselves aren't
// compared.

template <class A, class B>
bool operator==(CountedHandle<A> const & a, CountedHandle<B> const & b) noexcept {
    return static_cast<A const *>(a.GetPtr()) == static_cast<B const *>(b.GetPtr());
}
template <class A, class B>
requires std::is_object_v<B>
bool operator==(CountedHandle<A> const & a, B * b) noexcept {
    return static_cast<A const *>(a.GetPtr()) == static_cast<B const *>(b);
}
template <class A>
bool operator==(CountedHandle<A> const & a, std::nullptr_t) noexcept {
    return a.IsNull();
}
/// Compares the address with the integer.
template <class A>
bool operator==(CountedHandle<A> const & a, Integer b) noexcept {
    return AddressOf(a.GetPtr()) == b.Value();
}
template <class A, class B>
bool operator<(CountedHandle<A> const & a, CountedHandle<B> const & b) noexcept {
    return AddressOf(a.GetPtr()) < AddressOf(b.GetPtr());
}
template <class A, class B>
requires std::is_object_v<B>
bool operator<(CountedHandle<A> const & a, B * b) noexcept { return AddressOf(a.GetPtr()) < AddressOf(b); }

} // namespace KZDetail

/// An owning handle on a counted `T`: a pointer in size, null by default, passed by value.
///
/// `T` needs `AddRef` and `Release` (KZRefCountI has both). Moving a handle changes no count.
///
/// Thread safety: two threads may use two handles on one object; a handle that one thread writes must not be used by
/// another at the same time.
template <class T>
class KZSmartPtr : public KZDetail::CountedHandle<T> {
    using Base = KZDetail::CountedHandle<T>;

public:
    constexpr KZSmartPtr() noexcept = default;
    KZSmartPtr(T * object) : Base(object) {}
    /// A handle on a derived object serves as one on its base.
    template <class U>
    requires std::convertible_to<U *, T *> &&(!std::same_as<U, T>)KZSmartPtr(KZSmartPtr<U> const & other)
        : Base(other.GetPtr()) {}

    KZSmartPtr & operator=(T * object) {
        Base::Assign(object);
        return *this;
    }
    template <class U>
    requires std::convertible_to<U *, T *> &&(!std::same_as<U, T>)KZSmartPtr &
    operator=(KZSmartPtr<U> const & other) {
        Base::Assign(other.GetPtr());
        return *this;
    }
    /// Releases the object and becomes null, whatever the integer is.
    KZSmartPtr & operator=(KZDetail::Integer) {
        Base::Clear();
        return *this;
    }
};

/// An owning handle on a counted const `T`. A KZSmartPtr converts to it, never the reverse.
///
/// Thread safety: as KZSmartPtr.
template <class T>
class KZSmartPtrToConst : public KZDetail::CountedHandle<T const> {
    using Base = KZDetail::CountedHandle<T const>;

public:
    constexpr KZSmartPtrToConst() noexcept = default;
    KZSmartPtrToConst(T const * object) : Base(object) {}
    template <class U>
    requires std::convertible_to<U const *, T const *> KZSmartPtrToConst(KZSmartPtr<U> const & other)
        : Base(other.GetPtr()) {}
    template <class U>
    requires std::convertible_to<U const *, T const *> &&
        (!std::same_as<U, T>)KZSmartPtrToConst(KZSmartPtrToConst<U> const & other)
        : Base(static_cast<U const *>(other)) {}

    KZSmartPtrToConst & operator=(T const * object) {
        Base::Assign(object);
        return *this;
    }
    template <class U>
    requires std::convertible_to<U const *, T const *> KZSmartPtrToConst &
    operator=(KZSmartPtr<U> const & other) {
        Base::Assign(other.GetPtr());
        return *this;
    }
    /// Releases the object and becomes null, whatever the integer is.
    KZSmartPtrToConst & operator=(KZDetail::Integer) {
        Base::Clear();
        return *this;
    }
};

/// Handles hash by address, so that they can be keys of the standard's unordered containers.
template <class T>
struct std::hash<KZSmartPtr<T>> {
    std::size_t operator()(KZSmartPtr<T> const & handle) const noexcept {
        return std::hash<T *>()(handle.GetPtr());
    }
};
template <class T>
struct std::hash<KZSmartPtrToConst<T>> {
    std::size_t operator()(KZSmartPtrToConst<T> const & handle) const noexcept {
        return std::hash<T *>()(handle.GetPtr());
    }
};
