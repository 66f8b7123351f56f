#include "ZerlithCore/threads/KZMutex.h"

#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/platform/Locks.h"
#include "ZerlithCore/text/KZString.h"

KZMutex::KZMutex() : KZMutex(KZString()) {}

KZMutex::KZMutex(KZString const & name, bool initiallyOwned)
    : handle_(KZPlatform::NewMutex(name.c_str(), initiallyOwned)) {
    if (!handle_) throw KZWindowsLastErrorException();
}

KZMutex::~KZMutex() { KZPlatform::CloseWait(handle_); }

bool KZMutex::lock(unsigned int timeout) {
    std::uint32_t const result = KZPlatform::WaitFor(handle_, timeout);
    if (result == KZPlatform::waitFailed) throw KZWindowsLastErrorException();
    return result == KZPlatform::waitDone;
}

void KZMutex::unlock() {
    if (!KZPlatform::UnlockMutex(handle_)) throw KZWindowsLastErrorException();
}
