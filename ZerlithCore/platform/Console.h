/// @file
/// Writes UTF-8 to the standard output and the standard error of the process.
#pragma once

#include "ZerlithCore/KZExport.h"

#include <string_view>

namespace KZPlatform {

/// Writes `bytes` to the C runtime's standard output in one piece, so that they keep their order with `printf` and
/// `std::cout`. False when the system refused some of them.
///
/// Thread safety: callable from any thread; the pieces of two threads don't mix. Waits for no lock that a thread
/// holds while it runs a user's code.
bool WriteToStandardOutput(std::string_view bytes) noexcept;

/// Writes out what the runtime still holds in its buffer. False when the system refused some of it.
bool FlushStandardOutput() noexcept;

/// The same for the standard error, which has no buffer.
bool WriteToStandardError(std::string_view bytes) noexcept;

/// Whether a person reads the standard error: true for a terminal, false for a file and for a pipe.
[[nodiscard]] KZ_EXPORT bool IsStandardErrorATerminal() noexcept;

} // namespace KZPlatform
