// Any text must be split, searched and joined again without harm. With long options, what was joined must be split into the same
// options and file names again.
#include "ZerlithCore/app/KZCommandLine.h"
#include "ZerlithCore/encoding/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

using Argument = KZCommandLineArgument;

KZCommandLine ParseLong(KZString const & text) {
    KZCommandLine line(text, u"/-", u":", false);
    line.UseLongOptions({u"a", u"out"});
    return line;
}

bool IsSame(Argument const & a, Argument const & b) {
    return a.GetArgType() == b.GetArgType() && a.GetArgument() == b.GetArgument() &&
           a.GetValueAsString() == b.GetValueAsString();
}

void CheckLongOptions(KZString const & text) {
    KZCommandLine const line = ParseLong(text);
    KZString const joined = line.GetCompleteCmdLine();
    if (line.GetAppName().IsNull() && joined[0] == u'/')
        return; // may be taken for a path, as the name of the program
    KZCommandLine const again = ParseLong(joined);
    std::vector<Argument> first = line.GetParsedArgumentVector(), second = again.GetParsedArgumentVector();
    // The order may change when the line has no program name.
    for (std::vector<Argument> * arguments : {&first, &second}) {
        std::erase_if(*arguments,
                      [](Argument const & each) { return each.GetArgType() == Argument::Absent; });
        if (line.GetAppName().IsNull())
            std::ranges::stable_partition(
                *arguments, [](Argument const & each) { return each.GetArgType() != Argument::NonStandard; });
    }
    if (again.GetAppName() != line.GetAppName() || !std::ranges::equal(first, second, IsSame)) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    std::string_view const bytes(reinterpret_cast<char const *>(data), size);
    KZString const text(std::u16string_view(KZEncoding::Utf8ToUnits(bytes, KZEncoding::Utf8Mode::Escape)));
    KZCommandLine const line(text, u"/-", u":", false);
    if (line.GetArgCount() == 0) std::abort();
    for (KZCommandLineArgument const & argument : line.GetParsedArgumentVector())
        if (!argument.GetArgument().IsNull() && !line.ArgPresent(argument.GetArgument())) std::abort();
    static_cast<void>(line.GetCompleteCmdLine());
    CheckLongOptions(text);
    return 0;
}
