// The reader of the Unicode database must accept any bytes without harm.
#include "ZerlithCore/text/KZUnicodeInfoReader.h"

#include <cstdlib>
#include <cstring>
#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(unsigned char const * data, std::size_t size) {
    static KZUnicode::CharSetInfo info; // static, because making one takes longer than reading
    std::istringstream stream(std::string(data, data + size));
    KZUnicodeInfoReader::Read(info, stream);
    for (unsigned int unit = 0; unit < 0x100; ++unit)
        if (std::strlen(info[static_cast<char16_t>(unit)].name) >= 4096) std::abort();
    return 0;
}
