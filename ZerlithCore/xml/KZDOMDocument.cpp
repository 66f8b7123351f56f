// Handles on documents: all work is done by the document interface of the platform.
#include "ZerlithCore/xml/KZDOMDocument.h"

#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/xml/KZDOMException.h"
#include "ZerlithCore/xml/detail/DocumentSeam.h"

using KZDetail::Check;
using KZDetail::ViewOf;
using KZPlatform::Document;

KZDOMDocument::KZDOMDocument(KZDOMNode const & node)
    : KZDOMNode(node.GetNodeType() == KZDOMNodeType::Document ? node : KZDOMNode()) {}

KZDOMDocument KZDOMDocument::Create() {
    KZSmartPtr<Document> const document(KZPlatform::CreateDocument());
    if (document.IsNull())
        KZDetail::Fail(KZPlatform::DocumentCode::NoModule, InterfaceId,
                       KZString(KZPlatform::ErrorText(KZPlatform::LastErrorNumber()).value_or(u"")));
    return KZDOMDocument(document);
}

KZSmartPtr<Document> KZDOMDocument::GetDocumentSP() const {
    return static_cast<Document *>(GetNodeSP().GetPtr());
}

Document & KZDOMDocument::Existing() const {
    return KZDetail::Existing(static_cast<Document *>(GetNodeSP().GetPtr()), InterfaceId);
}

// --- Content

bool KZDOMDocument::Load(KZString const & text, bool isFile) {
    return isFile ? Existing().LoadFile(ViewOf(text)) : Existing().Load(ViewOf(text));
}

void KZDOMDocument::SetPreserveWhiteSpace(bool preserve) { Existing().KeepWhiteSpace(preserve); }

bool KZDOMDocument::GetPreserveWhiteSpace() const { return Existing().KeepsWhiteSpace(); }

void KZDOMDocument::SaveToFile(KZString const & fileName) const {
    Check(Existing().Save(ViewOf(fileName)), InterfaceId);
}

KZDOMElement KZDOMDocument::GetRootElement() const {
    return KZDOMElement(KZDOMNode(KZSmartPtr<KZPlatform::DocumentNode>(Existing().Root())));
}

void KZDOMDocument::SetRootElement(KZDOMElement const & root) {
    Check(Existing().SetRoot(KZDetail::Existing(root.GetNodeSP().GetPtr(), InterfaceId)), InterfaceId);
}

// --- Schemas

void KZDOMDocument::AddSchema(KZString const & nameSpace, KZDOMDocument const & schema) {
    Check(Existing().AddSchema(ViewOf(nameSpace), schema.Existing()), InterfaceId);
}

bool KZDOMDocument::Validate() {
    bool isValid = false;
    Check(Existing().Validate(isValid), InterfaceId);
    return isValid;
}

KZDOMParseError KZDOMDocument::GetLastParseError() const {
    return KZDOMParseError(KZSmartPtr<KZPlatform::DocumentParseError>(Existing().LastParseError()));
}

// --- New nodes

KZDOMElement KZDOMDocument::CreateElement(KZString const & name, bool makeRoot) {
    KZDOMElement const element(CreateNode(KZDOMNodeType::Element, name));
    if (makeRoot) SetRootElement(element);
    return element;
}

KZDOMNode KZDOMDocument::CreateNode(KZDOMNodeType type, KZString const & name, KZString const & nameSpace) {
    return Create(type, name, nameSpace, KZString());
}

KZDOMNode KZDOMDocument::CreateProcessingInstruction(KZString const & target, KZString const & data) {
    return Create(KZDOMNodeType::ProcessingInstruction, target, KZString(), data);
}

KZDOMText KZDOMDocument::CreateText(KZString const & text) {
    return KZDOMText(Create(KZDOMNodeType::Text, KZString(), KZString(), text));
}

KZDOMNode KZDOMDocument::Create(KZDOMNodeType type, KZString const & name, KZString const & nameSpace,
                                KZString const & text) {
    KZPlatform::DocumentNode * made = nullptr;
    KZPlatform::DocumentNodeKind const kind = KZDetail::KindOf(type);
    Check(Existing().Create(kind, ViewOf(name), ViewOf(nameSpace), ViewOf(text), made), InterfaceId);
    return KZDOMNode(KZSmartPtr<KZPlatform::DocumentNode>(made));
}
