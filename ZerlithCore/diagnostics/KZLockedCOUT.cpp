// The lock that all writers to the console share, and the stream to which they write.
#include "ZerlithCore/diagnostics/KZLockedCOUT.h"

#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/platform/RecursiveLock.h"

#include <atomic>
#include <ostream>

namespace {

constinit KZPlatform::RecursiveLock glbConsoleLock;
constinit std::atomic<KZLockedCOUT::StreamSource> glbStreamSource{nullptr};

} // namespace

KZLockedCOUT::KZLockedCOUT() noexcept { glbConsoleLock.Lock(); }

KZLockedCOUT::~KZLockedCOUT() { glbConsoleLock.Unlock(); }

bool KZLockedCOUT::IsHeldByCaller() noexcept {
    if (!glbConsoleLock.TryLock()) return false;
    bool const isHeld = glbConsoleLock.RecursionCount() > 1;
    glbConsoleLock.Unlock();
    return isHeld;
}

std::wostream & KZLockedCOUT::GetCout(unsigned int level) {
    StreamSource const source = glbStreamSource.load(std::memory_order_acquire);
    if (source) return source(level);
    std::wostream & console = KZGetConsole();
    if (!console.good()) console.clear();
    return console;
}

void KZLockedCOUT::SetStreamSource(StreamSource source) noexcept {
    glbStreamSource.store(source, std::memory_order_release);
}
