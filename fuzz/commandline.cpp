// Any text must be split, searched and joined again without harm.
#include "ZerlithCore/app/KZCommandLine.h"
#include "ZerlithCore/encoding/Utf8.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    std::string_view const bytes(reinterpret_cast<char const *>(data), size);
    KZString const text(std::u16string_view(KZEncoding::Utf8ToUnits(bytes, KZEncoding::Utf8Mode::Escape)));
    KZCommandLine const line(text, u"/-", u":", false);
    if (line.GetArgCount() == 0) std::abort();
    for (KZCommandLineArgument const & argument : line.GetParsedArgumentVector())
        if (!argument.GetArgument().IsNull() && !line.ArgPresent(argument.GetArgument())) std::abort();
    static_cast<void>(line.GetCompleteCmdLine());
    return 0;
}
