#include "ZerlithCore/platform/LastError.h"

namespace KZPlatform {

namespace {

// Not errno itself: every call into the C library may change that between a failure and the question about it.
thread_local int lastError = 0;

} // namespace

int LastErrorNumber() noexcept { return lastError; }

void SetLastErrorNumber(int number) noexcept { lastError = number; }

} // namespace KZPlatform
