/// @file
/// The table of all started threads that nobody has waited for.
#pragma once

#include "ZerlithCore/platform/Threads.h"
#include "ZerlithCore/threads/KZMutex.h"
#include "ZerlithCore/threads/KZThread_t.h"

#include <map>
#include <memory>

class KZThread;

struct KZThreadEntry {
    std::shared_ptr<KZPlatform::ThreadRecord> handle; // shared with whoever waits outside the table's lock
    bool running;
    KZThread * thread; // null once the body has ended
    void const * code; // where the class of the body's callback lies
};

/// Everything in it is guarded by its mutex.
struct KZThreadTable {
    KZMutex mutex;
    std::map<KZThread_t, KZThreadEntry> entries;

    /// Made on first use and never destroyed: threads may end while the process does.
    static KZThreadTable & Get();

    /// Null when there is none.
    [[nodiscard]] KZThreadEntry * Find(unsigned long id);
};

namespace KZDetail {

/// Tells whether `module`, a handle of KZPlatform::LoadModule, may be in use by threads: one that hasn't wholly ended began
/// there, by the class of its callback, or has calls of the module on its stack, or doesn't let its stack be read; or the
/// calling thread has calls of it on its own.
[[nodiscard]] bool IsUsedByThreads(void * module) noexcept;

} // namespace KZDetail
