#include "ZerlithCore/threads/KZBaton.h"

#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/Locks.h"

#include <algorithm>

KZBaton::KZBaton() : mutex_(KZPlatform::NewMutex({}, false)), turnStarted_(KZPlatform::NewEvent({}, false)) {
    if (mutex_ && turnStarted_) return;
    // They are closed before the exception is made, because making it may itself throw for want of memory.
    int const reason = KZPlatform::LastErrorNumber();
    KZPlatform::CloseWait(mutex_);
    KZPlatform::CloseWait(turnStarted_);
    KZPlatform::SetLastErrorNumber(reason);
    throw KZWindowsLastErrorException();
}

KZBaton::~KZBaton() {
    KZPlatform::WaitFor(mutex_, KZPlatform::waitForever);
    KZPlatform::CloseWait(turnStarted_);
    KZPlatform::UnlockMutex(mutex_);
    KZPlatform::CloseWait(mutex_);
}

void KZBaton::lock(unsigned int turn) noexcept {
    if (turn <= last_.load(std::memory_order_acquire)) return;
    KZPlatform::WaitFor(mutex_, KZPlatform::waitForever);
    while (last_.load(std::memory_order_relaxed) < turn - 1) {
        KZPlatform::UnlockAndWaitFor(mutex_, turnStarted_, KZPlatform::waitForever);
        KZPlatform::WaitFor(mutex_, KZPlatform::waitForever);
    }
    // The number never decreases. Otherwise a caller whose turn has passed while it waited would delay the next turns.
    last_.store(std::max(last_.load(std::memory_order_relaxed), turn), std::memory_order_release);
}

void KZBaton::unlock() noexcept {
    KZPlatform::PulseWaiters(turnStarted_);
    KZPlatform::UnlockMutex(mutex_);
}
