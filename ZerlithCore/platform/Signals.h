/// @file
/// Requests by a user or by the system that the process should end: on POSIX SIGINT and SIGTERM.
#pragma once

namespace KZPlatform {

/// Makes these signals set a flag from now on and do nothing else; in particular they no longer end the process.
/// False, with the last error set, when the system refuses.
bool InstallQuitHandlers() noexcept;

/// True after such a signal, or after `RequestQuit(true)`.
///
/// Thread safety: this and `RequestQuit` are callable from any thread at any time.
[[nodiscard]] bool IsQuitRequested() noexcept;

/// Sets the flag without a signal, or clears it.
void RequestQuit(bool requested = true) noexcept;

} // namespace KZPlatform
