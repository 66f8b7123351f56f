// The C runtime locks a stream for the length of each call, which keeps each piece whole.
#include "ZerlithCore/platform/Console.h"

#include <cstdio>
#include <unistd.h>

namespace KZPlatform {

bool WriteToStandardOutput(std::string_view bytes) noexcept {
    return std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
}

bool FlushStandardOutput() noexcept { return std::fflush(stdout) == 0; }

bool WriteToStandardError(std::string_view bytes) noexcept {
    return std::fwrite(bytes.data(), 1, bytes.size(), stderr) == bytes.size();
}

bool IsStandardErrorATerminal() noexcept { return isatty(STDERR_FILENO) == 1; }

} // namespace KZPlatform
