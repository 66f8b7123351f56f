// A text that loads is printed. The printed text must load, and must print the same again, except for white space
// that the layout adds to texts. Paths, copies and moves must do no harm in any document.
#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/xml/KZDOMDocument.h"
#include "ZerlithCore/xml/KZDOMException.h"
#include "ZerlithCore/xml/KZDOMNodeList.h"

#include <cstdint>
#include <cstdlib>

namespace {

KZString Printed(KZDOMNode const & node) {
    KZString out;
    node.Format(out, 0, true, 1);
    return out;
}

std::u16string WithoutBlanks(KZString const & text) {
    std::u16string rest{std::u16string_view(text)};
    std::erase_if(
        rest, [](char16_t unit) { return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n'; });
    return rest;
}

void CheckPaths(KZDOMDocument const & document, KZString const & ownPath) {
    for (KZString const & path :
         {KZString(u"//*[last()]"), KZString(u"/*/@*"), KZString(u"//text()|//comment()"), ownPath}) {
        try {
            static_cast<void>(document.ValueOf(path, u"none"));
        } catch (KZDOMException const &) { // any text is tried as a path
        }
    }
}

void CheckMoves(KZDOMDocument & document) {
    KZDOMNodeList const all = document.SelectNodes(u"//node()|//@*");
    KZDOMDocument other = KZDOMDocument::Create();
    KZDOMNode root = other.CreateElement(u"other", true);
    root.AppendChild(document.Clone(true).SelectNode(u"/*"));
    KZDOMNode const last = document.SelectNode(u"(//*)[last()]");
    root.AppendChild(last);
    KZDOMDocument again = KZDOMDocument::Create();
    bool const isTooDeep =
        !again.Load(other.GetXML()) && again.GetLastParseError().GetErrorCode() == KZDOMResult::LimitExceeded;
    if (again.GetLastParseError().GetErrorCode() != 0 && !isTooDeep) std::abort();
    document.CreateElement(u"root", true);
    KZDOMNodeList nodes = all;
    for (KZDOMNode node = nodes.GetNextNode(); node.IsValid(); node = nodes.GetNextNode())
        static_cast<void>(node.GetXML());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    std::string_view const bytes(reinterpret_cast<char const *>(data), size);
    KZString const text(std::u16string_view(KZEncoding::Utf8ToUnits(bytes, KZEncoding::Utf8Mode::Replace)));
    KZDOMDocument document = KZDOMDocument::Create();
    if (!document.Load(text)) {
        if (document.GetLastParseError().GetErrorCode() >= 0) std::abort();
        return 0;
    }
    KZString const first = Printed(document);
    KZDOMDocument again = KZDOMDocument::Create();
    if (!again.Load(first) || WithoutBlanks(Printed(again)) != WithoutBlanks(first)) std::abort();
    CheckPaths(document, document.GetRootElement().GetText());
    CheckMoves(document);
    return 0;
}
