/// @file
/// XML documents: loading, saving, validating, and making nodes.
///
///     KZDOMDocument document = KZDOMDocument::Create();
///     KZDOMElement list = document.CreateElement(u"list", true);
///     list.AppendChild(document.CreateElement(u"item")).SetText(u"first");
///     document.SaveToFile(u"list.xml");
#pragma once

#include "ZerlithCore/xml/KZDOMElement.h"
#include "ZerlithCore/xml/KZDOMParseError.h"
#include "ZerlithCore/xml/KZDOMText.h"

/// A handle on a document, which is a node, too; or on none.
///
/// Nodes that are made stand nowhere until they are put somewhere, and die with their last handle.
///
/// Thread safety, errors: as KZDOMNode.
class KZ_EXPORT KZDOMDocument : public KZDOMNode {
public:
    static constexpr KZGuid InterfaceId{0x5D0C9A13, 0x4B7E2F31, 0x6E83A19C, 0x7F24D0B5};

    /// A handle on none.
    KZDOMDocument() noexcept = default;
    explicit KZDOMDocument(KZSmartPtr<KZPlatform::Document> const & document) : KZDOMNode(document) {}
    /// The node as a document; a handle on none if it isn't one.
    explicit KZDOMDocument(KZDOMNode const & node);

    /// A new document without content.
    [[nodiscard]] static KZDOMDocument Create();

    [[nodiscard]] KZSmartPtr<KZPlatform::Document> GetDocumentSP() const;

    // --- Content

    /// Replaces the content by the file of that name, or by what `text` itself says. False, with the reason in
    /// `GetLastParseError` and the old content in place, for a file that can't be read and for whatever isn't well-formed.
    ///
    /// A text of white space alone is left out where its parent has elements, unless xml:space says "preserve" or
    /// `SetPreserveWhiteSpace` has asked for it. Nothing but the file is read: an entity of a file or an address isn't
    /// known. A text's declaration of its encoding is ignored. Limits: 256 levels, 10,000,000 bytes a text, and what
    /// entities may multiply; what exceeds one is false with LimitExceeded and says which.
    bool Load(KZString const & text, bool isFile = false);
    /// Whether `Load` keeps texts of white space alone between elements from now on; false to begin with. In mixed content
    /// such a text is a blank between two words: "<b>very</b> <i>important</i>". Copies of the document do the same.
    void SetPreserveWhiteSpace(bool preserve);
    [[nodiscard]] bool GetPreserveWhiteSpace() const;
    /// Replaces the file by the content, in the encoding of the file that was loaded, else in UTF-8. The new file takes the
    /// place of the old one at once, with its permissions, and links are followed. Errors: CantWrite; the old file
    /// stands then.
    void SaveToFile(KZString const & fileName) const;

    /// Not valid in a document without content.
    [[nodiscard]] KZDOMElement GetRootElement() const;
    /// Puts `root` in the place of the present root, which lives on while it is held. Errors: Hierarchy.
    void SetRootElement(KZDOMElement const & root);

    // --- Schemas (XML Schema 1.0)

    /// Adds the schema for a namespace, by the name "x-schema:" and the namespace; an empty one is for elements without a
    /// namespace. The schema is copied; it replaces an earlier one for the namespace. What it imports must be added, too.
    /// Errors: BadSchema for what isn't a schema of that namespace, or includes another file.
    void AddSchema(KZString const & nameSpace, KZDOMDocument const & schema);
    /// Whether the content follows the schemas; if not, `GetLastParseError` has the reason and the line.
    /// Errors: BadSchema. Cost: the first call after `AddSchema` compiles the schemas.
    bool Validate();

    /// The outcome of the last `Load` or `Validate`.
    [[nodiscard]] KZDOMParseError GetLastParseError() const;

    // --- New nodes. Errors: InvalidName, InvalidText.

    /// An element without a namespace; `makeRoot`: it becomes the root, as by `SetRootElement`.
    KZDOMElement CreateElement(KZString const & name, bool makeRoot = false);
    /// An element, in a namespace if that isn't empty; a text, CDATA section or comment without content; an instruction,
    /// or a fragment. Only an element and an instruction have a name. Errors: InvalidArgument for other types.
    KZDOMNode CreateNode(KZDOMNodeType type, KZString const & name = KZString(),
                         KZString const & nameSpace = KZString());
    KZDOMNode CreateProcessingInstruction(KZString const & target, KZString const & data);
    KZDOMText CreateText(KZString const & text);

private:
    [[nodiscard]] KZPlatform::Document & Existing() const;
    KZDOMNode Create(KZDOMNodeType type, KZString const & name, KZString const & nameSpace,
                     KZString const & text);
};
