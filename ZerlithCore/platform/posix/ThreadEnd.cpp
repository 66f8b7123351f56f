// All tasks of a thread are run by the destructor of one key of thread-specific data. The values of a process's first
// 32 keys need no memory, so the library makes its key when it is loaded; making it allocates.
#include "ZerlithCore/platform/ThreadEnd.h"

#include <atomic>
#include <pthread.h>
#include <utility>

namespace KZPlatform {

namespace {

thread_local constinit ThreadEndTask * tasks = nullptr;

void RunTasks(void *) {
    while (tasks) {
        ThreadEndTask & task = *std::exchange(tasks, tasks->next);
        task.run(task);
    }
}

constinit std::atomic<unsigned long> oneAboveKey{0};

/// The key, made at the first call; false when the system has no more keys.
bool FindKey(pthread_key_t & key) noexcept {
    unsigned long known = oneAboveKey.load(std::memory_order_acquire);
    if (known == 0) {
        if (pthread_key_create(&key, &RunTasks) != 0) return false;
        if (oneAboveKey.compare_exchange_strong(known, key + 1UL, std::memory_order_acq_rel)) return true;
        pthread_key_delete(key); // another thread has made one
    }
    key = static_cast<pthread_key_t>(known - 1);
    return true;
}

} // namespace

bool CallAtThreadEnd(ThreadEndTask & task) noexcept {
    pthread_key_t key = 0;
    // The system calls the destructor for any value but null.
    if (!FindKey(key) || pthread_setspecific(key, &task) != 0) return false;
    task.next = std::exchange(tasks, &task);
    return true;
}

} // namespace KZPlatform
