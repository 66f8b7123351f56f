/// @file
/// Modules: shared libraries that are loaded while the program runs.
///
///     void * const module = KZPlatform::LoadModule(u"/opt/app/report.osx");
///     if (!module) return KZErrorID(new KZWinLastError);
///     auto * const make = reinterpret_cast<Make *>(KZPlatform::FindSymbol(module, "Make"));
///     KZPlatform::FreeModule(module);
///
/// All functions may be called from any thread.
#pragma once

#include <string>
#include <string_view>

namespace KZPlatform {

/// Loads the library at `path` and returns its handle. A library that is loaded already is counted once more. Its
/// symbols aren't used to resolve those of other libraries. A relative path starts at the working directory; a name
/// without a directory is searched by the system's rules.
///
/// Everything the library depends on must be there: a missing library or symbol fails now, not at its first use.
/// Null, with the last error set, on failure: to the system's number when the file can't be read, otherwise to the
/// loader's own message.
[[nodiscard]] void * LoadModule(std::u16string_view path);

/// Undoes one `LoadModule`. The last one unloads the library, unless somebody holds it (ModuleHold.h) or it was
/// linked so that it can't be unloaded. False when `module` isn't a handle.
bool FreeModule(void * module);

/// The address of the function or variable `name` that `module` itself defines; null, with the last error set, when
/// there is none. Libraries that it depends on aren't searched.
[[nodiscard]] void * FindSymbol(void * module, char const * name);

/// Tells whether the library at `path` is in memory. Doesn't load it.
[[nodiscard]] bool IsModuleLoaded(std::u16string_view path);

/// The full path of the program.
[[nodiscard]] std::u16string GetExecutablePath();

/// The path of the library or program in which `address`, of code or data, lies; empty when there is none.
[[nodiscard]] std::u16string GetModulePath(void const * address);

/// Tells whether `address`, of code or data, lies in `module`, a handle of `LoadModule`.
[[nodiscard]] bool IsInModule(void * module, void const * address) noexcept;

/// Keeps the system from showing windows of its own about faults. This system has none.
inline void SuppressFaultDialogs() noexcept {}

} // namespace KZPlatform
