// The text of a configuration, for the stream operators, loading and saving.
#pragma once

#include <string>

class KZConfigFile;

namespace KZDetail {

class UnitFile;

/// Reads the file as `operator>>` reads a stream. Requires: the object's lock. Errors: KZConfigStreamException, and as
/// UnitFile::Read.
void ReadConfig(KZConfigFile & file, UnitFile & text);

/// All sections. Requires: the object's lock.
[[nodiscard]] std::u16string TextOf(KZConfigFile const & file);

} // namespace KZDetail
