#include "ZerlithCore/threads/KZEventSemaphore.h"

#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/platform/Locks.h"
#include "ZerlithCore/text/KZString.h"

KZEventSemaphore::KZEventSemaphore() : KZEventSemaphore(KZString()) {}

KZEventSemaphore::KZEventSemaphore(KZString const & name, bool initiallyPosted)
    : handle_(KZPlatform::NewEvent(name.c_str(), initiallyPosted)) {
    if (!handle_) throw KZWindowsLastErrorException();
}

KZEventSemaphore::~KZEventSemaphore() { KZPlatform::CloseWait(handle_); }

void KZEventSemaphore::post() noexcept { KZPlatform::PostEvent(handle_); }

void KZEventSemaphore::reset() noexcept { KZPlatform::ClearEvent(handle_); }

void KZEventSemaphore::pulse() noexcept { KZPlatform::PulseWaiters(handle_); }

unsigned int KZEventSemaphore::wait(unsigned int timeout) noexcept {
    return KZPlatform::WaitFor(handle_, timeout);
}

bool KZEventSemaphore::posted() const {
    std::uint32_t const result = KZPlatform::WaitFor(handle_, 0);
    if (result == KZPlatform::waitFailed) throw KZWindowsLastErrorException();
    return result != KZPlatform::waitTimedOut;
}
