// Environment and working directory through the C library.
#include "ZerlithCore/platform/Process.h"

#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/posix/Path.h"

#include <cerrno>
#include <cstdlib>
#include <memory>

#include <unistd.h>

namespace KZPlatform {

namespace {

bool Succeeded(int result) noexcept {
    if (result != 0) SetLastErrorNumber(errno);
    return result == 0;
}

} // namespace

std::optional<std::u16string> GetEnvironment(std::u16string_view name) {
    char const * const value = std::getenv(PathBytes(name).c_str());
    if (!value) return std::nullopt;
    return PathUnits(value);
}

char16_t const pathListSeparator = u':';

bool SetEnvironment(std::u16string_view name, std::u16string_view value) {
    return Succeeded(setenv(PathBytes(name).c_str(), PathBytes(value).c_str(), 1));
}

std::u16string GetWorkingDirectory() {
    struct Free {
        void operator()(char * text) const noexcept { std::free(text); }
    };
    std::unique_ptr<char, Free> const path(getcwd(nullptr, 0));
    if (path) return PathUnits(path.get());
    SetLastErrorNumber(errno);
    return {};
}

bool SetWorkingDirectory(std::u16string_view path) { return Succeeded(chdir(PathBytes(path).c_str())); }

WorkingDirectoryChange::WorkingDirectoryChange(std::u16string_view path)
    : former_(PathBytes(GetWorkingDirectory())) {
    static_cast<void>(SetWorkingDirectory(path));
}

WorkingDirectoryChange::~WorkingDirectoryChange() { static_cast<void>(Succeeded(chdir(former_.c_str()))); }

std::u16string GetTemporaryDirectory() {
    std::u16string directory = GetEnvironment(u"TMPDIR").value_or(std::u16string());
    while (directory.size() > 1 && directory.back() == u'/') directory.pop_back();
    return directory.empty() ? u"/tmp" : directory;
}

std::uint32_t ProcessId() noexcept { return static_cast<std::uint32_t>(getpid()); }

} // namespace KZPlatform
