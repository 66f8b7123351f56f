#include "ZerlithCore/app/KZConfigLockable.h"

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
    owner_ = owner;
}

void KZConfigLockable::RemoveAllLocks() const {
    while (lockCount_ > 0) Unlock();
}
