/// @file
/// Locking a part of a configuration locks the whole.
///
///     KZGuard<KZConfigLine const> guard(line);     // enters the critical section of the file that holds the line
#pragma once

#include "ZerlithCore/KZExport.h"

#include <cstdint>

/// What can be locked, const or not. Objects are never deleted through this interface.
class KZ_EXPORT KZConfigLockableI {
public:
    KZConfigLockableI() noexcept = default;
    KZConfigLockableI(KZConfigLockableI const &) noexcept = default;
    KZConfigLockableI & operator=(KZConfigLockableI const &) noexcept = default;

    virtual void Lock() const = 0;
    virtual void Unlock() const = 0;

protected:
    ~KZConfigLockableI() = default;
};

/// A part of a configuration: forwards locks to its owner, and counts those that it forwarded.
///
/// A copy has the owner and the count of its original, so locking it still locks the original's file: call
/// `SetOwner(nullptr)` on a copy that is to outlive the file. The containers of the library (KZConfigSection,
/// KZConfigFile) set the owner of what they hold after every change.
///
/// Thread safety: `Lock` and `Unlock` may be called from any thread while the owner stays; changing the owner isn't
/// for concurrent use. The destructor undoes no lock.
class KZ_EXPORT KZConfigLockable : public KZConfigLockableI {
public:
    KZConfigLockable() noexcept = default;
    KZConfigLockable(KZConfigLockable const & other) noexcept = default;
    KZConfigLockable & operator=(KZConfigLockable const & other) noexcept = default;

    /// Locks the owner, if there is one, and counts.
    void Lock() const override;
    /// Undoes one `Lock`; with none to undo it does nothing.
    void Unlock() const override;

    virtual ~KZConfigLockable();

    /// Forwards to `owner` from now on (null: to nobody; not owned), after undoing all locks through the present owner.
    /// The present owner changes nothing.
    void SetOwner(KZConfigLockableI const * owner);
    /// Unlocks until the count is 0.
    void RemoveAllLocks() const;

    [[nodiscard]] KZConfigLockableI const * GetOwner() const noexcept { return owner_; }
    /// How many locks through this object aren't undone yet.
    [[nodiscard]] std::uint32_t GetLockCount() const noexcept { return lockCount_; }

private:
    friend class KZConfigLine;
    friend class KZConfigSection;
    friend class KZConfigFile;
    friend class KZConfigReader;

    /// A fresh part of `owner`: its locks, if any, were the original's and aren't ours to undo.
    void Adopt(KZConfigLockableI const * owner) noexcept {
        owner_ = owner;
        lockCount_ = 0;
    }
    /// The same owner at a new address: the locks stand.
    void Rebind(KZConfigLockableI const * owner) noexcept { owner_ = owner; }

    KZConfigLockableI const * owner_ = nullptr;
    mutable std::uint32_t lockCount_ = 0;
};
