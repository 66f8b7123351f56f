// SIGINT and SIGTERM set a flag.
#include "ZerlithCore/platform/Signals.h"

#include "ZerlithCore/platform/LastError.h"

#include <atomic>
#include <cerrno>
#include <csignal>

namespace KZPlatform {

namespace {

// A signal handler may write a lock-free atomic; it does nothing else.
std::atomic<bool> quitRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void OnQuitSignal(int) { quitRequested.store(true, std::memory_order_relaxed); }

} // namespace

bool InstallQuitHandlers() noexcept {
    struct sigaction action {};
    action.sa_handler = OnQuitSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (int const signal : {SIGINT, SIGTERM}) {
        if (sigaction(signal, &action, nullptr) != 0) {
            SetLastErrorNumber(errno);
            return false;
        }
    }
    return true;
}

bool IsQuitRequested() noexcept { return quitRequested.load(std::memory_order_relaxed); }

void RequestQuit(bool requested) noexcept { quitRequested.store(requested, std::memory_order_relaxed); }

} // namespace KZPlatform
