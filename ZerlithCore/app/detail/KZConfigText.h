// The text of a configuration, for the stream operators and for saving.
#pragma once

#include <string>

class KZConfigFile;

namespace KZDetail {

/// All sections. Requires: the file's lock.
[[nodiscard]] std::u16string TextOf(KZConfigFile const & file);

} // namespace KZDetail
