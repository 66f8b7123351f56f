// Colours and the line with the progress are control sequences that every usual terminal understands.
#include "Terminal.h"

#include "ZerlithCore/platform/Console.h"

#include <cstdlib>
#include <iostream>
#include <string_view>

namespace {

constexpr std::size_t messagesPerStep = 1000;
constexpr char const * eraseLine = "\r\x1b[K";

bool HasColours() {
    char const * const refused = std::getenv("NO_COLOR");
    char const * const terminal = std::getenv("TERM");
    bool const isRefused = (refused && *refused) || (terminal && std::string_view(terminal) == "dumb");
    return !isRefused && KZPlatform::IsStandardErrorATerminal();
}

} // namespace

void Complain(std::string const & place, std::string const & what) {
    bool const isColoured = HasColours();
    char const * const bold = isColoured ? "\x1b[1m" : "";
    char const * const red = isColoured ? "\x1b[31m" : "";
    char const * const plain = isColoured ? "\x1b[0m" : "";
    std::cerr << bold << place << ": " << plain << red << what << plain << '\n';
}

Progress::Progress(std::size_t total) : total_(total), isTerminal_(KZPlatform::IsStandardErrorATerminal()) {}

Progress::~Progress() {
    if (isTerminal_ && done_ >= messagesPerStep) std::cerr << eraseLine;
}

void Progress::Step() {
    if (++done_ % messagesPerStep == 0 && isTerminal_)
        std::cerr << eraseLine << done_ << " of " << total_ << " messages" << std::flush;
}
