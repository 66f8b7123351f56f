#include "ZerlithCore/threads/KZSynchronizedCriticalSection.h"

#include "ZerlithCore/platform/Locks.h"

void KZSynchronizedCriticalSection::PostUnlock() noexcept {
    posted_.Post();
    section_.Unlock();
}

void KZSynchronizedCriticalSection::UnlockWait() noexcept {
    posted_.Reset();
    // Noted under the lock: another waiter's reset can't hide a post that comes before this thread sleeps.
    std::uint32_t const before = KZPlatform::NoteReleases(posted_.GetHandle());
    section_.Unlock();
    KZPlatform::WaitForReleaseAfter(posted_.GetHandle(), before, KZPlatform::waitForever);
    posted_.Reset();
}
