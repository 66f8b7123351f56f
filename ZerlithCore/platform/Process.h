/// @file
/// What the process is given by its surroundings: environment, working directory, identifier.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace KZPlatform {

/// The value of an environment variable; none when it isn't set.
///
/// Thread safety: with each other. Nothing may write the environment meanwhile.
[[nodiscard]] std::optional<std::u16string> GetEnvironment(std::u16string_view name);

/// What stands between the directories of a list such as "PATH".
extern char16_t const PathListSeparator;

/// Sets a variable for this process and those it starts. False for an empty name or one with "=".
///
/// Thread safety: only while no other thread reads the environment.
bool SetEnvironment(std::u16string_view name, std::u16string_view value);

/// The working directory, from the root; empty when it is gone.
[[nodiscard]] std::u16string GetWorkingDirectory();
bool SetWorkingDirectory(std::u16string_view path);

/// Another working directory for as long as this object lives.
///
/// Thread safety: the working directory is the process's.
class WorkingDirectoryChange {
public:
    /// Goes to `path`, or stays where the system refuses that. Errors: std::bad_alloc, with nothing changed.
    explicit WorkingDirectoryChange(std::u16string_view path);
    /// Goes back, which takes no memory.
    ~WorkingDirectoryChange();
    WorkingDirectoryChange(WorkingDirectoryChange const &) = delete;
    WorkingDirectoryChange & operator=(WorkingDirectoryChange const &) = delete;

private:
    std::filesystem::path former_; // as the system writes it
};

/// Where the system wants temporary files, without a trailing separator.
[[nodiscard]] std::u16string GetTemporaryDirectory();

[[nodiscard]] std::uint32_t ProcessId() noexcept;

} // namespace KZPlatform
