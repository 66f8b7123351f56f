/// @file
/// Arrays of owning handles.
///
///     class Job : public KZRefCount {};
///     KZSmartPtrVector<KZSmartPtr<Job>> jobs;
///     jobs.push_back(new Job);           // the vector owns it
///     jobs.erase(jobs.begin());          // released
///
///     KZCriticalSection lock;            // include its header for the locked form
///     KZSmartPtrVectorMutexedBase<KZSmartPtr<Job>> shared(lock);
#pragma once

#include "ZerlithCore/foundation/KZTypedRawVector.h"

class KZCriticalSection;

/// A dynamic array of handles `T` (KZSmartPtr or KZSmartPtrToConst): each element in it counts as one owner.
///
/// Every slot up to the capacity is a valid handle; those after the end are null. So copying a range assigns handles,
/// erasing and destroying release them, and the counts are exact at every moment. A copy of a vector owns the objects,
/// too. Growth, limits, errors and thread safety are those of KZRawVector.
template <class T>
class KZSmartPtrVector : public KZTypedRawVector<T> {
    static_assert(sizeof(T) == sizeof(void *), "a handle is one pointer, null when its bytes are zero");
    using Base = KZTypedRawVector<T>;

public:
    KZSmartPtrVector() noexcept = default;
    KZSmartPtrVector(KZSmartPtrVector const & other) : Base() { Base::assign(other.begin(), other.end()); }
    KZSmartPtrVector(KZSmartPtrVector && other) noexcept = default;
    ~KZSmartPtrVector() override { ReleaseSlots(Base::first_, Base::end_); }

    KZSmartPtrVector & operator=(KZSmartPtrVector const & other) = default;

    using Base::erase;
    using Base::insert;

    /// Releases the handles of the range, moves the following ones down and clears the slots that have become free.
    unsigned char * erase(unsigned char * first, unsigned char * last) override {
        if (first == last) return first;
        ReleaseSlots(first, last);
        Base::last_ = OptCopy(last, Base::last_, first);
        ReleaseSlots(Base::last_, Base::end_);
        return first;
    }
    /// The same for one element. The end position changes nothing.
    unsigned char * erase(unsigned char * where) override {
        if (where == Base::last_) return where;
        ReleaseSlots(where, where + sizeof(T));
        OptCopy(where + sizeof(T), Base::last_, where);
        Base::last_ -= sizeof(T);
        ReleaseSlots(Base::last_, Base::last_ + sizeof(T));
        return where;
    }

protected:
    /// Assigns the handles one by one, backwards where the ranges overlap so.
    unsigned char * OptCopy(unsigned char const * first, unsigned char const * last,
                            unsigned char * dest) override {
        T const * from = Base::Typed(first);
        T const * until = Base::Typed(last);
        T * const to = Base::Typed(dest);
        if (to <= from) {
            for (T * slot = to; from != until; ++from) *slot++ = *from;
        } else {
            for (T * slot = to + (until - from); from != until;) *--slot = *--until;
        }
        return dest + (last - first);
    }
    /// Assigns the handle to each slot.
    void OptFill(unsigned char * dest, unsigned int count, unsigned char const * value) override {
        T const & handle = *Base::Typed(value);
        for (T * slot = Base::Typed(dest); count > 0; --count) *slot++ = handle;
    }
    /// Releases all slots up to the capacity, then frees the block.
    void DeAlloc() override {
        ReleaseSlots(Base::first_, Base::end_);
        Base::DeAlloc();
    }

private:
    static void ReleaseSlots(unsigned char * first, unsigned char * last) {
        for (T * slot = Base::Typed(first); slot != Base::Typed(last); ++slot) slot->Clear();
    }
};

/// A KZSmartPtrVector whose erase of one element runs under a lock.
///
/// The lock isn't owned and must outlive the vector; a copy uses the same one, assignment leaves both where they are.
/// `LockType` needs `lock` and `unlock`.
///
/// Thread safety: the erase of one element may be called from any thread. For everything else the caller holds the
/// lock.
template <class T, class LockType = KZCriticalSection>
class KZSmartPtrVectorMutexedBase : public KZSmartPtrVector<T> {
    using Base = KZSmartPtrVector<T>;

public:
    explicit KZSmartPtrVectorMutexedBase(LockType & lock) noexcept : lock_(&lock) {}
    KZSmartPtrVectorMutexedBase(KZSmartPtrVectorMutexedBase const & other) = default;

    KZSmartPtrVectorMutexedBase & operator=(KZSmartPtrVectorMutexedBase const & other) {
        Base::operator=(other);
        return *this;
    }

    /// The vector as something to lock: forwards to the lock.
    void Lock() { lock_->lock(); }
    void Unlock() { lock_->unlock(); }

    using Base::erase;

    unsigned char * erase(unsigned char * where) override {
        Guard const guard(*lock_);
        return Base::erase(where);
    }

private:
    struct Guard {
        explicit Guard(LockType & taken) : lock(taken) { lock.lock(); }
        Guard(Guard const &) = delete;
        Guard & operator=(Guard const &) = delete;
        ~Guard() { lock.unlock(); }

        LockType & lock;
    };

    LockType * lock_;
};
