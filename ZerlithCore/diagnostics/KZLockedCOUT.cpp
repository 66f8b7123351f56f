#include "ZerlithCore/diagnostics/KZLockedCOUT.h"

#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/platform/RecursiveLock.h"

#include <atomic>

namespace {

constinit KZPlatform::RecursiveLock glbConsoleLock;
constinit std::atomic<KZLockedCOUT::StreamSource> glbStreamSource{nullptr};

} // namespace

KZLockedCOUT::KZLockedCOUT() noexcept { glbConsoleLock.Lock(); }

KZLockedCOUT::~KZLockedCOUT() { glbConsoleLock.Unlock(); }

std::wostream & KZLockedCOUT::GetCout(unsigned int level) {
    StreamSource const source = glbStreamSource.load(std::memory_order_acquire);
    return source ? source(level) : KZGetConsole();
}

void KZLockedCOUT::SetStreamSource(StreamSource source) noexcept {
    glbStreamSource.store(source, std::memory_order_release);
}
