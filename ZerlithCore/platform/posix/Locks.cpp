// A mutex is a robust, recursive mutex of the C library: when its owner ends without unlocking it, the kernel tells
// one waiter. An event is one word that changes with each release (post or pulse). The mutex or event lies in the
// `WaitObject` itself, or in a shared block (SharedBlock.h) if it has a name. However many handles a process has for
// a name, it has one `WaitObject` for them, so that the owner of a mutex is known through each handle.
//
// The kernel keeps a list of the robust mutexes that each thread holds, so the memory of a mutex must stay while a
// thread holds it. When the last handle is closed while some thread owns the mutex, the object is put on the list of
// parked objects until that thread has ended.
#include "ZerlithCore/platform/Locks.h"

#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/RecursiveLock.h"
#include "ZerlithCore/platform/posix/Futex.h"
#include "ZerlithCore/platform/posix/SharedBlock.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <csignal>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <pthread.h>
#include <string>
#include <utility>
#include <variant>

namespace KZPlatform {

namespace {

/// The event itself. Bit 0 of the low half is 1 while the event is set; the other bits of the low half count the
/// releases. The high half counts the waiters, so that a release without waiters makes no system call. An example, as
/// high half and low half:
///
///     0, 0     a new event
///     1, 0     a waiter counts itself, notes the low half, 0, and sleeps while it is 0
///     1, 3     somebody posts the event: one release, set; the system is told to wake the waiters
///     0, 3     the waiter sees another low half than 0, stops counting itself and returns
///     0, 2     the event is cleared; had the waiter not run yet, it would still see another value than 0
///     0, 4     a pulse: one more release, not set
///
/// Both halves are in one atomic because whoever releases may not read the event again afterwards: a waiter that has
/// returned may already have destroyed it.
struct EventState {
    std::atomic<std::uint64_t> value{0};
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

constexpr std::uint64_t setBit = 1;
constexpr std::uint64_t oneWaiter = std::uint64_t{1} << 32U;

constexpr std::uint32_t WordOf(std::uint64_t value) noexcept { return static_cast<std::uint32_t>(value); }
constexpr bool IsSet(std::uint64_t value) noexcept { return (value & setBit) != 0; }

/// The address of the low half, on which the system waits.
void const * WordAddress(EventState const & event) noexcept {
    constexpr int index = std::endian::native == std::endian::little ? 0 : 1;
    return reinterpret_cast<std::uint32_t const *>(&event.value) + index;
}

/// The value after one more release, with the event set or cleared.
constexpr std::uint64_t Released(std::uint64_t value, bool set) noexcept {
    std::uint32_t const next = ((WordOf(value) & ~std::uint32_t{1}) + 2U) | (set ? 1U : 0U);
    return (value & ~std::uint64_t{0xFFFFFFFF}) | next;
}

} // namespace

/// The named objects of this process by kind and name.
using NamedObjects = std::map<std::pair<char, std::u16string>, WaitObject *>;

struct WaitObject {
    std::variant<std::monostate, pthread_mutex_t, EventState> own; // the mutex or event of an unnamed object
    SharedBlock block;                                             // of a named one
    std::optional<NamedObjects::iterator> place;                   // of a named one
    unsigned handles = 1; // guarded by the registry's lock, as is what follows
    WaitObject * nextParked = nullptr;
    pthread_mutex_t * mutex = nullptr;
    EventState * event = nullptr;
    // The thread of this process that owns the mutex, or 0. Only the owner writes it; others read it to decide
    // whether the object must be parked.
    std::atomic<pid_t> owner{0};
    std::uint32_t depth = 0;

