#include "ZerlithCore/threads/KZSynchronizedCriticalSection.h"

#include "ZerlithCore/platform/Locks.h"

void KZSynchronizedCriticalSection::PostUnlock() noexcept {
    posted_.Post();
    section_.Unlock();
}

void KZSynchronizedCriticalSection::UnlockWait() noexcept {
    posted_.Reset();
    // The number of posts so far is read under the lock. A post after that is noticed even if another waiter resets the event
    // before this thread sleeps.
    std::uint32_t const before = KZPlatform::NoteReleases(posted_.GetHandle());
    section_.Unlock();
    KZPlatform::WaitForReleaseAfter(posted_.GetHandle(), before, KZPlatform::waitForever);
    posted_.Reset();
}
