/// @file
/// The manual-reset event, which may be shared between processes.
///
///     KZEventSemaphore ready;
///     ready.Post();                  // one thread
///     if (ready.Wait(1000) == 0)     // another thread waits for a second at most
///         KZGetConsole() << L"ready" << std::endl;
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/threads/detail/WaitTime.h"

class KZString;

namespace KZPlatform {
struct WaitObject;
}

/// A flag that threads wait for. Once posted, it stays posted and lets every waiting thread through until it is reset.
///
/// Events may have names, by the rules of KZMutex. An event and a mutex may have the same name.
///
/// Thread safety: all operations may be called from any thread.
class KZ_EXPORT KZEventSemaphore {
public:
    /// Makes the event, or opens the one with that name. An empty name makes an event without a name. `initiallyPosted` has no
    /// effect on an event that exists already. Errors: KZWindowsLastErrorException.
    KZEventSemaphore();
    explicit KZEventSemaphore(KZString const & name, bool initiallyPosted = false);
    KZEventSemaphore(KZEventSemaphore const &) = delete;
    KZEventSemaphore & operator=(KZEventSemaphore const &) = delete;
    ~KZEventSemaphore();

    /// Posts the event. Every thread that is waiting returns, even if a reset follows at once.
    void Post() noexcept { post(); }
    void post() noexcept;

    /// Makes the event not posted.
    void Reset() noexcept { reset(); }
    void reset() noexcept;

    /// Lets every thread that is waiting at this moment return; the event is not posted afterwards.
    void Pulse() noexcept { pulse(); }
    void pulse() noexcept;

    /// Waits at most `timeout` milliseconds, or without limit for 0xFFFFFFFF. Returns 0 when the event was posted, 258 when the
    /// time is over, and 0xFFFFFFFF when the wait failed; the thread's last error then has the reason.
    unsigned int Wait(unsigned int timeout = 0xFFFFFFFF) noexcept { return wait(timeout); }
    unsigned int wait(unsigned int timeout = 0xFFFFFFFF) noexcept;
    /// The same with a duration of `<chrono>`, rounded up to milliseconds; without limit if it has more than 32 bits of them.
    template <KZDetail::IsChronoDuration Duration>
    unsigned int Wait(Duration const & timeout) noexcept {
        return wait(KZDetail::WaitMilliseconds(timeout));
    }

    /// Returns at once whether the event is posted. Errors: KZWindowsLastErrorException.
    [[nodiscard]] bool Posted() const { return posted(); }
    [[nodiscard]] bool posted() const;

    /// The event's handle, for `KZPlatform::WaitForAny` (platform/Locks.h). Valid as long as this object exists.
    [[nodiscard]] KZPlatform::WaitObject * GetHandle() const noexcept { return handle_; }

private:
    KZPlatform::WaitObject * handle_;
};
