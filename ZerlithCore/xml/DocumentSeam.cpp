// Text from the document interface goes directly into a string's block; a failure becomes a KZDOMException.
#include "ZerlithCore/xml/detail/DocumentSeam.h"

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/text/KZStringConverter.h"
#include "ZerlithCore/xml/KZDOMException.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace {

using KZPlatform::DocumentNodeKind;

// The types of nodes that users know and the kinds of the document interface are cast into each other.
constexpr std::pair<KZDOMNodeType, DocumentNodeKind> twins[] = {
    {KZDOMNodeType::Invalid, DocumentNodeKind::Invalid},
    {KZDOMNodeType::Element, DocumentNodeKind::Element},
    {KZDOMNodeType::Attribute, DocumentNodeKind::Attribute},
    {KZDOMNodeType::Text, DocumentNodeKind::Text},
    {KZDOMNodeType::CDATASection, DocumentNodeKind::CData},
    {KZDOMNodeType::EntityReference, DocumentNodeKind::EntityReference},
    {KZDOMNodeType::Entity, DocumentNodeKind::Entity},
    {KZDOMNodeType::ProcessingInstruction, DocumentNodeKind::Instruction},
    {KZDOMNodeType::Comment, DocumentNodeKind::Comment},
    {KZDOMNodeType::Document, DocumentNodeKind::Document},
    {KZDOMNodeType::DocumentType, DocumentNodeKind::DocumentType},
    {KZDOMNodeType::DocumentFragment, DocumentNodeKind::Fragment},
    {KZDOMNodeType::Notation, DocumentNodeKind::Notation}};
static_assert(std::ranges::all_of(twins, [](auto const & twin) {
    return static_cast<unsigned>(twin.first) == static_cast<unsigned>(twin.second);
}));
static_assert(std::size(twins) == static_cast<unsigned>(KZDOMNodeType::Notation) + 1);

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

KZDOMNodeType KZDetail::TypeOf(DocumentNodeKind kind) noexcept { return static_cast<KZDOMNodeType>(kind); }

DocumentNodeKind KZDetail::KindOf(KZDOMNodeType type) noexcept { return static_cast<DocumentNodeKind>(type); }

void KZDetail::Fail(KZPlatform::DocumentCode code, KZGuid const & interfaceId, KZString const & message) {
    throw KZDOMException(static_cast<std::int32_t>(code), interfaceId, message);
}

void KZDetail::Check(KZPlatform::DocumentResult const & result, KZGuid const & interfaceId) {
    if (!result) Fail(result.code, interfaceId, KZString(std::u16string_view(result.reason)));
}
