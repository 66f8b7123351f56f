/// @file
/// Registers a function that runs at the very end of a thread, whoever started that thread.
///
///     struct Lease : KZPlatform::ThreadEndTask { ... };    // in memory that outlives the thread
///     lease.run = [](KZPlatform::ThreadEndTask & task) noexcept { static_cast<Lease &>(task).GiveBack(); };
///     if (!KZPlatform::CallAtThreadEnd(lease)) ...          // do without
#pragma once

namespace KZPlatform {

/// Something to do at the end of a thread. The caller owns it and must keep it until it has run.
struct ThreadEndTask {
    void (*run)(ThreadEndTask & task) noexcept = nullptr;
    ThreadEndTask * next = nullptr; // the next task of the same thread; set by `CallAtThreadEnd`
};

/// Calls `task.run` on the calling thread when that ends, after the destructors of its thread-local objects. The task
/// given last runs first. For the main thread this happens only if it ends by itself while other threads run on; the
/// end of the process runs no tasks.
///
/// Unlike a thread-local object with a destructor this needs no memory, except in a process in which dozens of others
/// use thread-specific data. False when there is no memory then: the task won't run.
[[nodiscard]] bool CallAtThreadEnd(ThreadEndTask & task) noexcept;

} // namespace KZPlatform
