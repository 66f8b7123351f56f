#include "ZerlithCore/text/KZUnitStreamBuf.h"

#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZWideText.h"
#include "ZerlithCore/text/detail/KZStringText.h"
#include "ZerlithCore/text/detail/KZWriteUnits.h"

#if defined(__GLIBCXX__)
#include <cxxabi.h>
#endif

namespace {

constexpr std::size_t mostShortText = 256; // characters that are converted on the stack

/// Sets `badbit` without throwing, whatever the stream's mask of exceptions is.
void SetBad(std::wios & stream) noexcept {
    try {
        stream.setstate(std::ios_base::badbit);
    } catch (std::ios_base::failure const &) {}
}

/// Does what the output functions of the standard library do around the call of a buffer: with the state of the stream before,
/// with tied streams and `unitbuf`, and with failures and exceptions.
void Put(std::wostream & stream, KZUnitStreamBuf & buffer, std::u16string_view units) {
    std::wostream::sentry const sentry(stream);
    if (!sentry) return;
    bool isPut = true;
    try {
        isPut = buffer.PutUnits(units);
#if defined(__GLIBCXX__)
    } catch (abi::__forced_unwind const &) { // A thread that is cancelled must not be stopped on its way out.
        SetBad(stream);
        throw;
#endif
    } catch (...) {
        SetBad(stream);
        if ((stream.exceptions() & std::ios_base::badbit) != 0) throw;
    }
    if (!isPut) stream.setstate(std::ios_base::badbit);
}

} // namespace

KZUnitStreamBuf::~KZUnitStreamBuf() = default;

KZUnitStreamBuf::int_type KZUnitStreamBuf::overflow(int_type character) {
    if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
    char16_t units[2];
    std::size_t count = 0;
    KZEncoding::SplitWide(traits_type::to_char_type(character),
                          [&](char16_t unit) { units[count++] = unit; });
    return PutUnits({units, count}) ? character : traits_type::eof();
}

std::streamsize KZUnitStreamBuf::xsputn(wchar_t const * text, std::streamsize count) {
    if (count <= 0) return count;
    std::wstring_view const wide(text, static_cast<std::size_t>(count));
    if (wide.size() > mostShortText) return PutUnits(KZFromWide(wide)) ? count : 0;
    char16_t units[2 * mostShortText];
    return PutUnits({units, KZFromWide(wide, units)}) ? count : 0;
}

std::wostream & KZDetail::WriteUnits(std::wostream & stream, std::u16string_view units) {
    if (auto * const buffer = dynamic_cast<KZUnitStreamBuf *>(stream.rdbuf())) {
        Put(stream, *buffer, units);
        return stream;
    }
    // Pieces on the stack; the joiner carries a pair over their border.
    KZWideJoiner joiner;
    wchar_t piece[mostShortText + 2];
    do {
        std::size_t length = 0;
        auto const append = [&](wchar_t character) { piece[length++] = character; };
        std::u16string_view const next = units.substr(0, mostShortText);
        for (char16_t const unit : next) joiner.Put(unit, append);
        units.remove_prefix(next.size());
        if (units.empty()) joiner.Flush(append);
        stream.write(piece, static_cast<std::streamsize>(length));
    } while (!units.empty() && stream);
    return stream;
}

namespace {

std::wostream & WriteText(std::wostream & stream, std::u16string_view units) {
    if (stream.width() != 0) return stream << KZToWide(units);
    return units.empty() || !stream ? stream : KZDetail::WriteUnits(stream, units);
}

} // namespace

std::wostream & operator<<(std::wostream & stream, KZString const & string) {
    return WriteText(stream, KZTextOf(string));
}

std::wostream & operator<<(std::wostream & stream, char16_t const * text) {
    if (text) return WriteText(stream, text);
    stream.setstate(std::ios_base::badbit);
    return stream;
}
