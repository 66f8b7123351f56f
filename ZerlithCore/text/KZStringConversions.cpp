// KZString's own conversions. The two shared converters are never freed: destructors of static objects may convert.

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZStringConverter.h"
#include "ZerlithCore/text/KZWideText.h"
#include "ZerlithCore/text/detail/KZStringText.h"
#include "ZerlithCore/text/detail/OwnErrors.h"

#include <charconv>
#include <iomanip>
#include <istream>
#include <iterator>
#include <ostream>

namespace {

// A converter with a reference that is never released.
template <class Converter>
KZStringConverter const & SharedConverter() {
    static KZSmartPtr<KZStringConverter> const & converter =
        *new KZSmartPtr<KZStringConverter>(new Converter);
    return *converter;
}

KZStringConverter const & ConverterOrLatin(KZSmartPtr<KZStringConverter> const & converter) {
    return converter.IsNull() ? SharedConverter<KZLatinStringConverter>() : *converter;
}

KZString FromBytes(std::string_view bytes) {
    return KZString(std::u16string_view(KZEncoding::Utf8ToUnits(bytes, KZEncoding::Utf8Mode::Replace)));
}

template <class Value>
KZString Printed(Value value) {
    char digits[32];
    return FromBytes({digits, std::to_chars(std::begin(digits), std::end(digits), value).ptr});
}

} // namespace

KZString KZString::TextOf(std::int64_t value) { return Printed(value); }
KZString KZString::TextOf(std::uint64_t value) { return Printed(value); }
KZString KZString::TextOf(float value) { return Printed(value); }
KZString KZString::TextOf(double value) { return Printed(value); }

KZString KZString::FromUTF8(std::string_view text) { return FromBytes(text); }

KZString KZString::FromUTF8(std::u8string_view text) {
    return FromBytes({reinterpret_cast<char const *>(text.data()), text.size()});
}

KZString KZString::FromWide(std::wstring_view text) {
    return KZString(std::u16string_view(KZFromWide(text)));
}

KZErrorID KZString::ConvertToUnicode(char const * source, KZSmartPtr<KZStringConverter> const & converter) {
    KZStringConverter const & chosen = ConverterOrLatin(converter);
    if (!chosen.IsValid()) return KZDetail::OwnError(KZDetail::OwnMessage::InvalidConverter);
    return chosen.ConvertToUnicode(*this, source);
}

KZErrorID KZString::ConvertToUnicode(KZString & string, char const * source,
                                     KZSmartPtr<KZStringConverter> const & converter) {
    return string.ConvertToUnicode(source, converter);
}

KZErrorID KZString::ConvertFromUnicode(std::string & out,
                                       KZSmartPtr<KZStringConverter> const & converter) const {
    return ConverterOrLatin(converter).ConvertFromUnicode(out, *this);
}

std::string KZString::AsMbString(KZSmartPtr<KZStringConverter> const & converter) const {
    std::string out;
    ConvertFromUnicode(out, converter);
    return out;
}

std::string KZString::AsMbString(unsigned int codePage) const {
    std::string out;
    KZMbCodePageConverter(codePage).ConvertFromUnicode(out, *this);
    return out;
}

std::string KZString::AsUTF8() const {
    std::string out;
    SharedConverter<KZStringUTF8Converter>().ConvertFromUnicode(out, *this);
    return out;
}

std::u8string KZString::AsU8String() const {
    std::string const bytes = AsUTF8();
    return {bytes.begin(), bytes.end()};
}

std::wstring KZString::AsWide() const { return KZToWide(KZTextOf(*this)); }

KZErrorID KZString::SetFromUTF8(std::string const & text) {
    return SharedConverter<KZStringUTF8Converter>().ConvertToUnicode(*this, text.c_str());
}

std::ostream & operator<<(std::ostream & stream, KZString const & string) {
    return stream << string.AsUTF8();
}

std::wistream & operator>>(std::wistream & stream, KZString & string) {
    if (std::wstring word; stream >> word) string = KZString::FromWide(word);
    return stream;
}

std::istream & operator>>(std::istream & stream, KZString & string) {
    if (std::string word; stream >> word) string = KZString::FromUTF8(word);
    return stream;
}

std::wistream & getline(std::wistream & stream, KZString & string) {
    if (std::wstring line; std::getline(stream, line)) string = KZString::FromWide(line);
    return stream;
}

std::istream & getline(std::istream & stream, KZString & string) {
    if (std::string line; std::getline(stream, line)) string = KZString::FromUTF8(line);
    return stream;
}

void PrintTo(KZString const & string, std::ostream * stream) {
    // All units are printed, also those after a 0 unit.
    *stream << std::quoted(
        KZEncoding::UnitsToUtf8(std::u16string_view(string), KZEncoding::Utf8Mode::Replace));
}
