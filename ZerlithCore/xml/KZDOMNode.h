/// @file
/// A node of an XML document.
///
///     KZDOMDocument document = KZDOMDocument::Create();
///     if (!document.Load(u"catalog.xml", true)) return Complain(document.GetLastParseError());
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

/// A handle on a node, or on none. Copies refer to the same node.
///
/// A node keeps its document alive. What is taken out of a document, by `SetText`, by a new root or by another `Load`,
/// lives on while a handle refers to it or to a node of the same piece. Paths are XPath 1.0; their prefixes are those in
/// scope at the node, and a name without a prefix means no namespace.
///
/// Errors: whatever can't be done throws a KZDOMException; so does every question to a handle on none, but `IsValid` and
/// `GetNodeType`.
///
/// Thread safety: distinct documents may be used from different threads. One document with all handles on its nodes is for
/// one thread at a time; dropping the last handle on a node counts as a use.
class KZ_EXPORT KZDOMNode {
public:
    static constexpr KZGuid InterfaceId{0x5D0C9A10, 0x4B7E2F31, 0x6E83A19C, 0x7F24D0B5};

    /// A handle on none.
    KZDOMNode() noexcept = default;
    explicit KZDOMNode(KZSmartPtr<KZPlatform::DocumentNode> node) noexcept : node_(std::move(node)) {}

    [[nodiscard]] bool IsValid() const noexcept { return !node_.IsNull(); }
    [[nodiscard]] KZSmartPtr<KZPlatform::DocumentNode> const & GetNodeSP() const noexcept { return node_; }

    // --- What the node is

    [[nodiscard]] KZDOMNodeType GetNodeType() const noexcept;
    /// The name as written, prefix included; "#text", "#cdata-section", "#comment", "#document",
    /// "#document-fragment"; the target of an instruction.
    [[nodiscard]] KZString GetName() const;
    /// The text of an attribute, text, CDATA section, comment or instruction; empty for others.
    [[nodiscard]] KZString GetValue() const;
    /// All texts below in order, or the node's own value. Comments and instructions below don't count.
    [[nodiscard]] KZString GetText() const;
    /// Replaces the value, or everything below by one text; an empty text leaves nothing below.
    void SetText(KZString const & text);
    /// The node as XML on its own; a document with "<?xml version="1.0"?>" in front.
    [[nodiscard]] KZString GetXML() const;

    // --- Around the node. Where there is nothing, the result isn't valid.

    [[nodiscard]] KZDOMDocument GetDocument() const;
    /// An attribute has no parent.
    [[nodiscard]] KZDOMNode GetParentNode() const;
    /// The nearest element of that name above.
    [[nodiscard]] KZDOMNode GetAncestorNode(KZString const & name) const;
    [[nodiscard]] bool HasChilds() const;
    /// The children at this moment; later changes don't show.
    [[nodiscard]] KZDOMNodeList GetChildNodes() const;
    [[nodiscard]] KZDOMNode GetFirstChildNode() const;
    /// The first element among the children, and the next one behind this node.
    [[nodiscard]] KZDOMElement GetFirstChildElement() const;
    [[nodiscard]] KZDOMElement GetNextSiblingElement() const;
    /// This node as an element; not valid for others.
    [[nodiscard]] KZDOMElement AsElement() const;

    // --- Paths. A path is read once a document. Errors: BadPath, NotNodes; LimitExceeded for too much work.

    /// The first node that the path finds.
    [[nodiscard]] KZDOMNode SelectNode(KZString const & path) const;
    /// All of them, in document order.
    [[nodiscard]] KZDOMNodeList SelectNodes(KZString const & path) const;
    [[nodiscard]] bool ChildExists(KZString const & path) const;
    /// The value of the first attribute, text or CDATA section that the path finds, the text of any other node, or
    /// `otherwise` when there is none.
    [[nodiscard]] KZString ValueOf(KZString const & path, KZString const & otherwise = KZString()) const;
    /// The text of the first node that the path finds, or `otherwise`.
    [[nodiscard]] KZString GetChildNodeValue(KZString const & path,
                                             KZString const & otherwise = KZString()) const;

    // --- Changes

    /// Moves `child`, with all that is below it, from wherever it stands to the end of this node's children, or in front
    /// of `reference` (a handle on none means the end). It may come from another document. Of a fragment the children
    /// move. Returns `child`. Errors, without a change: Hierarchy, NotAChild.
    KZDOMNode AppendChild(KZDOMNode const & child);
    KZDOMNode InsertBefore(KZDOMNode const & child, KZDOMNode const & reference);
    /// A copy that stands nowhere; `deep`: with all that is below. The copy of a document is a document of its own.
    [[nodiscard]] KZDOMNode Clone(bool deep) const;
    [[nodiscard]] KZSmartPtr<KZPlatform::DocumentNode> CloneSP(bool deep) const;

    // --- Transformation by XSLT 1.0. The stylesheet sees this node as a document of its own; nothing is loaded.
    //
    // Errors: BadStylesheet, TransformFailed; LimitExceeded for too much work. `out` is as it was then. Cost: the
    // stylesheet is compiled each time.

    /// The result as text, in the form that the stylesheet asks for.
    [[nodiscard]] KZString TransformNode(KZDOMNode const & stylesheet) const;
    /// Replaces the content of `out` by the result.
    void TransformNodeToObject(KZDOMNode const & stylesheet, KZDOMDocument & out) const;

    // --- Printing

    /// Appends the node to `out`, one line for each tag.
    ///
    /// Lines of the node itself begin with `level` blanks, and each level below with `step` more. A text stands as it is,
    /// with & > < " ' escaped, between the line of its element's start tag and the end tag; with `closeFlush` an end tag
    /// behind a text isn't indented. CDATA prints as text; comments, instructions, unresolved entities and the document
    /// type are left out; a document prints its root. Callers rely on this layout, although it adds white space to texts:
    /// GetXML is the form that can be read back unchanged.
    void Format(KZString & out, unsigned const & level = 0, bool closeFlush = true,
                unsigned const & step = 2) const;

protected:
    /// The node. Errors: NullNode.
    [[nodiscard]] KZPlatform::DocumentNode & Existing() const;

private:
    KZSmartPtr<KZPlatform::DocumentNode> node_;
};
