// Tells which threads keep a module in memory: those whose callback's class lies in the module, and those that have calls of
// the module on their stack. A worker of a pool, for example, starts elsewhere and calls into the module later.
#include "ZerlithCore/platform/Modules.h"
#include "ZerlithCore/platform/Stack.h"
#include "ZerlithCore/threads/KZCriticalSection.h"
#include "ZerlithCore/threads/detail/KZThreadTable.h"

#include <algorithm>
#include <array>
#include <span>

namespace {

constexpr std::size_t maximumFrames = 512;

bool HasAnyOf(void * module, std::span<void * const> addresses) {
    return std::ranges::any_of(addresses,
                               [=](void const * address) { return KZPlatform::IsInModule(module, address); });
}

bool HasEnded(KZPlatform::ThreadHandle thread) {
    return !thread || KZPlatform::WaitForThreadEnd(thread, 0) == KZPlatform::waitDone;
}

// A thread whose stack can't be read counts as using every module.
bool IsUsedBy(KZThreadEntry const & entry, void * module, std::span<void *> addresses) {
    KZPlatform::ThreadHandle const thread = entry.handle.get();
    if (HasEnded(thread)) return false;
    if (KZPlatform::IsInModule(module, entry.code)) return true;
    std::size_t const count = KZPlatform::CollectStackOf(thread, addresses);
    return count == 0 ? !HasEnded(thread) : HasAnyOf(module, addresses.first(count));
}

} // namespace

bool KZDetail::IsUsedByThreads(void * module) noexcept {
    std::array<void *, maximumFrames> addresses;
    if (HasAnyOf(module, std::span(addresses).first(KZPlatform::CaptureStack(addresses)))) return true;
    try {
        KZThreadTable & table = KZThreadTable::Get();
        KZGuard<KZMutex> const guard(table.mutex);
        return std::ranges::any_of(table.entries, [&](auto const & each) {
            return each.first != KZPlatform::CurrentThreadId() && IsUsedBy(each.second, module, addresses);
        });
    } catch (...) {
        return true; // it can't be found out, so the module must stay
    }
}
