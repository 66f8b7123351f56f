/// @file
/// The record to which a `ThreadHandle` points.
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
    std::atomic<std::uint32_t> references{1}; // one for the handle, one for the thread itself
    std::atomic<bool> isStarted{false};
    std::atomic<std::uint32_t> ended{0};   // set under `lock`: while it is 0 there, the thread exists
    std::atomic<std::uint32_t> joining{0}; // a `Joining` of Threads.cpp
    std::atomic<std::uint32_t> waiters{0}; // for `ended` or `joining` to change
    std::atomic<int> priority{0};
    std::atomic<pid_t> kernelId{0}; // 0 until the thread runs
    int normalNice = 0;             // guarded by `lock`, as the next member
    bool isNiceKnown = false;
    RecursiveLock lock;
    ThreadRecord * nextLeaving = nullptr;
};

} // namespace KZPlatform
