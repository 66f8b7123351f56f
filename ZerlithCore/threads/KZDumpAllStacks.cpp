// Writes the stacks of all threads in the table, one thread after the other.
#include "ZerlithCore/platform/Stack.h"
#include "ZerlithCore/threads/KZThread.h"
#include "ZerlithCore/threads/detail/KZThreadTable.h"

#include <array>
#include <cstdio>

namespace {

constexpr std::size_t maximumFrames = 128;

void PrintStack(unsigned long id, std::span<void * const> addresses) {
    std::fprintf(stderr, "\nThread %lu\n", id);
    if (addresses.empty()) std::fputs("  (no stack)\n", stderr);
    for (KZPlatform::FrameName const & frame : KZPlatform::NameAddresses(addresses)) {
        std::fprintf(stderr, "  %s+0x%zx (%s+0x%zx)\n", frame.function.empty() ? "?" : frame.function.c_str(),
                     frame.functionOffset, frame.module.c_str(), frame.moduleOffset);
    }
}

void DumpThread(unsigned long id, KZThreadEntry const & entry) {
    std::array<void *, maximumFrames> addresses;
    bool const isCaller = id == KZPlatform::CurrentThreadId();
    std::size_t const count = isCaller ? KZPlatform::CaptureStack(addresses)
                                       : KZPlatform::CollectStackOf(entry.handle.get(), addresses);
    PrintStack(id, {addresses.data(), count});
}

} // namespace

void KZDumpAllStacks() noexcept {
    std::fputs("\n\n****** Dumping call stack for all threads ******\n", stderr);
    try {
        KZThreadTable & table = KZThreadTable::Get();
        KZGuard<KZMutex> const guard(table.mutex);
        for (auto const & [id, entry] : table.entries) {
            if (entry.running) DumpThread(id, entry);
        }
    } catch (...) {
        // Memory ran out or the lock failed: the output ends here.
    }
    std::fputs("\n****** Call stacks dumped ******\n\n", stderr);
}
