/// @file
/// What threads and pools say of an exception that leaves a callback.
#pragma once

namespace KZDetail {

/// Writes "unhandled exception in KZThread" and a line end to the console, unless the trace level is 0.
void TellUnhandledException() noexcept;

} // namespace KZDetail
