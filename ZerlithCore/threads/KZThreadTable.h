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
