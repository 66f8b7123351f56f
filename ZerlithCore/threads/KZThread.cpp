// A thread is found through the table, by an identifier that no other thread ever gets. The entry in the table, not the
// object, owns the system's thread. Locks are taken in this order: an object's section, the table's mutex.
//
// A thread needs both locks to end, so nobody may wait for a thread while holding one of them. For the same reason a thread
// that is started under the table's mutex doesn't end before its starter unlocks that mutex.
#include "ZerlithCore/threads/KZThread.h"

#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/text/detail/OwnErrors.h"
#include "ZerlithCore/threads/detail/KZThreadTable.h"

#include <cstdlib>
#include <limits>
#include <typeinfo>

namespace {

using TableGuard = KZGuard<KZMutex>;

constexpr int comModelMask = 0xF;

std::atomic<int> defaultComModel{KZThread::NoCom};

/// The stack size, read once from the environment; 0, which means the system's default, if that isn't a positive number.
std::size_t StackBytes() {
    static std::size_t const bytes = [] {
        char const * const text = std::getenv("KZ_THREAD_STACKSIZE");
        long const number = text ? std::strtol(text, nullptr, 10) : 0;
        return static_cast<std::size_t>(number > 0 ? number : 0);
    }();
    return bytes;
}

enum class Wait : unsigned char { Done, NotInTable, OnItself };

/// Waits as `KZThread::WaitForThread`, and takes the thread out of the table.
Wait AwaitEnd(unsigned long id, std::uint32_t timeout) noexcept {
    KZThreadTable & table = KZThreadTable::Get();
    bool const isOwn = id == KZPlatform::CurrentThreadId();
    bool hasEnded = false;
    for (;;) {
        std::shared_ptr<KZPlatform::ThreadRecord> handle;
        {
            TableGuard const guard(table.mutex);
            KZThreadEntry * const entry = table.Find(id);
            if (!entry || !entry->handle) return Wait::NotInTable;
            if (isOwn && entry->running) return Wait::OnItself;
            if (hasEnded || isOwn) {
                handle.swap(entry->handle); // so that it is closed after the lock is released
                table.entries.erase(KZThread_t(id, nullptr));
                return Wait::Done;
            }
            if (!entry->running) timeout = KZPlatform::waitForever;
            handle = entry->handle;
        }
        hasEnded = KZPlatform::WaitForThreadEnd(handle.get(), timeout) == KZPlatform::waitDone;
    }
}

[[noreturn]] void RefuseWaitOnItself() { throw KZException(u"A thread can't wait for its own end"); }

/// The thread's handle from the table, if it is the handle in `id`; else null.
std::shared_ptr<KZPlatform::ThreadRecord> HandleOf(KZThread_t const & id) {
    if (!id.GetHandle()) return nullptr;
    KZThreadTable & table = KZThreadTable::Get();
    TableGuard const guard(table.mutex);
    KZThreadEntry const * const entry = table.Find(id);
    return entry && entry->handle.get() == id.GetHandle() ? entry->handle : nullptr;
}

/// An address in the module that holds the class of the callback.
void const * CodeOf(KZSmartPtr<KZCallback> const & callback) {
    KZCallback const * const object = callback;
    return object ? &typeid(*object) : nullptr;
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

KZThread::~KZThread() {
    if (IsCurrent())
        LeaveRun();
    else
        JoinFromOther();
}

KZErrorID KZThread::Start(int priority) {
    std::size_t const stackBytes = StackBytes();
    KZThreadTable & table = KZThreadTable::Get();
    {
        KZGuard<KZCriticalSection> const guard(section_);
        TableGuard const tableGuard(table.mutex);
        if (id_ != 0UL) return KZDetail::OwnError(KZDetail::OwnMessage::ThreadStarted);
        std::shared_ptr<KZPlatform::ThreadRecord> const handle(
            KZPlatform::NewThread(&KZThread::StartThreadWrapper, this, stackBytes), &KZPlatform::CloseThread);
        if (handle && priority != 0 && !KZPlatform::SetPriorityOf(handle.get(), priority))
            return KZDetail::LastSystemError();
        if (handle && Launch(handle)) return KZErrorID();
    }
    throw KZException(u"_beginthreadex failed in KZThread::Start()");
}

// The table and the object are filled in before the thread runs, and restored if it can't be started. Called under both locks.
bool KZThread::Launch(std::shared_ptr<KZPlatform::ThreadRecord> const & handle) {
    KZThreadTable & table = KZThreadTable::Get();
    KZThread_t const id(KZPlatform::IdOf(handle.get()), handle.get());
    auto const entry = table.entries.emplace(id, KZThreadEntry{handle, true, this, CodeOf(body_)}).first;
    id_ = id;
    handle_ = handle;
    if (!KZPlatform::StartThread(handle.get())) {
        table.entries.erase(entry);
        id_ = KZThread_t();
        handle_.reset();
        return false;
    }
    // The thread holds a reference, as the owner may release its own before the thread runs. It is early enough to add it here:
    // the thread can't end before it gets the lock, which the caller holds.
    isHeldByRun_ = NbRef() != 0;
    if (isHeldByRun_) AddRef();
    return true;
}

void KZThread::Join() {
    KZThread_t const id = GetThreadId();
    if (id == 0UL) return;
    if (IsCurrent()) { // doesn't lock `joining_`: another thread may hold it and be waiting for this one
        if (AwaitEnd(id, KZPlatform::waitForever) == Wait::OnItself) RefuseWaitOnItself();
        joined_ = true;
        return;
    }
    JoinFromOther();
}

void KZThread::JoinFromOther() noexcept {
    KZThread_t const id = GetThreadId();
    if (id == 0UL) return;
    KZGuard<KZCriticalSection> const joinGuard(joining_);
    // Waits by the handle first: an exit function may have removed the thread from the table while it still runs.
    KZPlatform::WaitForThreadEnd(handle_.get(), KZPlatform::waitForever);
    if (joined_) return;
    AwaitEnd(id, KZPlatform::waitForever); // finds nothing if somebody else has waited
    joined_ = true;
}

bool KZThread::IsCurrent() const noexcept { return GetThreadId() == KZPlatform::CurrentThreadId(); }

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
    exitFunctions_.push_back({KZPlatform::ModuleHold(CodeOf(function)), function});
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
    switch (AwaitEnd(id, static_cast<std::uint32_t>(timeout))) {
    case Wait::NotInTable: throw KZException(u"Invalid Thread ID");
    case Wait::OnItself: RefuseWaitOnItself();
    case Wait::Done: break;
    }
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
