// The node classes: names, values, texts, printing, paths, copies and insertion.
#include "ZerlithCore/platform/libxml2/Nodes.h"

#include "ZerlithCore/platform/libxml2/DocumentObject.h"
#include "ZerlithCore/platform/libxml2/Element.h"
#include "ZerlithCore/platform/libxml2/NodeList.h"
#include "ZerlithCore/platform/libxml2/Paths.h"

#include <libxml/xmlsave.h>

namespace KZPlatform::LibXml2 {

namespace {

class PlainNode final : public NodeBase<DocumentNode> {
public:
    using NodeBase::NodeBase;
};

class TextNode final : public NodeBase<DocumentText> {
public:
    using NodeBase::NodeBase;
};

bool IsText(xmlNode const * node) noexcept {
    return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
}

bool HasOwnText(xmlNode const * node) noexcept {
    return IsText(node) || node->type == XML_COMMENT_NODE || node->type == XML_PI_NODE;
}

// Whether an element above `node` declares namespaces, which the node may use.
bool HasDeclarationsAbove(xmlNode const * node) noexcept {
    for (xmlNode const * at = node->parent; at && at->type == XML_ELEMENT_NODE; at = at->parent)
        if (at->nsDef) return true;
    return false;
}

using OwnedBuffer = std::unique_ptr<xmlBuffer, FreeBy<xmlBufferFree>>;

void Save(xmlNode const * node, DocumentSink & sink) {
    LibraryCall const call;
    OwnedBuffer const buffer(Need(xmlBufferCreate()));
    xmlSaveCtxt * const save =
        Need(xmlSaveToBuffer(buffer.get(), "UTF-8", XML_SAVE_NO_DECL | XML_SAVE_AS_XML));
    xmlSaveTree(save, const_cast<xmlNode *>(node));
    xmlSaveClose(save);
    call.CheckMemory();
    std::string_view text = View(xmlBufferContent(buffer.get()));
    if (node->type == XML_ATTRIBUTE_NODE && text.starts_with(' ')) text.remove_prefix(1);
    sink.Append(text);
}

// Calls the visitor for an element or a text. False for other nodes, which are skipped.
bool Enter(xmlNode const * node, DocumentVisitor & visitor, std::string & room) {
    if (IsText(node)) visitor.Text(View(node->content));
    if (node->type != XML_ELEMENT_NODE) return false;
    visitor.BeginElement(NameOf(node));
    for (xmlNs const * ns = node->nsDef; ns; ns = ns->next)
        visitor.Attribute(ns->prefix ? DocumentName{"xmlns", View(ns->prefix)} : DocumentName{"", "xmlns"},
                          View(ns->href));
    for (xmlAttr const * attribute = node->properties; attribute; attribute = attribute->next)
        visitor.Attribute(NameOf(reinterpret_cast<xmlNode const *>(attribute)),
                          AttributeValue(attribute, room));
    return true;
}

} // namespace

DocumentNode * MakeNode(Tree & tree, xmlNode * node) {
    switch (node->type) {
    case XML_ELEMENT_NODE: return new Element(tree, node);
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE: return new TextNode(tree, node);
    case XML_DOCUMENT_NODE: return new DocumentObject(tree);
    default: return new PlainNode(tree, node);
    }
}

DocumentName NameOf(xmlNode const * node) noexcept {
    return {node->ns ? View(node->ns->prefix) : std::string_view(), View(node->name)};
}

void PutName(xmlNode const * node, DocumentSink & sink) {
    switch (node->type) {
    case XML_TEXT_NODE: return sink.Append("#text");
    case XML_CDATA_SECTION_NODE: return sink.Append("#cdata-section");
    case XML_COMMENT_NODE: return sink.Append("#comment");
    case XML_DOCUMENT_NODE: return sink.Append("#document");
    case XML_DOCUMENT_FRAG_NODE: return sink.Append("#document-fragment");
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE: {
        DocumentName const name = NameOf(node);
        if (!name.prefix.empty()) {
            sink.Append(name.prefix);
            sink.Append(":");
        }
        return sink.Append(name.local);
    }
    default: return sink.Append(View(node->name));
    }
}

void PutValue(xmlNode const * node, DocumentSink & sink) {
    if (HasOwnText(node)) return sink.Append(View(node->content));
    if (node->type != XML_ATTRIBUTE_NODE) return;
    std::string room;
    sink.Append(AttributeValue(reinterpret_cast<xmlAttr const *>(node), room));
}

void PutText(xmlNode const * node, DocumentSink & sink) {
    if (!FirstBelow(node)) return PutValue(node, sink);
    for (xmlNode const * at = FirstBelow(node); at; at = NextBelow(const_cast<xmlNode *>(at), node))
        if (IsText(at)) sink.Append(View(at->content));
}

void PutXml(xmlNode const * node, DocumentSink & sink) {
    if (node->type == XML_DOCUMENT_NODE) sink.Append("<?xml version=\"1.0\"?>\n");
    if (node->type != XML_ELEMENT_NODE || !HasDeclarationsAbove(node)) return Save(node, sink);
    OwnedNode const copy(CopyNode(node, node->doc, true));
    Save(copy.get(), sink);
}

void WalkNode(xmlNode const * node, DocumentVisitor & visitor) {
    if (node->type == XML_DOCUMENT_NODE) {
        node = xmlDocGetRootElement(reinterpret_cast<xmlDoc const *>(node));
        if (!node) return;
    }
    std::string room;
    for (xmlNode const * at = node;;) {
        bool const isElement = Enter(at, visitor, room);
        if (xmlNode const * const child = FirstBelow(at)) {
            at = child;
            continue;
        }
        if (isElement) visitor.EndElement(NameOf(at));
        while (at != node && !at->next) {
            at = at->parent;
            if (at->type == XML_ELEMENT_NODE) visitor.EndElement(NameOf(at));
        }
        if (at == node) return;
        at = at->next;
    }
}

xmlNode * ElementFrom(xmlNode * node, bool elementsOnly) noexcept {
    while (elementsOnly && node && node->type != XML_ELEMENT_NODE) node = node->next;
    return node;
}

DocumentResult CheckText(xmlElementType type, std::string_view text) {
    if (!IsDocumentText(text))
        return {DocumentCode::InvalidText, u"The text has a character that no document can hold"};
    bool const hasMark =
        (type == XML_COMMENT_NODE && (text.find("--") != text.npos || text.ends_with('-'))) ||
        (type == XML_PI_NODE && text.find("?>") != text.npos);
    if (hasMark) return {DocumentCode::InvalidText, u"The text holds the mark that ends such a node"};
    return {};
}

DocumentResult SetNodeText(Tree & tree, xmlNode * node, std::u16string_view text) {
    std::string const value = Utf8Of(text);
    if (DocumentResult result = CheckText(node->type, value); !result) return result;
    if (HasOwnText(node)) {
        OwnedText fresh = CopyOfText(value);
        xmlNodeSetContent(node, nullptr); // frees what is there, which may lie in the node itself
        node->content = fresh.release();
        return {};
    }
    if (node->type == XML_ATTRIBUTE_NODE) {
        SetAttributeValue(reinterpret_cast<xmlAttr *>(node), value);
        return {};
    }
    if (node->type != XML_ELEMENT_NODE && node->type != XML_DOCUMENT_FRAG_NODE)
        return {DocumentCode::Hierarchy, u"A node of this kind has no text to be set"};
    OwnedNode fresh = NewText(tree.Doc(), value);
    tree.RemoveChildren(node);
    if (fresh) Link(fresh.release(), node, nullptr);
    return {};
}

// --- NodeBase

template <class Interface>
DocumentNodeList * NodeBase<Interface>::Children() const {
    std::vector<xmlNode *> nodes;
    for (xmlNode * child = FirstBelow(Node()); child; child = child->next) nodes.push_back(child);
    return new NodeList(Home(), std::move(nodes));
}

template <class Interface>
DocumentResult NodeBase<Interface>::Select(std::u16string_view path, DocumentNode *& found) const {
    found = nullptr;
    std::vector<xmlNode *> nodes;
    DocumentResult result = Home().GetPaths().Select(Node(), path, true, nodes);
    if (!nodes.empty()) found = Home().Wrap(nodes.front());
    return result;
}

template <class Interface>
DocumentResult NodeBase<Interface>::Select(std::u16string_view path, DocumentNodeList *& found) const {
    found = nullptr;
    std::vector<xmlNode *> nodes;
    DocumentResult result = Home().GetPaths().Select(Node(), path, false, nodes);
    if (result) found = new NodeList(Home(), std::move(nodes));
    return result;
}

template <class Interface>
DocumentResult NodeBase<Interface>::SelectText(std::u16string_view path, bool & isFound,
                                               DocumentSink & sink) const {
    std::vector<xmlNode *> nodes;
    DocumentResult result = Home().GetPaths().Select(Node(), path, true, nodes);
    isFound = !nodes.empty();
    if (isFound) PutText(nodes.front(), sink);
    return result;
}

template <class Interface>
DocumentNode * NodeBase<Interface>::Clone(bool deep) const {
    if (Node()->type == XML_DOCUMENT_NODE)
        return NewDocumentObject(CopyDoc(Home().Doc(), deep), Home().keepsWhiteSpace);
    xmlNode * const copy = CopyNode(Node(), Home().Doc(), deep);
    return copy ? Home().WrapNew(copy) : nullptr;
}

template class NodeBase<DocumentNode>;
template class NodeBase<DocumentText>;
template class NodeBase<DocumentElement>;
template class NodeBase<Document>;

// --- Insertion

namespace {

DocumentResult Refuse(char16_t const * reason) { return {DocumentCode::Hierarchy, reason}; }

bool MayStandBelowElement(xmlNode const * node) noexcept {
    return node->type == XML_ELEMENT_NODE || HasOwnText(node) || node->type == XML_ENTITY_REF_NODE;
}

bool HasOtherRoot(xmlNode const * doc, xmlNode const * element) noexcept {
    xmlNode const * const root = xmlDocGetRootElement(reinterpret_cast<xmlDoc const *>(doc));
    return root && root != element;
}

// Whether `child` may become a child of `parent`.
DocumentResult CheckPlace(xmlNode const * parent, xmlNode const * child) {
    if (parent->type == XML_DOCUMENT_NODE) {
        if (child->type == XML_ELEMENT_NODE && HasOtherRoot(parent, child))
            return Refuse(u"A document has one root element");
        if (child->type != XML_ELEMENT_NODE && child->type != XML_COMMENT_NODE && child->type != XML_PI_NODE)
            return Refuse(u"Such a node can't stand in a document beside its root");
    } else if (parent->type != XML_ELEMENT_NODE && parent->type != XML_DOCUMENT_FRAG_NODE) {
        return Refuse(u"A node of this kind has no children");
    } else if (!MayStandBelowElement(child)) {
        return Refuse(u"Such a node can't stand below an element");
    }
    // If the child has no children, only the parent itself needs to be compared.
    for (xmlNode const * at = parent; at; at = child->children ? at->parent : nullptr)
        if (at == child) return Refuse(u"A node can't stand below itself");
    return {};
}

DocumentResult CheckFragment(xmlNode const * parent, xmlNode const * fragment) {
    xmlNode const * root = nullptr;
    for (xmlNode const * child = fragment->children; child; child = child->next) {
        if (DocumentResult result = CheckPlace(parent, child); !result) return result;
        if (child->type != XML_ELEMENT_NODE || parent->type != XML_DOCUMENT_NODE) continue;
        if (root) return Refuse(u"A document has one root element");
        root = child;
    }
    return {};
}

} // namespace

DocumentResult Insert(xmlNode * parent, xmlNode * child, xmlNode * reference) {
    bool const isFragment = child->type == XML_DOCUMENT_FRAG_NODE;
    if (isFragment && child == parent) return Refuse(u"A node can't stand below itself");
    DocumentResult result = isFragment ? CheckFragment(parent, child) : CheckPlace(parent, child);
    if (!result) return result;
    if (reference && (reference->parent != parent || reference->type == XML_ATTRIBUTE_NODE))
        return {DocumentCode::NotAChild, u"The reference isn't a child of the node"};
    Tree & tree = Tree::Of(parent);
    if (isFragment) {
        tree.MoveChildren(child, parent, reference);
    } else {
        tree.Move(child, parent, reference);
    }
    return {};
}

} // namespace KZPlatform::LibXml2
