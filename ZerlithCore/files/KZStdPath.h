/// @file
/// Paths of the library and of the standard.
///
///     KZString const report = KZFromPath(std::filesystem::temp_directory_path() / "report.txt");
///     if (KZFile::Exists(report)) std::filesystem::copy(KZToPath(report), "copy.txt");
///
/// ZerlithCore.h doesn't include this header, because `<filesystem>` takes longer to compile than all of the library's.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"

#include <filesystem>

/// The path as the library's files and directories take it. Where the system's paths are bytes, those that aren't UTF-8 become
/// lone surrogates and are the same bytes again on the way back. Errors: std::bad_alloc.
///
/// Thread safety: may be called from any thread.
[[nodiscard]] KZ_EXPORT KZString KZFromPath(std::filesystem::path const & path);
/// The way back. Errors and thread safety are the same.
[[nodiscard]] KZ_EXPORT std::filesystem::path KZToPath(KZString const & path);
