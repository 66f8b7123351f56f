/// @file
/// What the process gets from its surroundings: environment, working directory, identifier.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace KZPlatform {

/// The value of an environment variable; none when it isn't set.
///
/// Thread safety: callable from any thread, as long as no other thread changes the environment.
[[nodiscard]] std::optional<std::u16string> GetEnvironment(std::u16string_view name);

/// The separator between the directories in a list such as "PATH".
extern char16_t const pathListSeparator;

/// Sets a variable for this process and those it starts. False for an empty name or one with "=".
///
/// Thread safety: only while no other thread reads the environment.
bool SetEnvironment(std::u16string_view name, std::u16string_view value);

/// The absolute path of the working directory; empty when the directory has been removed.
[[nodiscard]] std::u16string GetWorkingDirectory();
bool SetWorkingDirectory(std::u16string_view path);

/// Changes the working directory for as long as this object lives.
///
/// Thread safety: the working directory belongs to the whole process, so all threads see the change.
class WorkingDirectoryChange {
public:
    /// Changes to `path`, or stays where it is when the system refuses. Errors: std::bad_alloc, with nothing changed.
    explicit WorkingDirectoryChange(std::u16string_view path);
    /// Changes back. This needs no memory, so it can't fail for lack of it.
    ~WorkingDirectoryChange();
    WorkingDirectoryChange(WorkingDirectoryChange const &) = delete;
    WorkingDirectoryChange & operator=(WorkingDirectoryChange const &) = delete;

private:
    std::filesystem::path former_; // in the system's own form
};

/// The directory for temporary files, without a trailing separator.
[[nodiscard]] std::u16string GetTemporaryDirectory();

[[nodiscard]] std::uint32_t ProcessId() noexcept;

} // namespace KZPlatform
