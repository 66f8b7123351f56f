#include "ZerlithCore/app/KZConfigLockable.h"

#include "ZerlithCore/app/detail/NameIndex.h"

// The count is changed only while the owner is locked, so threads that share a part don't race on it.

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

void KZConfigLockable::TellOwner() noexcept { index_->hasStranger = true; }
