/// @file
/// The wish of a user or of the system that the process should end.
#pragma once

namespace KZPlatform {

/// From now on interrupt and termination signals set a flag in place of ending the process.
bool InstallQuitHandlers() noexcept;

/// Tells whether such a signal has arrived.
///
/// Thread safety: callable from any thread at any time, as `RequestQuit`.
[[nodiscard]] bool IsQuitRequested() noexcept;

/// Sets the flag without a signal, or takes it back.
void RequestQuit(bool requested = true) noexcept;

} // namespace KZPlatform
