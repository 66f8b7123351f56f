#include "ZerlithCore/threads/KZCriticalSection.h"

unsigned int KZCriticalSection::IsLocked() noexcept {
    if (!lock_.TryLock()) return 0;
    unsigned int const count = lock_.RecursionCount();
    lock_.Unlock();
    return count;
}
