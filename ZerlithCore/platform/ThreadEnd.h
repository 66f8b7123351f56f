/// @file
/// What a thread leaves undone until its very end, whoever started it.
///
///     struct Lease : KZPlatform::ThreadEndTask { ... };    // in memory that outlives the thread
///     lease.run = [](KZPlatform::ThreadEndTask & task) noexcept { static_cast<Lease &>(task).GiveBack(); };
///     if (!KZPlatform::CallAtThreadEnd(lease)) ...          // do without
#pragma once

namespace KZPlatform {

/// Something to do at the end of a thread. It belongs to whoever made it, and has to stay until it is called.
struct ThreadEndTask {
    void (*run)(ThreadEndTask & task) noexcept = nullptr;
    ThreadEndTask * next = nullptr; // of the same thread
};

/// Calls `task.run` on the calling thread when that ends: after the destructors of its thread-local objects, the task that
/// was given last first. The main thread has such an end only if it leaves the process to others.
///
/// Unlike a thread-local object with a destructor this needs no memory, save in a process with dozens of other users of
/// thread-specific data. False when there is none for it; the task is then forgotten.
[[nodiscard]] bool CallAtThreadEnd(ThreadEndTask & task) noexcept;

} // namespace KZPlatform
