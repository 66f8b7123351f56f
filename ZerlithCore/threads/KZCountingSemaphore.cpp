#include "ZerlithCore/threads/KZCountingSemaphore.h"

#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/platform/Threads.h"
#include "ZerlithCore/threads/KZCriticalSection.h"

namespace {

constexpr std::uint64_t pollMilliseconds = 10;

} // namespace

KZCountingSemaphore::KZCountingSemaphore(unsigned int initial, unsigned int maximum)
    : count_(initial), maximum_(maximum) {
    if (initial > maximum) {
        throw KZException(u"KZCountingSemaphore exception: initial greater than the maximum");
    }
}

void KZCountingSemaphore::lock(unsigned int n) {
    while (!TryLock(n)) KZPlatform::SleepFor(pollMilliseconds);
}

void KZCountingSemaphore::unlock(unsigned int n) {
    KZGuard<KZMutex> const guard(mutex_);
    if (n > maximum_ - count_) throw KZException(u"KZCountingSemaphore overflow");
    count_ += n;
}

bool KZCountingSemaphore::TryLock(unsigned int n) {
    KZGuard<KZMutex> const guard(mutex_);
    if (count_ < n) return false;
    count_ -= n;
    return true;
}

unsigned int KZCountingSemaphore::GetCount() const {
    KZGuard<KZMutex> const guard(mutex_);
    return count_;
}

unsigned int KZCountingSemaphore::GetSize() const {
    KZGuard<KZMutex> const guard(mutex_);
    return maximum_;
}
