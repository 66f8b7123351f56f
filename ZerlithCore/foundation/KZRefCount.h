/// @file
/// Shared objects: the rule of counting, and its stock implementation.
///
/// An object starts with no owners, each owner adds one reference, and the object deletes itself when the last
/// reference is released:
///
///     class Job : public KZRefCount {};
///     KZSmartPtr<Job> job(new Job);      // count 1
///     KZSmartPtr<Job> other = job;       // count 2; the job is deleted with the last of the two
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/foundation/detail/AtomicCount.h"

#include <cstdint>

/// What every counted object can do. Handles (KZSmartPtr) need no more than this.
///
/// Thread safety: both functions may be called from any thread; a class that implements them must see to that.
class KZ_EXPORT KZRefCountI {
public:
    KZRefCountI() noexcept = default;
    KZRefCountI(KZRefCountI const &) noexcept {}
    KZRefCountI & operator=(KZRefCountI const &) noexcept { return *this; }
    virtual ~KZRefCountI();

    /// Adds an owner and returns the new count.
    virtual unsigned long AddRef() const = 0;

    /// Removes an owner and returns the new count. At 0 the object has been deleted when the call returns.
    virtual unsigned long Release() const = 0;
};

/// A reference count as a member: atomic, writable in a const object, and never copied, since it belongs to the
/// object's identity. KZCounted holds one of these.
///
/// Thread safety: all operations may be called from any thread.
class KZCounter {
public:
    constexpr KZCounter() noexcept = default;
    KZCounter(KZCounter const &) noexcept {}
    KZCounter & operator=(KZCounter const &) noexcept { return *this; }

    /// Adds one; returns the new count.
    unsigned long Increment() const noexcept { return count_.Increment(); }

    /// Subtracts one; returns the new count. The caller that gets 0 deletes the object.
    unsigned long Decrement() const noexcept { return count_.Decrement(); }

    /// The present count.
    unsigned long Get() const noexcept { return count_.load(); }

private:
    mutable KZDetail::AtomicCount<std::uint32_t> count_;
};

namespace KZDetail {
/// The base of counted classes that implement no interface.
struct NoInterface {};
} // namespace KZDetail

/// Counts the owners of a `Counted`, which derives from it:
///
///     class Job : public KZCounted<Job> {};                        // plain functions
///     class Failure : public KZCounted<Failure, KZErrorI> {};      // they override those of the interface
///
/// A new object and a copy have count 0; assignment leaves both counts alone. The last `Release` deletes the `Counted`, so a
/// class that others derive from needs a virtual destructor.
///
/// Thread safety: all operations may be called from any thread.
template <class Counted, class Interface = KZDetail::NoInterface>
class KZ_EXPORT KZCounted : public Interface {
public:
    using Interface::Interface;

    // They override the functions of the interface if it has them, so "override" can't be written.
    // NOLINTBEGIN(modernize-use-override)

    /// Adds an owner and returns the new count.
    unsigned long AddRef() const { return count_.Increment(); }
    /// Removes an owner and returns the new count. At 0 the object has been deleted when the call returns.
    unsigned long Release() const {
        unsigned long const left = count_.Decrement();
        if (left == 0) delete static_cast<Counted const *>(this);
        return left;
    }
    // NOLINTEND(modernize-use-override)

    /// The number of owners.
    [[nodiscard]] unsigned long NbRef() const noexcept { return count_.Get(); }

private:
    KZCounter count_;
};

/// The stock implementation of KZRefCountI.
///
/// A new object and a copy have count 0; assignment leaves both counts alone. An object that was never given to a
/// handle may be deleted by hand, or live on the stack.
///
/// Thread safety: `AddRef` and `Release` may be called from any thread.
class KZ_EXPORT KZRefCount : public KZCounted<KZRefCount, KZRefCountI> {
public:
    ~KZRefCount() override;

    /// The present count.
    operator unsigned long() const noexcept { return NbRef(); }
};
