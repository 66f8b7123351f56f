// The buffer converts all text at once and passes it to stdout, whose own buffer is enough. It has no state, so threads that
// write without the lock can only mix up the order of their texts.
#include "ZerlithCore/diagnostics/KZConsole.h"

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/platform/Console.h"
#include "ZerlithCore/text/KZWideText.h"

#include <locale>
#include <ostream>
#include <streambuf>

namespace {

class ConsoleBuffer : public std::wstreambuf {
protected:
    std::streamsize xsputn(wchar_t const * text, std::streamsize count) override {
        return Write({text, static_cast<std::size_t>(count)}) ? count : 0;
    }
    int_type overflow(int_type character) override {
        if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
        wchar_t const one = traits_type::to_char_type(character);
        return Write({&one, 1}) ? character : traits_type::eof();
    }
    int sync() override { return KZPlatform::FlushStandardOutput() ? 0 : -1; }

private:
    static bool Write(std::wstring_view text) {
        return KZPlatform::WriteToStandardOutput(
            KZEncoding::UnitsToUtf8(KZFromWide(text), KZEncoding::Utf8Mode::Replace));
    }
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
