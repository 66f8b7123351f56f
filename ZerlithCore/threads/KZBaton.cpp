#include "ZerlithCore/threads/KZBaton.h"

#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/Locks.h"

#include <algorithm>

KZBaton::KZBaton() : mutex_(KZPlatform::NewMutex({}, false)), turnStarted_(KZPlatform::NewEvent({}, false)) {
    if (mutex_ && turnStarted_) return;
    // Closed before the exception is made, which needs memory.
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
    // Never backwards: of two callers with old numbers, the later one must not take the turn of those who wait.
    last_.store(std::max(last_.load(std::memory_order_relaxed), turn), std::memory_order_release);
}

void KZBaton::unlock() noexcept {
    KZPlatform::PulseWaiters(turnStarted_);
    KZPlatform::UnlockMutex(mutex_);
}
