// Text from the document interface goes directly into a string's block; a failure becomes a KZDOMException.
#include "ZerlithCore/xml/detail/DocumentSeam.h"

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/text/KZStringConverter.h"
#include "ZerlithCore/xml/KZDOMException.h"

#include <stdexcept>

namespace {

// Decodes straight into a string's own block, as converters may.
class DirectAppend : public KZStringConverter {
public:
    static void Append(KZString & text, std::string_view utf8) {
        std::uint32_t const length = text.Length();
        if (utf8.size() > KZString::npos - 1 - length) throw std::length_error("KZString: text too long");
        text.Reserve(static_cast<unsigned>(length + utf8.size() + 1));
        KZEncoding::Utf8Result const result = KZEncoding::DecodeUtf8(
            utf8, {GetStrDataP(text) + length, utf8.size()}, KZEncoding::Utf8Mode::Replace);
        GetStrDataP(text)[length + result.written] = u'\0';
        *GetStrDataLenP(text) = static_cast<std::uint32_t>(length + result.written);
    }
};

} // namespace

void KZDetail::StringSink::Append(std::string_view utf8) {
    if (!utf8.empty()) DirectAppend::Append(text_, utf8);
}

void KZDetail::Fail(KZPlatform::DocumentCode code, KZGuid const & interfaceId, KZString const & message) {
    throw KZDOMException(static_cast<std::int32_t>(code), interfaceId, message);
}

void KZDetail::Check(KZPlatform::DocumentResult const & result, KZGuid const & interfaceId) {
    if (!result) Fail(result.code, interfaceId, KZString(std::u16string_view(result.reason)));
}
