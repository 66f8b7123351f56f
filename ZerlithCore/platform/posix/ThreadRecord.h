/// @file
/// What stands behind a thread's handle.
#pragma once

#include "ZerlithCore/platform/RecursiveLock.h"

#include <atomic>
#include <cstdint>
#include <pthread.h>
#include <sys/types.h>

namespace KZPlatform {

struct ThreadRecord {
    void (*entry)(void *) = nullptr;
    void * argument = nullptr;
    unsigned long id = 0;
    pthread_t thread = {};
    std::atomic<std::uint32_t> references{2}; // the handle's and the thread's own
    std::atomic<std::uint32_t> command{0};    // what the thread waits for at its start
    std::atomic<std::uint32_t> ended{0}; // set under `lock`, so that the thread is alive while it is 0 there
    std::atomic<std::uint32_t> joining{0}; // how far the one join of the thread is
    std::atomic<int> priority{0};
    std::atomic<pid_t> kernelId{0}; // 0 until the thread runs
    int normalNice = 0;             // guarded by `lock`, as what follows
    bool isNiceKnown = false;
    RecursiveLock lock;
};

} // namespace KZPlatform
