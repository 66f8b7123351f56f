// A configuration that loads is written, loaded and written again: the written text must load, and both must be the
// same.
#include "ZerlithCore/app/KZConfigFile.h"
#include "ZerlithCore/app/KZConfigStreamException.h"
#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/text/KZWideText.h"

#include <cstdint>
#include <cstdlib>
#include <sstream>

namespace {

bool Parse(std::wstring const & text, KZConfigFile & file) {
    std::wistringstream in(text);
    try {
        in >> file;
        return true;
    } catch (KZConfigStreamException const &) {
        return false;
    }
}

std::wstring Print(KZConfigFile const & file) {
    std::wostringstream out;
    out << file;
    return out.str();
}

// The lines of a section without a name are left out: they have no header in the file.
bool HasNamelessLines(KZConfigFile & file) {
    for (auto section = file.GetSectionsBegin(); section != file.GetSectionsEnd(); ++section)
        if (section->GetName().IsNull() && section->GetLinesBegin() != section->GetLinesEnd()) return true;
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    std::string_view const bytes(reinterpret_cast<char const *>(data), size);
    std::wstring const text = KZToWide(KZEncoding::Utf8ToUnits(bytes, KZEncoding::Utf8Mode::Escape));
    KZConfigFile first(u""), second(u"");
    if (!Parse(text, first) || HasNamelessLines(first)) return 0;
    std::wstring const written = Print(first);
    if (!Parse(written, second) || Print(second) != written) std::abort();
    return 0;
}
