/// @file
/// XML documents: loading, saving, validating, and making nodes.
///
///     KZDOMDocument document = KZDOMDocument::Create();
///     KZDOMElement list = document.CreateElement(u"list", true);
///     list.AppendChild(document.CreateElement(u"item")).SetText(u"first");
///     document.SaveToFile(u"list.xml");            // throws KZDOMException if that can't be written
///     if (!document.Load(u"other.xml", true)) KZGetConsole() << document.GetLastParseError().GetReason() << std::endl;
#pragma once

#include "ZerlithCore/xml/KZDOMElement.h"
#include "ZerlithCore/xml/KZDOMParseError.h"
#include "ZerlithCore/xml/KZDOMText.h"

/// A handle on a document, or an empty handle. A document is a node, too.
///
/// A new node isn't in the document until it is inserted, for example by `AppendChild`. Until then it exists as long as a
/// handle refers to it.
///
/// Thread safety, errors: as KZDOMNode.
class KZ_EXPORT KZDOMDocument : public KZDOMNode {
public:
    static constexpr KZGuid InterfaceId{0x5D0C9A13, 0x4B7E2F31, 0x6E83A19C, 0x7F24D0B5};

    /// An empty handle.
    KZDOMDocument() noexcept = default;
    explicit KZDOMDocument(KZSmartPtr<KZPlatform::Document> const & document) : KZDOMNode(document) {}
    /// The node as a document; an empty handle if it isn't one.
    explicit KZDOMDocument(KZDOMNode const & node);

    /// A new document without content. The first one loads the parser. Errors: NoModule if the library's module with the
    /// parser, which is installed beside it, is missing or belongs to another version.
    [[nodiscard]] static KZDOMDocument Create();

    /// The document as the platform's interface; null for an empty handle.
    [[nodiscard]] KZSmartPtr<KZPlatform::Document> GetDocumentSP() const;

    // --- Content

    /// Replaces the content by the document in the file `text`, or, if `isFile` is false, by the document that `text` itself
    /// is. Returns false and keeps the old content when the file can't be read or the document isn't well-formed;
    /// `GetLastParseError` then has the reason.
    ///
    /// A text of white space only is left out where its parent has elements, unless xml:space is "preserve" or
    /// `SetPreserveWhiteSpace` was called. No other file is read: an external entity counts as undefined. If `text` is the
    /// document, its encoding declaration is ignored. Limits: 256 levels, 10,000,000 bytes for each text, and a limit on what
    /// entities may add. A document that exceeds one gives false and LimitExceeded, and the reason names the limit.
    bool Load(KZString const & text, bool isFile = false);
    /// Sets whether later calls of `Load` keep texts of white space only between elements; false at first. In mixed content
    /// such a text can be a blank between two words: "<b>very</b> <i>important</i>". Copies of the document have the same
    /// setting.
    void SetPreserveWhiteSpace(bool preserve);
    [[nodiscard]] bool GetPreserveWhiteSpace() const;
    /// Writes the content to the file, in the encoding of the file that was loaded, or in UTF-8 if none was. The new file
    /// replaces the old one in one step and keeps its permissions; links are followed. Errors: CantWrite, and the old file
    /// stays.
    void SaveToFile(KZString const & fileName) const;

    /// The root element; not valid for a document without content.
    [[nodiscard]] KZDOMElement GetRootElement() const;
    /// Replaces the root element. The old one exists as long as a handle refers to it. Errors: Hierarchy.
    void SetRootElement(KZDOMElement const & root);

    // --- Schemas (XML Schema 1.0)

    /// Adds a copy of `schema` for the namespace `nameSpace`, or for elements without a namespace if that is empty, and replaces
    /// an earlier schema for it. Inside the library its name is "x-schema:" and the namespace. Schemas that this one imports
    /// must be added as well. Errors: BadSchema if it isn't a schema of that namespace, or if it includes another file.
    void AddSchema(KZString const & nameSpace, KZDOMDocument const & schema);
    /// Returns whether the content follows the schemas. If not, `GetLastParseError` has the reason and the line.
    /// Errors: BadSchema. Cost: the first call after `AddSchema` compiles the schemas.
    bool Validate();

    /// The outcome of the last `Load` or `Validate`.
    [[nodiscard]] KZDOMParseError GetLastParseError() const;

    // --- New nodes. Errors: InvalidName, InvalidText.

    /// An element without a namespace. With `makeRoot` it becomes the root, as by `SetRootElement`.
    KZDOMElement CreateElement(KZString const & name, bool makeRoot = false);
    /// A new node of `type`: an element, in a namespace if that isn't empty; a text, CDATA section or comment without content;
    /// an instruction; or a fragment. Only an element and an instruction have a name. Errors: InvalidArgument for other types.
    KZDOMNode CreateNode(KZDOMNodeType type, KZString const & name = KZString(),
                         KZString const & nameSpace = KZString());
    KZDOMNode CreateProcessingInstruction(KZString const & target, KZString const & data);
    KZDOMText CreateText(KZString const & text);

private:
    [[nodiscard]] KZPlatform::Document & Existing() const;
    KZDOMNode Create(KZDOMNodeType type, KZString const & name, KZString const & nameSpace,
                     KZString const & text);
};
