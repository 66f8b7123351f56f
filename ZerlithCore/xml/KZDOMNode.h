/// @file
/// A node of an XML document.
///
///     KZDOMDocument document = KZDOMDocument::Create();
///     if (!document.Load(u"catalog.xml", true)) return;
///     KZString const title = document.ValueOf(u"/catalog/book[@id='b7']/title", u"unknown");
#pragma once

#include "ZerlithCore/foundation/KZGuid.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/platform/Documents.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/xml/KZDOMNodeType.h"

#include <utility>

class KZDOMDocument;
class KZDOMElement;
class KZDOMNodeList;

/// A handle on a node, or an empty handle. Copies refer to the same node.
///
/// A handle keeps the whole document alive. A part that is removed from a document, by `SetText`, by a new root or by another
/// `Load`, exists as long as a handle refers to a node in it. Paths are XPath 1.0. The prefixes in a path are those that are
/// declared at the node, and a name without a prefix is a name without a namespace.
///
/// Errors: operations that fail throw a KZDOMException. On an empty handle all operations do so, except `IsValid` and
/// `GetNodeType`.
///
/// Thread safety: different documents may be used from different threads. One document, with all handles on its nodes, is for
/// one thread at a time; destroying the last handle on a node is such a use, too.
class KZ_EXPORT KZDOMNode {
public:
    static constexpr KZGuid InterfaceId{0x5D0C9A10, 0x4B7E2F31, 0x6E83A19C, 0x7F24D0B5};

    /// An empty handle.
    KZDOMNode() noexcept = default;
    explicit KZDOMNode(KZSmartPtr<KZPlatform::DocumentNode> node) noexcept : node_(std::move(node)) {}

    /// False for an empty handle.
    [[nodiscard]] bool IsValid() const noexcept { return !node_.IsNull(); }
    [[nodiscard]] KZSmartPtr<KZPlatform::DocumentNode> const & GetNodeSP() const noexcept { return node_; }

    // --- What the node is

    /// The type; `Invalid` for an empty handle.
    [[nodiscard]] KZDOMNodeType GetNodeType() const noexcept;
    /// The name in the document, with its prefix, of an element or attribute; the target of an instruction. Other nodes have
    /// the names "#text", "#cdata-section", "#comment", "#document" and "#document-fragment".
    [[nodiscard]] KZString GetName() const;
    /// The text of an attribute, text, CDATA section, comment or instruction; empty for others.
    [[nodiscard]] KZString GetValue() const;
    /// All texts below the node, joined in order; for a node that can't have any below it, its value. Comments and instructions
    /// below the node are left out.
    [[nodiscard]] KZString GetText() const;
    /// Replaces the value, or replaces everything below the node by one text. With an empty text nothing is below the node.
    void SetText(KZString const & text);
    /// The node as XML that can be read by itself. A document begins with "<?xml version="1.0"?>".
    [[nodiscard]] KZString GetXML() const;

    // --- Around the node. If there is no such node, the result is an empty handle.

    [[nodiscard]] KZDOMDocument GetDocument() const;
    /// The parent. An attribute has none.
    [[nodiscard]] KZDOMNode GetParentNode() const;
    /// The nearest element of that name above this node.
    [[nodiscard]] KZDOMNode GetAncestorNode(KZString const & name) const;
    [[nodiscard]] bool HasChilds() const;
    /// The present children. Later changes of the document don't change the list.
    [[nodiscard]] KZDOMNodeList GetChildNodes() const;
    [[nodiscard]] KZDOMNode GetFirstChildNode() const;
    /// The first element among the children, and the next element after this node.
    [[nodiscard]] KZDOMElement GetFirstChildElement() const;
    [[nodiscard]] KZDOMElement GetNextSiblingElement() const;
    /// This node as an element; an empty handle if it isn't one.
    [[nodiscard]] KZDOMElement AsElement() const;

    // --- Paths. A document parses each path once and keeps the result.
    //
    // Errors: BadPath; NotNodes if the path doesn't give nodes; LimitExceeded if it takes too much work.

    /// The first node that the path finds.
    [[nodiscard]] KZDOMNode SelectNode(KZString const & path) const;
    /// All nodes that the path finds, in document order.
    [[nodiscard]] KZDOMNodeList SelectNodes(KZString const & path) const;
    /// Whether the path finds a node.
    [[nodiscard]] bool ChildExists(KZString const & path) const;
    /// The value of the first node that the path finds, if it is an attribute, text or CDATA section; the text of any other
    /// first node; or `otherwise` when the path finds none.
    [[nodiscard]] KZString ValueOf(KZString const & path, KZString const & otherwise = KZString()) const;
    /// The text of the first node that the path finds, or `otherwise` when it finds none.
    [[nodiscard]] KZString GetChildNodeValue(KZString const & path,
                                             KZString const & otherwise = KZString()) const;

    // --- Changes

    /// Moves `child`, with everything below it, to the end of this node's children, or before `reference`; an empty `reference`
    /// means the end. `child` may be a new node, or come from another place or another document. If it is a fragment, its
    /// children are moved instead. Returns `child`. Errors, without a change: Hierarchy, NotAChild.
    KZDOMNode AppendChild(KZDOMNode const & child);
    KZDOMNode InsertBefore(KZDOMNode const & child, KZDOMNode const & reference);
    /// A copy that isn't in any document yet. With `deep` it has copies of everything below the node. The copy of a document is
    /// a new document.
    [[nodiscard]] KZDOMNode Clone(bool deep) const;
    [[nodiscard]] KZSmartPtr<KZPlatform::DocumentNode> CloneSP(bool deep) const;

    // --- Transformation by XSLT 1.0. The stylesheet gets this node as if it were a whole document. No file is read.
    //
    // Errors: BadStylesheet, TransformFailed; LimitExceeded if it takes too much work. `out` then keeps its content. Cost: the
    // stylesheet is compiled by each call.

    /// The result as text, by the output method of the stylesheet.
    [[nodiscard]] KZString TransformNode(KZDOMNode const & stylesheet) const;
    /// Replaces the content of `out` by the result.
    void TransformNodeToObject(KZDOMNode const & stylesheet, KZDOMDocument & out) const;

    // --- Printing

    /// Appends the node to `out`, one line for each tag.
    ///
    /// The lines of the node itself begin with `level` blanks, and those of each level below with `step` more. A text is printed
    /// unchanged, with & > < " ' escaped, after the line of its element's start tag; with `closeFlush` an end tag
    /// after a text isn't indented. CDATA is printed as text. Comments, instructions, unresolved entities and the document
    /// type are left out. A document prints its root. Callers rely on this layout, although it adds white space to texts.
    /// The result of `GetXML` can be read back unchanged.
    void Format(KZString & out, unsigned const & level = 0, bool closeFlush = true,
                unsigned const & step = 2) const;

protected:
    /// The node. Errors: NullNode.
    [[nodiscard]] KZPlatform::DocumentNode & Existing() const;

private:
    KZSmartPtr<KZPlatform::DocumentNode> node_;
};
