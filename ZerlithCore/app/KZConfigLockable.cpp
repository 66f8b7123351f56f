#include "ZerlithCore/app/KZConfigLockable.h"

#include "ZerlithCore/app/detail/NameIndex.h"

// The count is changed only while the owner is locked, so threads that share a part don't race on it.

KZConfigLockable & KZConfigLockable::operator=(KZConfigLockable const & other) noexcept {
    ChangeOwner(other.owner_);
    lockCount_ = other.lockCount_;
    return *this;
}

void KZConfigLockable::Lock() const {
    if (owner_) owner_->Lock();
    ++lockCount_;
}

void KZConfigLockable::Unlock() const {
    if (lockCount_ == 0) return;
    --lockCount_;
    if (owner_) owner_->Unlock();
}

KZConfigLockable::~KZConfigLockable() = default;

void KZConfigLockable::SetOwner(KZConfigLockableI const * owner) {
    if (owner == owner_) return;
    RemoveAllLocks();
    ChangeOwner(owner);
}

void KZConfigLockable::RemoveAllLocks() const {
    while (lockCount_ > 0) Unlock();
}

void KZConfigLockable::TellName(KZString const & name) noexcept { index_->Rename(place_, name); }

/// The list looks for parts of other owners only after it was told of one.
void KZConfigLockable::ChangeOwner(KZConfigLockableI const * owner) noexcept {
    if (index_ && owner != owner_) index_->hasStranger = true;
    owner_ = owner;
}
