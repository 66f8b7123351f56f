// KZString's own conversions. The two shared converters are never freed: destructors of static objects may convert.

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZStringConverter.h"
#include "ZerlithCore/text/detail/OwnErrors.h"

#include <iomanip>
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

} // namespace

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

KZErrorID KZString::SetFromUTF8(std::string const & text) {
    return SharedConverter<KZStringUTF8Converter>().ConvertToUnicode(*this, text.c_str());
}

void PrintTo(KZString const & string, std::ostream * stream) {
    // All units are printed, also those after a 0 unit.
    *stream << std::quoted(
        KZEncoding::UnitsToUtf8(std::u16string_view(string), KZEncoding::Utf8Mode::Replace));
}
