/// @file
/// How threads and pools report an exception that leaves a callback.
#pragma once

namespace KZDetail {

/// Writes "unhandled exception in KZThread" and a line end to the console, unless the trace level is 0. A failure to write is
/// ignored.
void TellUnhandledException() noexcept;

} // namespace KZDetail
