/// @file
/// Modules: shared libraries that are loaded while the program runs.
///
///     void * const module = KZPlatform::LoadModule(u"/opt/app/report.osx");
///     if (!module) return KZErrorID(new KZWinLastError);
///     auto * const make = reinterpret_cast<Make *>(KZPlatform::FindSymbol(module, "Make"));
///     KZPlatform::FreeModule(module);
#pragma once

#include <string>
#include <string_view>

namespace KZPlatform {

/// Loads the library at `path`, or counts it once more when it is loaded, and gives its handle. Its symbols stay its
/// own. A relative path is taken from the working directory; a mere name is looked for by the system's rules.
/// All that the library depends on must be there: a missing library or symbol fails now, not later.
/// Null with the last error set: the system's number when the file can't be had, else the loader's own words.
[[nodiscard]] void * LoadModule(std::u16string_view path);

/// Takes one load back; with the last one the library leaves memory, unless somebody holds it (ModuleHold.h) or it was
/// built to stay. False when `module` isn't a handle.
bool FreeModule(void * module);

/// The address of what `module` itself defines under `name`; null, with the last error set, when there is nothing.
/// Libraries that it depends on aren't asked.
[[nodiscard]] void * FindSymbol(void * module, char const * name);

/// Tells whether the library at `path` is in memory; it isn't loaded for that.
[[nodiscard]] bool IsModuleLoaded(std::u16string_view path);

/// The full path of the program.
[[nodiscard]] std::u16string GetExecutablePath();

/// The path of the library or program that holds `address`, code or data; empty when none does.
[[nodiscard]] std::u16string GetModulePath(void const * address);

/// Tells whether `address`, of code or data, lies in `module`, a handle of `LoadModule`.
[[nodiscard]] bool IsInModule(void * module, void const * address) noexcept;

/// Keeps the system from asking the user about faults in windows of its own. There are none here.
inline void SuppressFaultDialogs() noexcept {}

} // namespace KZPlatform
