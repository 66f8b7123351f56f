// The buffer converts all text at once and passes it to stdout, whose own buffer is enough. It has no state, so threads that
// write without the lock can only mix up the order of their texts.
#include "ZerlithCore/diagnostics/KZConsole.h"

#include "ZerlithCore/encoding/detail/Utf8Text.h"
#include "ZerlithCore/platform/Console.h"
#include "ZerlithCore/text/KZUnitStreamBuf.h"

#include <locale>
#include <ostream>

namespace {

class ConsoleBuffer : public KZUnitStreamBuf {
public:
    bool PutUnits(std::u16string_view units) override { return KZWriteToConsole(units); }

protected:
    int sync() override { return KZPlatform::FlushStandardOutput() ? 0 : -1; }
};

class ConsoleStream : public std::wostream {
public:
    ConsoleStream() : std::wostream(nullptr) {
        rdbuf(&buffer_);
        imbue(std::locale::classic());
    }

private:
    ConsoleBuffer buffer_;
};

} // namespace

std::wostream & KZGetConsole() {
    // Never destroyed: destructors of other static objects write to it.
    static ConsoleStream & console = *new ConsoleStream;
    return console;
}

bool KZWriteToConsole(std::u16string_view text) {
    return KZPlatform::WriteToStandardOutput(KZEncoding::Utf8Text(text, KZEncoding::Utf8Mode::Replace));
}
