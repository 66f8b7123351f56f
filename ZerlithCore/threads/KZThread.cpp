// A thread is found through the table, by an identifier that is never given twice; the entry, not the object, owns the
// system's thread. Locks are taken in this order: an object's section, the table's mutex.
//
// Nobody waits for a thread with one of these locks held: the thread needs both for its end.
#include "ZerlithCore/threads/KZThread.h"

#include "ZerlithCore/errors/KZError.h"
#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/threads/KZThreadTable.h"

#include <cstdlib>
#include <limits>

namespace {

using TableGuard = KZGuard<KZMutex>;

constexpr int comModelMask = 0xF;
constexpr long alreadyStarted = 15; // the message of the library's own source

std::atomic<int> defaultComModel{KZThread::NoCom};

/// Read once; what isn't a positive number is the system's default.
std::size_t StackBytes() {
    static std::size_t const bytes = [] {
        char const * const text = std::getenv("KZ_THREAD_STACKSIZE");
        long const number = text ? std::strtol(text, nullptr, 10) : 0;
        return static_cast<std::size_t>(number > 0 ? number : 0);
    }();
    return bytes;
}

/// Waits as `KZThread::WaitForThread`; false for a thread that isn't in the table, or any more.
bool AwaitEnd(unsigned long id, std::uint32_t timeout) {
    KZThreadTable & table = KZThreadTable::Get();
    bool hasEnded = false;
    for (;;) {
        std::shared_ptr<KZPlatform::ThreadRecord> handle;
        {
            TableGuard const guard(table.mutex);
            KZThreadEntry * const entry = table.Find(id);
            if (!entry || !entry->handle) return false;
            if (hasEnded || (!entry->running && id == KZPlatform::CurrentThreadId())) {
                handle.swap(entry->handle); // closed with the lock released
                table.entries.erase(KZThread_t(id, nullptr));
                return true;
            }
            if (!entry->running) timeout = KZPlatform::waitForever;
            handle = entry->handle;
        }
        hasEnded = KZPlatform::WaitForThreadEnd(handle.get(), timeout) == KZPlatform::waitDone;
    }
}

/// The table's handle of the thread, if `id` bears it.
std::shared_ptr<KZPlatform::ThreadRecord> HandleOf(KZThread_t const & id) {
    if (!id.GetHandle()) return nullptr;
    KZThreadTable & table = KZThreadTable::Get();
    TableGuard const guard(table.mutex);
    KZThreadEntry const * const entry = table.Find(id);
    return entry && entry->handle.get() == id.GetHandle() ? entry->handle : nullptr;
}

} // namespace

KZThreadTable & KZThreadTable::Get() {
    static KZThreadTable & table = *new KZThreadTable;
    return table;
}

KZThreadEntry * KZThreadTable::Find(unsigned long id) {
    auto const found = entries.find(KZThread_t(id, nullptr));
    return found == entries.end() ? nullptr : &found->second;
}

KZThread::KZThread(KZSmartPtr<KZCallback> const & body) : body_(body), flags_(defaultComModel.load()) {}

KZThread::~KZThread() { Join(); }

unsigned long KZThread::Release() const {
    unsigned long const left = count_.Decrement();
    if (left == 0) delete this;
    return left;
}

KZErrorID KZThread::Start(int priority) {
    std::size_t const stackBytes = StackBytes();
    KZThreadTable & table = KZThreadTable::Get();
    KZPlatform::ThreadHandle thread = nullptr;
    {
        KZGuard<KZCriticalSection> const guard(section_);
        TableGuard const tableGuard(table.mutex);
        if (id_ != 0UL) return KZErrorID(new KZError(glbKZOREMsgSourceP, alreadyStarted));
        thread = KZPlatform::NewThread(&KZThread::StartThreadWrapper, this, stackBytes);
        if (!thread) throw KZException(u"_beginthreadex failed in KZThread::Start()");
        if (priority != 0 && !KZPlatform::SetPriorityOf(thread, priority)) {
            KZErrorID error(new KZWinLastError);
            KZPlatform::CancelThread(thread);
            return error;
        }
        handle_.reset(thread, &KZPlatform::CloseThread);
        id_ = KZThread_t(KZPlatform::IdOf(thread), thread);
        table.entries.emplace(id_, KZThreadEntry{handle_, true, this});
        // Taken here, for the owner may let go of the object before the thread gets to run.
        isHeldByRun_ = count_.Get() != 0;
        if (isHeldByRun_) AddRef();
    }
    KZPlatform::StartThread(thread);
    return KZErrorID();
}

