/// @file
/// The trace level of the process: how much is written to the console.
///
///     GlbSetTraceLevel(2);
///     if (GlbGetTraceLevel() >= 2) KZGetConsole() << L"detail" << std::endl;
#pragma once

#include "ZerlithCore/KZExport.h"

/// The trace level: at 0 nothing is written, and each higher level adds messages. It is 1 until it is set; an application sets
/// it from its command line or its configuration. Thread safety: callable from any thread.
[[nodiscard]] KZ_EXPORT unsigned int GlbGetTraceLevel() noexcept;
/// Sets the trace level. Thread safety: callable from any thread.
KZ_EXPORT void GlbSetTraceLevel(unsigned int level) noexcept;
