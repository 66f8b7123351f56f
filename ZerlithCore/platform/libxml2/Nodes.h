/// @file
/// The objects of nodes.
#pragma once

#include "ZerlithCore/platform/libxml2/Tree.h"

namespace KZPlatform::LibXml2 {

// The operations of nodes of all kinds; the classes below call these.

[[nodiscard]] DocumentName NameOf(xmlNode const * node) noexcept;
void PutName(xmlNode const * node, DocumentSink & sink);
void PutValue(xmlNode const * node, DocumentSink & sink);
void PutText(xmlNode const * node, DocumentSink & sink);
void PutXml(xmlNode const * node, DocumentSink & sink);
void WalkNode(xmlNode const * node, DocumentVisitor & visitor);
DocumentResult SetNodeText(Tree & tree, xmlNode * node, std::u16string_view text);
[[nodiscard]] xmlNode * ElementFrom(xmlNode * node, bool elementsOnly) noexcept;
DocumentResult Insert(xmlNode * parent, xmlNode * child, xmlNode * reference);
/// Checks whether `text` may be the text of a node of that type; a failure says why not.
DocumentResult CheckText(xmlElementType type, std::string_view text);

/// Transforms a node by a stylesheet, into text or into a document.
DocumentResult TransformNode(xmlNode const * source, xmlNode const * stylesheet, DocumentSink & sink);
DocumentResult TransformNode(xmlNode const * source, xmlNode const * stylesheet, OwnedDoc & result);

/// The part of an object that knows its node of libxml2.
[[nodiscard]] inline NodeCore const & CoreOf(DocumentNode const & node) {
    return dynamic_cast<NodeCore const &>(node);
}
[[nodiscard]] inline xmlNode * NodeOf(DocumentNode const & node) { return CoreOf(node).Node(); }

/// Replaces the content of a document's object.
void Replace(Document & document, OwnedDoc doc);

/// Tells whether a kind of node has one number in the document interface and in libxml2, so that it can be cast.
constexpr bool HaveOneNumber(DocumentNodeKind kind, xmlElementType type) {
    return static_cast<unsigned>(kind) == static_cast<unsigned>(type);
}
static_assert(HaveOneNumber(DocumentNodeKind::Element, XML_ELEMENT_NODE));
static_assert(HaveOneNumber(DocumentNodeKind::Attribute, XML_ATTRIBUTE_NODE));
static_assert(HaveOneNumber(DocumentNodeKind::Text, XML_TEXT_NODE));
static_assert(HaveOneNumber(DocumentNodeKind::CData, XML_CDATA_SECTION_NODE));
static_assert(HaveOneNumber(DocumentNodeKind::EntityReference, XML_ENTITY_REF_NODE));
static_assert(HaveOneNumber(DocumentNodeKind::Entity, XML_ENTITY_NODE));
static_assert(HaveOneNumber(DocumentNodeKind::Instruction, XML_PI_NODE));
static_assert(HaveOneNumber(DocumentNodeKind::Comment, XML_COMMENT_NODE));
static_assert(HaveOneNumber(DocumentNodeKind::Document, XML_DOCUMENT_NODE));
static_assert(HaveOneNumber(DocumentNodeKind::DocumentType, XML_DOCUMENT_TYPE_NODE));
static_assert(HaveOneNumber(DocumentNodeKind::Fragment, XML_DOCUMENT_FRAG_NODE));
static_assert(HaveOneNumber(DocumentNodeKind::Notation, XML_NOTATION_NODE));

/// Makes an object for a node.
[[nodiscard]] DocumentNode * MakeNode(Tree & tree, xmlNode * node);

/// Implements the operations of all nodes for the interface `Interface`, which is derived from that of all nodes.
template <class Interface>
class NodeBase : public Interface, public NodeCore {
public:
    NodeBase(Tree & tree, xmlNode * node) : NodeCore(tree, node, *this) {}

    unsigned long AddRef() const override { return AddReference(); }
    unsigned long Release() const override { return DropReference(); }

    [[nodiscard]] DocumentNodeKind Kind() const noexcept override {
        switch (Node()->type) {
        case XML_DTD_NODE: return DocumentNodeKind::DocumentType;
        default: return static_cast<DocumentNodeKind>(Node()->type);
        }
    }
    void Name(DocumentSink & sink) const override { PutName(Node(), sink); }
    void Value(DocumentSink & sink) const override { PutValue(Node(), sink); }
    void Text(DocumentSink & sink) const override { PutText(Node(), sink); }
    DocumentResult SetText(std::u16string_view text) override { return SetNodeText(Home(), Node(), text); }
    void Xml(DocumentSink & sink) const override { PutXml(Node(), sink); }
    void Walk(DocumentVisitor & visitor) const override { WalkNode(Node(), visitor); }

    [[nodiscard]] Document * Owner() const override {
        return static_cast<Document *>(Home().Wrap(Home().DocNode()));
    }
    [[nodiscard]] DocumentNode * Parent() const override {
        return Home().Wrap(Node()->type == XML_ATTRIBUTE_NODE ? nullptr : Node()->parent);
    }
    [[nodiscard]] bool HasChildren() const noexcept override { return FirstBelow(Node()) != nullptr; }
    [[nodiscard]] DocumentNode * FirstChild(bool elementsOnly) const override {
        return Home().Wrap(ElementFrom(FirstBelow(Node()), elementsOnly));
    }
    [[nodiscard]] DocumentNode * NextSibling(bool elementsOnly) const override {
        if (Node()->type == XML_ATTRIBUTE_NODE) return nullptr;
        return Home().Wrap(ElementFrom(Node()->next, elementsOnly));
    }
    [[nodiscard]] DocumentNodeList * Children() const override;

    DocumentResult Select(std::u16string_view path, DocumentNode *& found) const override;
    DocumentResult Select(std::u16string_view path, DocumentNodeList *& found) const override;
    DocumentResult SelectText(std::u16string_view path, bool & isFound, DocumentSink & sink) const override;

    DocumentResult InsertBefore(DocumentNode & child, DocumentNode * reference) override {
        return Insert(Node(), NodeOf(child), reference ? NodeOf(*reference) : nullptr);
    }
    [[nodiscard]] DocumentNode * Clone(bool deep) const override;

    DocumentResult Transform(DocumentNode const & stylesheet, DocumentSink & sink) const override {
        return TransformNode(Node(), NodeOf(stylesheet), sink);
    }
    DocumentResult Transform(DocumentNode const & stylesheet, Document & out) const override {
        OwnedDoc made;
        DocumentResult result = TransformNode(Node(), NodeOf(stylesheet), made);
        if (result) Replace(out, std::move(made));
        return result;
    }
};

} // namespace KZPlatform::LibXml2
