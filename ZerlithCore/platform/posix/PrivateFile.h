// Files for this user alone.
#pragma once

#include "ZerlithCore/platform/posix/Descriptor.h"

#include <string>

namespace KZPlatform {

/// Opens `path` with the flags of open(2), by the rules of `FileProtection::Private`. A closed descriptor for a
/// failure, with the reason in the last error.
[[nodiscard]] Descriptor OpenPrivateFile(std::string path, int flags);

} // namespace KZPlatform
