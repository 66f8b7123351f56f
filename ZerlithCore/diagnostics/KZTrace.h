/// @file
/// The process-wide trace level: how much is told on the console.
#pragma once

#include "ZerlithCore/KZExport.h"

/// The trace level: 0 is silence, a higher level tells more. 1 until somebody sets it; an application sets it from its
/// command line or its configuration. Thread safety: callable from any thread.
[[nodiscard]] KZ_EXPORT unsigned int GlbGetTraceLevel() noexcept;
/// Sets it. Thread safety: callable from any thread.
KZ_EXPORT void GlbSetTraceLevel(unsigned int level) noexcept;
