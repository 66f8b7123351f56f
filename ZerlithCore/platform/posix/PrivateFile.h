// Opens files that only this user is to read.
#pragma once

#include "ZerlithCore/platform/posix/Descriptor.h"

#include <string>

namespace KZPlatform {

/// Opens `path` with the flags of open(2), by the rules of `FileProtection::Private` (FileHandle.h). After a failure
/// the descriptor is closed and the last error is the reason.
[[nodiscard]] Descriptor OpenPrivateFile(std::string path, int flags);

} // namespace KZPlatform
