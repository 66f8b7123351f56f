// Handles on nodes: all work except `Format` is done by the document interface of the platform.
#include "ZerlithCore/xml/KZDOMNode.h"

#include "ZerlithCore/xml/KZDOMDocument.h"
#include "ZerlithCore/xml/KZDOMElement.h"
#include "ZerlithCore/xml/KZDOMException.h"
#include "ZerlithCore/xml/KZDOMNodeList.h"
#include "ZerlithCore/xml/detail/DocumentSeam.h"

#include <utility>

using KZDetail::Check;
using KZDetail::StringSink;
using KZDetail::ViewOf;
using KZPlatform::DocumentNode;
using NodePointer = KZSmartPtr<DocumentNode>;

namespace {

KZDOMElement ElementOf(DocumentNode * node) { return KZDOMElement(KZDOMNode(NodePointer(node))); }

template <class Put>
KZString TextFrom(Put put) {
    StringSink sink;
    put(sink);
    return sink.Take();
}

} // namespace

DocumentNode & KZDOMNode::Existing() const { return KZDetail::Existing(node_.GetPtr(), InterfaceId); }

// --- What the node is

KZDOMNodeType KZDOMNode::GetNodeType() const noexcept {
    return node_.IsNull() ? KZDOMNodeType::Invalid : KZDetail::TypeOf(node_->Kind());
}

KZString KZDOMNode::GetName() const {
    return TextFrom([this](StringSink & sink) { Existing().Name(sink); });
}

KZString KZDOMNode::GetValue() const {
    return TextFrom([this](StringSink & sink) { Existing().Value(sink); });
}

KZString KZDOMNode::GetText() const {
    return TextFrom([this](StringSink & sink) { Existing().Text(sink); });
}

void KZDOMNode::SetText(KZString const & text) { Check(Existing().SetText(ViewOf(text)), InterfaceId); }

KZString KZDOMNode::GetXML() const {
    return TextFrom([this](StringSink & sink) { Existing().Xml(sink); });
}

// --- Around the node

KZDOMDocument KZDOMNode::GetDocument() const {
    return KZDOMDocument(KZSmartPtr<KZPlatform::Document>(Existing().Owner()));
}

KZDOMNode KZDOMNode::GetParentNode() const { return KZDOMNode(NodePointer(Existing().Parent())); }

KZDOMNode KZDOMNode::GetAncestorNode(KZString const & name) const {
    KZDOMNode node = GetParentNode();
    while (node.GetNodeType() == KZDOMNodeType::Element && node.GetName() != name)
        node = node.GetParentNode();
    return node.AsElement();
}

bool KZDOMNode::HasChilds() const { return Existing().HasChildren(); }

KZDOMNodeList KZDOMNode::GetChildNodes() const {
    return KZDOMNodeList(KZSmartPtr<KZPlatform::DocumentNodeList>(Existing().Children()));
}

KZDOMNode KZDOMNode::GetFirstChildNode() const {
    return KZDOMNode(NodePointer(Existing().FirstChild(false)));
}

KZDOMElement KZDOMNode::GetFirstChildElement() const { return ElementOf(Existing().FirstChild(true)); }

KZDOMElement KZDOMNode::GetNextSiblingElement() const { return ElementOf(Existing().NextSibling(true)); }

KZDOMElement KZDOMNode::AsElement() const { return KZDOMElement(*this); }

// --- Paths

KZDOMNode KZDOMNode::SelectNode(KZString const & path) const {
    DocumentNode * found = nullptr;
    Check(Existing().Select(ViewOf(path), found), InterfaceId);
    return KZDOMNode(NodePointer(found));
}

KZDOMNodeList KZDOMNode::SelectNodes(KZString const & path) const {
    KZPlatform::DocumentNodeList * found = nullptr;
    Check(Existing().Select(ViewOf(path), found), InterfaceId);
    return KZDOMNodeList(KZSmartPtr<KZPlatform::DocumentNodeList>(found));
}

bool KZDOMNode::ChildExists(KZString const & path) const { return SelectNode(path).IsValid(); }

// For an attribute, text or CDATA section the value is the same as the text, so the text is returned for all nodes.
KZString KZDOMNode::ValueOf(KZString const & path, KZString const & otherwise) const {
    StringSink sink;
    bool isFound = false;
    Check(Existing().SelectText(ViewOf(path), isFound, sink), InterfaceId);
    return isFound ? sink.Take() : otherwise;
}

KZString KZDOMNode::GetChildNodeValue(KZString const & path, KZString const & otherwise) const {
    return ValueOf(path, otherwise);
}

// --- Changes

KZDOMNode KZDOMNode::AppendChild(KZDOMNode const & child) { return InsertBefore(child, KZDOMNode()); }

KZDOMNode KZDOMNode::InsertBefore(KZDOMNode const & child, KZDOMNode const & reference) {
    Check(Existing().InsertBefore(child.Existing(), reference.GetNodeSP()), InterfaceId);
    return child;
}

KZDOMNode KZDOMNode::Clone(bool deep) const { return KZDOMNode(CloneSP(deep)); }

NodePointer KZDOMNode::CloneSP(bool deep) const {
    NodePointer copy(Existing().Clone(deep));
    if (copy.IsNull())
        KZDetail::Fail(KZPlatform::DocumentCode::InvalidArgument, InterfaceId,
                       u"Such a node can't be copied");
    return copy;
}

// --- Transformation

KZString KZDOMNode::TransformNode(KZDOMNode const & stylesheet) const {
    return TextFrom(
        [&](StringSink & sink) { Check(Existing().Transform(stylesheet.Existing(), sink), InterfaceId); });
}

void KZDOMNode::TransformNodeToObject(KZDOMNode const & stylesheet, KZDOMDocument & out) const {
    KZPlatform::Document & document =
        KZDetail::Existing(out.GetDocumentSP().GetPtr(), KZDOMDocument::InterfaceId);
    Check(Existing().Transform(stylesheet.Existing(), document), InterfaceId);
}
