/// @file
/// The table of all started threads that nobody has waited for yet.
#pragma once

#include "ZerlithCore/platform/Threads.h"
#include "ZerlithCore/threads/KZMutex.h"
#include "ZerlithCore/threads/KZThread_t.h"

#include <map>
#include <memory>

class KZThread;

struct KZThreadEntry {
    std::shared_ptr<KZPlatform::ThreadRecord> handle; // shared with those that wait without the table's lock
    bool running;
    KZThread * thread; // null after the body has ended
    void const * code; // an address in the module of the callback's class
};

/// The table. Its mutex guards everything in it.
struct KZThreadTable {
    KZMutex mutex;
    std::map<KZThread_t, KZThreadEntry> entries;

    /// The table of the process, made on first use. It is never destroyed, as threads may still end while the process ends.
    static KZThreadTable & Get();

    /// The entry of that identifier; null when there is none. Requires: the caller holds the mutex.
    [[nodiscard]] KZThreadEntry * Find(unsigned long id);
};

namespace KZDetail {

/// Tells whether threads may be using `module`, a handle of KZPlatform::LoadModule. A thread that hasn't wholly ended uses it
/// if the class of its callback lies there, if calls of the module are on its stack, or if its stack can't be read. So does
/// the calling thread if calls of the module are on its stack.
[[nodiscard]] bool IsUsedByThreads(void * module) noexcept;

} // namespace KZDetail
