/// @file
/// The manual-reset event, which may be shared between processes.
///
///     KZEventSemaphore ready;
///     ...                            // one thread
///     ready.Post();
///     ...                            // another
///     if (ready.Wait(1000) == 0) ...
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"

namespace KZPlatform {
struct WaitObject;
}

/// A flag that threads wait for: posted, it stays so until it is reset, and lets everyone through.
///
/// Names as for KZMutex, in a space of their own.
///
/// Thread safety: all operations may be called from any thread.
class KZ_EXPORT KZEventSemaphore {
public:
    /// Makes the event, or opens the one of that name; an empty name makes an unnamed one. `initiallyPosted` doesn't
    /// count for an event that is there already. Errors: KZWindowsLastErrorException.
    explicit KZEventSemaphore(KZString const & name = KZString(), bool initiallyPosted = false);
    KZEventSemaphore(KZEventSemaphore const &) = delete;
    KZEventSemaphore & operator=(KZEventSemaphore const &) = delete;
    ~KZEventSemaphore();

    /// Posts the event. Whoever is waiting is let go, even if a reset follows at once.
    void Post() noexcept { post(); }
    void post() noexcept;

    /// Takes the post back.
    void Reset() noexcept { reset(); }
    void reset() noexcept;

    /// Lets go whoever is waiting at this moment; the event is not posted afterwards.
    void Pulse() noexcept { pulse(); }
    void pulse() noexcept;

    /// Waits at most `timeout` milliseconds, all ones for ever. 0: posted; 258: timed out; 0xFFFFFFFF: failed.
    unsigned int Wait(unsigned int timeout = 0xFFFFFFFF) noexcept { return wait(timeout); }
    unsigned int wait(unsigned int timeout = 0xFFFFFFFF) noexcept;

    /// Tells whether the event is posted. Errors: KZWindowsLastErrorException.
    [[nodiscard]] bool Posted() const { return posted(); }
    [[nodiscard]] bool posted() const;

    /// The event's handle, for `KZPlatform::WaitForAny` (platform/Locks.h). Valid as long as this object.
    [[nodiscard]] KZPlatform::WaitObject * GetHandle() const noexcept { return handle_; }

private:
    KZPlatform::WaitObject * handle_;
};