    [[nodiscard]] bool IsNamed() const noexcept { return place.has_value(); }
    [[nodiscard]] Reach Span() const noexcept { return IsNamed() ? Reach::Shared : Reach::Process; }
};

namespace {

constexpr char mutexKind = 'm';
constexpr char eventKind = 'e';

// Closing a handle must not need memory. So parked objects are linked through a member of their own, and a named
// object knows its place in the map.
constinit RecursiveLock registryLock;
constinit WaitObject * parked = nullptr;

// Made by the first named object and never destroyed, because threads may close handles while the process ends.
constinit NamedObjects * named = nullptr;

class RegistryLock {
public:
    RegistryLock() noexcept { registryLock.Lock(); }
    ~RegistryLock() { registryLock.Unlock(); }
    RegistryLock(RegistryLock const &) = delete;
    RegistryLock & operator=(RegistryLock const &) = delete;
};

bool Check(int error) noexcept {
    if (error != 0) SetLastErrorNumber(error);
    return error == 0;
}

std::uint32_t Failure(int error) noexcept {
    SetLastErrorNumber(error);
    return waitFailed;
}

int InitialiseMutex(pthread_mutex_t & mutex, bool shared) noexcept {
    pthread_mutexattr_t attributes;
    if (int const error = pthread_mutexattr_init(&attributes); error != 0) return error;
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    if (shared) pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    int const error = pthread_mutex_init(&mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return error;
}

int TimedLock(pthread_mutex_t & mutex, std::uint32_t milliseconds) noexcept {
    if (milliseconds == 0) return pthread_mutex_trylock(&mutex);
    if (milliseconds == waitForever) return pthread_mutex_lock(&mutex);
#if defined(__SANITIZE_THREAD__)
    // The thread sanitizer doesn't know pthread_mutex_clocklock, so this waits by the clock of the date.
    timespec moment = {};
    clock_gettime(CLOCK_REALTIME, &moment);
    std::uint64_t const nanoseconds =
        static_cast<std::uint64_t>(moment.tv_nsec) + milliseconds % 1000 * std::uint64_t{1000000};
    moment.tv_sec += static_cast<time_t>(milliseconds / 1000 + nanoseconds / 1000000000);
    moment.tv_nsec = static_cast<long>(nanoseconds % 1000000000);
    return pthread_mutex_timedlock(&mutex, &moment);
#else
    return pthread_mutex_clocklock(&mutex, CLOCK_MONOTONIC, Deadline(milliseconds).Moment());
#endif
}

std::uint32_t LockMutex(WaitObject & object, std::uint32_t milliseconds) noexcept {
    int const error = TimedLock(*object.mutex, milliseconds);
    if (error == EBUSY || error == ETIMEDOUT) return waitTimedOut;
    if (error != 0 && error != EOWNERDEAD) return Failure(error);
    pid_t const self = KernelThreadId();
    bool const again = error == 0 && object.owner.load(std::memory_order_relaxed) == self;
    object.depth = again ? object.depth + 1 : 1;
    object.owner.store(self, std::memory_order_relaxed);
    if (error == 0) return waitDone;
    pthread_mutex_consistent(object.mutex);
    return waitAbandoned;
}

bool IsEvent(WaitHandle handle) noexcept { return handle && handle->event; }

/// Sleeps until the event's low half differs from `noted`. It counts itself as a waiter first, so that whoever
/// releases the event wakes it.
std::uint32_t SleepUntilReleased(WaitObject & object, std::uint32_t noted,
                                 Deadline const & deadline) noexcept {
    EventState & event = *object.event;
    std::uint32_t word = WordOf(event.value.fetch_add(oneWaiter, std::memory_order_seq_cst));
    bool timedOut = false;
    while (word == noted && !timedOut) {
        timedOut = FutexWait(WordAddress(event), noted, object.Span(), deadline) == ETIMEDOUT;
        word = WordOf(event.value.load(std::memory_order_acquire));
    }
    event.value.fetch_sub(oneWaiter, std::memory_order_release);
    return word != noted ? waitDone : waitTimedOut;
}

/// Adds a release and wakes the waiters. An event that is already set has no waiters.
bool Release(WaitHandle handle, bool set) noexcept {
    if (!IsEvent(handle)) return Check(EINVAL);
    EventState & event = *handle->event;
    void const * const word = WordAddress(event);
    Reach const reach = handle->Span();
    std::uint64_t before = event.value.load(std::memory_order_relaxed);
    do {
        if (set && IsSet(before)) return true;
    } while (!event.value.compare_exchange_weak(before, Released(before, set), std::memory_order_seq_cst));
    if (before >= oneWaiter) FutexWake(word, 0x7FFFFFFF, reach);
    return true;
}

constexpr std::size_t maximumEvents = 64;

futex_waitv WordToWaitFor(WaitObject const & object) noexcept {
    futex_waitv word = {};
    word.val = WordOf(object.event->value.load(std::memory_order_seq_cst));
    word.uaddr = reinterpret_cast<std::uintptr_t>(WordAddress(*object.event));
    word.flags = FUTEX_32 | static_cast<std::uint32_t>(object.Span());
    return word;
}

/// The index of the first event that was set when `noted` was read, or was released since then.
std::uint32_t FirstReleased(std::span<WaitHandle const> events, futex_waitv const * noted) noexcept {
    for (std::uint32_t i = 0; i < events.size(); ++i) {
        if (IsSet(noted[i].val) || NoteReleases(events[i]) != noted[i].val) return i;
    }
    return waitTimedOut;
}

std::uint32_t SleepUntilAnyReleased(std::span<WaitHandle const> events, futex_waitv * noted,
                                    Deadline const & deadline) noexcept {
    for (;;) {
        std::uint32_t const first = FirstReleased(events, noted);
        if (first != waitTimedOut) return first;
        if (syscall(SYS_futex_waitv, noted, events.size(), 0, deadline.Moment(), CLOCK_MONOTONIC) >= 0)
            continue;
        if (errno == ETIMEDOUT) return FirstReleased(events, noted);
        if (errno != EAGAIN && errno != EINTR) return Failure(errno);
    }
}

/// Deletes the parked objects whose owners have ended. Requires: the registry's lock is held.
void SweepParked() noexcept {
    for (WaitObject ** place = &parked; *place;) {
        WaitObject * const object = *place;
        if (IsThreadHere(object->owner.load(std::memory_order_relaxed))) {
            place = &object->nextParked;
        } else {
            *place = object->nextParked;
            delete object;
        }
    }
}

void EndMutex(std::unique_ptr<WaitObject> object) noexcept {
    pid_t const owner = object->owner.load(std::memory_order_relaxed);
    bool const isNamed = object->IsNamed();
    if (!isNamed && owner == KernelThreadId()) {
        // Nobody else has a handle. Unlocking takes the mutex off the thread's list.
        while (object->depth > 0) UnlockMutex(object.get());
    } else if (owner != 0 && IsThreadHere(owner)) {
        object->block.GiveUpHold();
        object->nextParked = parked;
        parked = object.release();
        return;
    }
    // If the owner ended while it held the mutex, the mutex counts as locked: it must not be destroyed, and has
    // nothing to free.
    if (!isNamed && object->owner.load(std::memory_order_relaxed) == 0) pthread_mutex_destroy(object->mutex);
}

/// Returns the object for `name` with one more handle if this process has one. Otherwise makes one and opens or makes
/// its shared block.
template <class Body, class Initialise, class Undo>
WaitHandle OpenNamed(char kind, std::u16string_view name, Body * WaitObject::*body,
                     Initialise const & initialise, Undo const & undo) {
    RegistryLock const guard;
    SweepParked();
    if (!named) named = new NamedObjects;
    auto object = std::make_unique<WaitObject>();
    auto const [found, isNew] = named->try_emplace({kind, std::u16string(name)}, object.get());
    if (!isNew) {
        ++found->second->handles;
        return found->second;
    }
    object->place = found;
    auto const fill = [&](void * memory) { return initialise(*object, *static_cast<Body *>(memory)); };
    auto const drop = [&](void *) { undo(*object); };
    int error = ENOMEM;
    try {
        error = object->block.Open(kind, name, sizeof(Body), fill, drop);
    } catch (...) {
        // Lack of memory is reported like any other failure.
    }
    if (!Check(error)) {
        named->erase(found);
        return nullptr;
    }
    (*object).*body = static_cast<Body *>(object->block.Memory());
    return object.release();
}

WaitHandle NewUnnamedMutex(bool owned) {
    auto object = std::make_unique<WaitObject>();
    object->mutex = &object->own.emplace<pthread_mutex_t>();
    if (!Check(InitialiseMutex(*object->mutex, false))) return nullptr;
    if (owned) LockMutex(*object, waitForever);
    return object.release();
}

WaitHandle NewNamedMutex(std::u16string_view name, bool owned) {
    auto const initialise = [owned](WaitObject & object, pthread_mutex_t & mutex) {
        int const error = InitialiseMutex(mutex, true);
        object.mutex = &mutex;
        if (error == 0 && owned) LockMutex(object, waitForever);
        return error;
    };
    auto const undo = [owned](WaitObject & object) {
        if (owned) UnlockMutex(&object);
    };
    return OpenNamed(mutexKind, name, &WaitObject::mutex, initialise, undo);
}

WaitHandle NewUnnamedEvent(bool signalled) {
    auto object = std::make_unique<WaitObject>();
    object->event = &object->own.emplace<EventState>();
    object->event->value = signalled ? setBit : 0;
    return object.release();
}

WaitHandle NewNamedEvent(std::u16string_view name, bool signalled) {
    auto const initialise = [signalled](WaitObject &, EventState & event) {
        event.value = signalled ? setBit : 0;
        return 0;
    };
    return OpenNamed(eventKind, name, &WaitObject::event, initialise, [](WaitObject &) {});
}

template <class Make>
WaitHandle WithoutThrowing(Make const & make) noexcept {
    try {
        return make();
    } catch (...) { // no memory, or a name longer than a string can be
        SetLastErrorNumber(ENOMEM);
        return nullptr;
    }
}

} // namespace

WaitHandle NewMutex(std::u16string_view name, bool owned) noexcept {
    return WithoutThrowing(
        [&] { return name.empty() ? NewUnnamedMutex(owned) : NewNamedMutex(name, owned); });
}

WaitHandle NewEvent(std::u16string_view name, bool signalled) noexcept {
    return WithoutThrowing(
        [&] { return name.empty() ? NewUnnamedEvent(signalled) : NewNamedEvent(name, signalled); });
}

bool UnlockMutex(WaitHandle mutex) noexcept {
    if (!mutex || !mutex->mutex) return Check(EINVAL);
    bool const isOwner = mutex->owner.load(std::memory_order_relaxed) == KernelThreadId();
    // A named mutex may have been locked through a handle that is closed now. The mutex itself knows its owner and
    // refuses others.
    if (!isOwner && !mutex->IsNamed()) return Check(EPERM);
    if (isOwner && --mutex->depth == 0) mutex->owner.store(0, std::memory_order_relaxed);
    return Check(pthread_mutex_unlock(mutex->mutex));
}

bool PostEvent(WaitHandle event) noexcept { return Release(event, true); }

bool ClearEvent(WaitHandle event) noexcept {
    if (!IsEvent(event)) return Check(EINVAL);
    event->event->value.fetch_and(~setBit, std::memory_order_acq_rel);
    return true;
}

bool PulseWaiters(WaitHandle event) noexcept { return Release(event, false); }

std::uint32_t WaitFor(WaitHandle handle, std::uint32_t milliseconds) noexcept {
    if (handle && handle->mutex) return LockMutex(*handle, milliseconds);
    return WaitForReleaseAfter(handle, NoteReleases(handle), milliseconds);
}

std::uint32_t NoteReleases(WaitHandle event) noexcept {
    return IsEvent(event) ? WordOf(event->event->value.load(std::memory_order_seq_cst)) : 0;
}

std::uint32_t WaitForReleaseAfter(WaitHandle event, std::uint32_t noted,
                                  std::uint32_t milliseconds) noexcept {
    if (!IsEvent(event)) return Failure(EINVAL);
    if (IsSet(noted)) return waitDone;
    if (milliseconds == 0) return NoteReleases(event) != noted ? waitDone : waitTimedOut;
    return SleepUntilReleased(*event, noted, Deadline(milliseconds));
}

std::uint32_t WaitForAny(std::span<WaitHandle const> events, std::uint32_t milliseconds) noexcept {
    if (events.empty() || events.size() > maximumEvents || !std::ranges::all_of(events, IsEvent)) {
        return Failure(EINVAL);
    }
    Deadline const deadline(milliseconds);
    futex_waitv words[maximumEvents] = {};
    for (std::size_t i = 0; i < events.size(); ++i) {
        words[i] = WordToWaitFor(*events[i]);
        events[i]->event->value.fetch_add(oneWaiter, std::memory_order_seq_cst);
    }
    std::uint32_t const result =
        milliseconds == 0 ? FirstReleased(events, words) : SleepUntilAnyReleased(events, words, deadline);
    for (WaitHandle const event : events) event->event->value.fetch_sub(oneWaiter, std::memory_order_release);
    return result;
}

std::uint32_t UnlockAndWaitFor(WaitHandle mutex, WaitHandle event, std::uint32_t milliseconds) noexcept {
    if (!IsEvent(event)) return Failure(EINVAL);
    std::uint32_t const noted = NoteReleases(event);
    return UnlockMutex(mutex) ? WaitForReleaseAfter(event, noted, milliseconds) : waitFailed;
}

void CloseWait(WaitHandle handle) noexcept {
    if (!handle) return;
    RegistryLock const guard;
    if (--handle->handles > 0) return;
    std::unique_ptr<WaitObject> object(handle);
    if (object->IsNamed()) named->erase(*object->place);
    SweepParked();
    if (object->mutex) EndMutex(std::move(object));
}

} // namespace KZPlatform