void KZThread::Join() {
    KZGuard<KZCriticalSection> const joinGuard(joining_);
    KZThread_t const id = GetThreadId();
    if (id == 0UL) return;
    // The thread may have taken itself out of the table, by a wait for itself: its end is waited for all the same.
    bool const isOwn = id == KZPlatform::CurrentThreadId();
    if (!isOwn) KZPlatform::WaitForThreadEnd(handle_.get(), KZPlatform::waitForever);
    if (joined_) return;
    AwaitEnd(id, KZPlatform::waitForever); // false: somebody else has waited
    joined_ = true;
}

KZThread_t KZThread::GetThreadId() const noexcept {
    KZGuard<KZCriticalSection> const guard(section_);
    return id_;
}

bool KZThread::Exists() const {
    KZThread_t const id = GetThreadId();
    KZThreadTable & table = KZThreadTable::Get();
    TableGuard const guard(table.mutex);
    KZThreadEntry const * const entry = table.Find(id);
    return entry && entry->running;
}

void KZThread::AddExitFunction(KZSmartPtr<KZCallback> const & function) {
    KZGuard<KZCriticalSection> const guard(section_);
    exitFunctions_.push_back(function);
}

void KZThread::yield() noexcept { KZPlatform::GiveWay(); }

void KZThread::Milli_sleep(unsigned int milliseconds) noexcept {
    bool const forever = milliseconds == KZPlatform::waitForever;
    KZPlatform::SleepFor(forever ? std::numeric_limits<std::uint64_t>::max() : milliseconds);
}

void KZThread::Sleep(unsigned int seconds) noexcept { KZPlatform::SleepFor(std::uint64_t{seconds} * 1000); }

KZThread_t KZThread::GetCurrentThreadID() noexcept { return {KZPlatform::CurrentThreadId(), nullptr}; }

KZThread * KZThread::GetCurrentThreadP() {
    KZThreadTable & table = KZThreadTable::Get();
    TableGuard const guard(table.mutex);
    KZThreadEntry const * const entry = table.Find(KZPlatform::CurrentThreadId());
    return entry ? entry->thread : nullptr;
}

void KZThread::WaitForThread(KZThread_t const & id, int timeout) {
    if (!AwaitEnd(id, static_cast<std::uint32_t>(timeout))) throw KZException(u"Invalid Thread ID");
}

void KZThread::SetFlag(unsigned long id, int flag) {
    KZThreadTable & table = KZThreadTable::Get();
    TableGuard const guard(table.mutex);
    KZThreadEntry const * const entry = table.Find(id);
    if (entry && entry->thread) entry->thread->SetFlag(flag);
}

bool KZThread::IsFlagSet(unsigned long id, int flag) {
    KZThreadTable & table = KZThreadTable::Get();
    TableGuard const guard(table.mutex);
    KZThreadEntry const * const entry = table.Find(id);
    return entry && entry->thread && entry->thread->IsFlagSet(flag);
}

bool KZThread::SetThreadPriority(KZThread_t const & id, int priority) {
    return KZPlatform::SetPriorityOf(HandleOf(id).get(), priority);
}

int KZThread::GetThreadPriority(KZThread_t const & id) { return KZPlatform::PriorityOf(HandleOf(id).get()); }

unsigned long KZThread::AllocateThreadKey() noexcept { return KZPlatform::NewSlot(); }

void KZThread::ReleaseThreadKey(unsigned long & key) noexcept { KZPlatform::FreeSlot(key); }

void * KZThread::Get(unsigned long key) noexcept { return KZPlatform::SlotValue(key); }

void KZThread::Set(unsigned long key, void * value) noexcept { KZPlatform::SetSlotValue(key, value); }

bool KZThread::InitializeCOM(bool initialize) noexcept {
    return defaultComModel.exchange(initialize ? SingleThreaded : NoCom) != NoCom;
}

KZThread::ComModel KZThread::InitializeCOM(ComModel model) noexcept {
    return static_cast<ComModel>(defaultComModel.exchange(model & comModelMask));
}
