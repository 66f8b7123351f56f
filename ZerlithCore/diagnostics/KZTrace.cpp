#include "ZerlithCore/diagnostics/KZTrace.h"

#include <atomic>

namespace {

std::atomic<unsigned int> glbTraceLevel{1};

} // namespace

unsigned int GlbGetTraceLevel() noexcept { return glbTraceLevel.load(std::memory_order_relaxed); }

void GlbSetTraceLevel(unsigned int level) noexcept { glbTraceLevel.store(level, std::memory_order_relaxed); }
