// The text of a configuration, as the stream operators and the ways to save write it.
#pragma once

#include <string>

class KZConfigFile;

namespace KZDetail {

/// All sections. Requires: the file's lock.
[[nodiscard]] std::u16string TextOf(KZConfigFile const & file);

} // namespace KZDetail
