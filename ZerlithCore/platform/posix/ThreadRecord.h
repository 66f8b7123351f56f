/// @file
/// What stands behind a thread's handle.
#pragma once

#include "ZerlithCore/platform/RecursiveLock.h"
#include "ZerlithCore/platform/ThreadEnd.h"
#include "ZerlithCore/platform/posix/StackMemory.h"

#include <atomic>
#include <cstdint>
#include <pthread.h>
#include <sys/types.h>

namespace KZPlatform {

struct ThreadRecord : ThreadEndTask {
    void (*entry)(void *) = nullptr;
    void * argument = nullptr;
    unsigned long id = 0;
    StackMemory stack;
    pthread_t thread = {};
    std::atomic<std::uint32_t> references{1}; // the handle's, and the thread's own
    std::atomic<bool> isStarted{false};
    std::atomic<std::uint32_t> ended{0}; // set under `lock`, so that the thread is alive while it is 0 there
    std::atomic<std::uint32_t> joining{0}; // how far the one join of the thread is
    std::atomic<std::uint32_t> waiters{0}; // for one of the two words
    std::atomic<int> priority{0};
    std::atomic<pid_t> kernelId{0}; // 0 until the thread runs
    int normalNice = 0;             // guarded by `lock`, as what follows
    bool isNiceKnown = false;
    RecursiveLock lock;
    ThreadRecord * nextLeaving = nullptr;
};

} // namespace KZPlatform
