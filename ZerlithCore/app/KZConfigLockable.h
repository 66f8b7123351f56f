/// @file
/// Locks of the parts of a configuration: locking a part locks the whole file.
///
///     KZConfigFile file(u"server.ini");
///     file.SetString(u"Server", u"port", u"8080");
///     KZConfigLine & line = *file.FindSection(u"Server")->FindLine(u"port");
///     KZGuard<KZConfigLine const> guard(line);     // takes the lock of the file
///     line.SetValue(80);
#pragma once

#include "ZerlithCore/KZExport.h"

#include <cstdint>

class KZString;

namespace KZDetail {
class NameIndex;
template <class Item, KZString const & (Item::*NameOf)() const noexcept>
class NamedList;
} // namespace KZDetail

/// Something that can be locked, const or not. Objects are never deleted through this interface.
///
/// Thread safety: `Lock` and `Unlock` may be called from any thread.
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

/// A part of a configuration. It passes `Lock` and `Unlock` on to its owner, and counts the locks.
///
/// A copy has the owner and the count of the original, so locking the copy still locks the original's file. Call
/// `SetOwner(nullptr)` on a copy that is to outlive the file. The containers (KZConfigSection, KZConfigFile) set the owner of
/// their parts after every change. The destructor releases no lock.
///
/// Thread safety: `Lock` and `Unlock` may be called from any thread while the owner stays the same. While one thread changes
/// the owner, no other may use the object.
class KZ_EXPORT KZConfigLockable : public KZConfigLockableI {
public:
    KZConfigLockable() noexcept = default;
    KZConfigLockable(KZConfigLockable const & other) noexcept
        : owner_(other.owner_), lockCount_(other.lockCount_) {}
    KZConfigLockable & operator=(KZConfigLockable const & other) noexcept {
        ChangeOwner(other.owner_);
        lockCount_ = other.lockCount_;
        return *this;
    }

    /// Locks the owner, if there is one, and adds 1 to the count.
    void Lock() const override;
    /// Undoes one `Lock`. Does nothing if the count is 0.
    void Unlock() const override;

    virtual ~KZConfigLockable();

    /// Releases all locks on the present owner, and passes later ones on to `owner`, which isn't owned and may be null for none.
    /// Does nothing if `owner` is the present owner.
    void SetOwner(KZConfigLockableI const * owner);
    /// Unlocks until the count is 0.
    void RemoveAllLocks() const;

    [[nodiscard]] KZConfigLockableI const * GetOwner() const noexcept { return owner_; }
    /// The number of locks through this object that aren't released yet.
    [[nodiscard]] std::uint32_t GetLockCount() const noexcept { return lockCount_; }

private:
    friend class KZConfigLine;
    friend class KZConfigSection;
    friend class KZConfigFile;
    friend class KZConfigReader;
    template <class Item, KZString const & (Item::*NameOf)() const noexcept>
    friend class KZDetail::NamedList;

    /// Makes this a new part of `owner` without locks. For a copy: the count that it got belongs to the original.
    void Adopt(KZConfigLockableI const * owner) noexcept {
        owner_ = owner;
        lockCount_ = 0;
    }
    /// Sets the new address of the same owner; the count stays.
    void Rebind(KZConfigLockableI const * owner) noexcept { owner_ = owner; }

    // The place in an index belongs to the memory in which a part stands: it is neither copied nor moved.
    void SetPlace(KZDetail::NameIndex * index, std::uint32_t place) noexcept {
        index_ = index;
        place_ = place;
    }
    /// Tells the index, if there is one. To be called after every change of the name.
    void Renamed(KZString const & name) noexcept {
        if (index_) TellName(name);
    }
    void TellName(KZString const & name) noexcept;
    /// The list looks for parts of other owners only after it was told of one.
    void ChangeOwner(KZConfigLockableI const * owner) noexcept {
        if (index_ && owner != owner_) TellOwner();
        owner_ = owner;
    }
    void TellOwner() noexcept;

    KZConfigLockableI const * owner_ = nullptr;
    mutable std::uint32_t lockCount_ = 0;
    std::uint32_t place_ = 0;
    KZDetail::NameIndex * index_ = nullptr; // of the list; null when this part or its list has none
};
