/// @file
/// The standard output and error of the process, as bytes of UTF-8.
#pragma once

#include <string_view>

namespace KZPlatform {

/// Hands `bytes` to the C runtime's standard output in one piece, so that they keep their order with `printf` and
/// `std::cout`. False when the system refused some of them.
///
/// Thread safety: callable from any thread; pieces don't mix.
bool WriteToStandardOutput(std::string_view bytes) noexcept;

/// Hands on what the runtime still buffers. False when the system refused some of it.
bool FlushStandardOutput() noexcept;

/// Writes `bytes` to the standard error, unbuffered. As `WriteToStandardOutput` otherwise.
bool WriteToStandardError(std::string_view bytes) noexcept;

} // namespace KZPlatform
