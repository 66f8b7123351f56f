/// @file
/// XML documents as a tree of counted nodes: parsing, paths, transformation, schemas and saving.
///
///     KZSmartPtr<KZPlatform::Document> const document(KZPlatform::CreateDocument());
///     if (document->Load(u"<a>text</a>")) ...
///
/// Functions that return an object return a plain pointer, null for none. Put it into a handle (KZSmartPtr) at once:
/// the handle's count owns the object. As long as somebody holds a node, there is one object for it. A node keeps the
/// tree that it is in, so handles may be dropped in any order.
///
/// Text goes in as UTF-16; lone surrogates become U+FFFD. It comes out through a sink, as UTF-8 in pieces that never
/// cut a character. The name of an element or attribute, and a path, may have prefixes. When memory runs out,
/// std::bad_alloc is thrown.
///
/// Thread safety: distinct documents may be used from different threads. One document, with all nodes and lists that
/// come from it, is for one thread at a time. Dropping the last handle on a node uses its document, too.
#pragma once

#include "ZerlithCore/KZExport.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace KZPlatform {

enum class DocumentNodeKind : std::uint8_t {
    Invalid = 0,
    Element = 1,
    Attribute = 2,
    Text = 3,
    CData = 4,
    EntityReference = 5,
    Entity = 6,
    Instruction = 7,
    Comment = 8,
    Document = 9,
    DocumentType = 10,
    Fragment = 11,
    Notation = 12
};

/// What went wrong. The numbers have the form of the customary result codes: negative is a failure.
enum class DocumentCode : std::int32_t {
    Good = 0,
    // Of operations
    NullNode = -0x7FFFBFFD,        ///< 0x80004003
    InvalidArgument = -0x7FF8FFA9, ///< 0x80070057
    CantRead = -0x7FF8FFE2,        ///< 0x8007001E: the file is missing or can't be read
    CantWrite = -0x7FF8FFE3,       ///< 0x8007001D
    Hierarchy = -0x7FFBFDFF,       ///< 0x80040201: such a node isn't allowed there
    NotAChild = -0x7FFBFDFE,       ///< the reference isn't a child of the node
    InvalidName = -0x7FFBFDFD,
    InvalidText = -0x7FFBFDFC, ///< a character, or a sequence of them, that a document can't hold there
    MissingAttribute = -0x7FFBFDFB,
    NamespaceInUse = -0x7FFBFDFA,
    BadPath = -0x7FFBFDF9,
    NotNodes = -0x7FFBFDF8, ///< a path whose result is a number, a text or a truth value
    BadStylesheet = -0x7FFBFDF7,
    TransformFailed = -0x7FFBFDF6,
    BadSchema = -0x7FFBFDF5,
    NoModule = -0x7FFBFDF4, ///< the module with the parser can't be loaded
    // Of parsing and validating
    Malformed = -0x7FFBFCFF, ///< 0x80040301
    Empty = -0x7FFBFCFE,
    UnclosedElement = -0x7FFBFCFD,
    MismatchedTag = -0x7FFBFCFC,
    DuplicateAttribute = -0x7FFBFCFB,
    BadEntity = -0x7FFBFCFA,
    BadEncoding = -0x7FFBFCF9,
    UndeclaredPrefix = -0x7FFBFCF8,
    LimitExceeded = -0x7FFBFCF7, ///< too deep, too long, or far more output than input
    Invalid = -0x7FFBFCF6,       ///< violates the schemas
    NoSchema = -0x7FFBFCF5
};

/// The result of an operation; `reason` is empty after success.
struct DocumentResult {
    DocumentCode code = DocumentCode::Good;
    std::u16string reason;

    explicit operator bool() const noexcept { return code == DocumentCode::Good; }
};

/// Receives text, in pieces.
class KZ_EXPORT DocumentSink {
public:
    virtual void Append(std::string_view utf8) = 0;

protected:
    ~DocumentSink() = default;
};

/// A name in its parts; `prefix` is empty when there is none.
struct DocumentName {
    std::string_view prefix;
    std::string_view local;
};

/// Receives the parts of a tree in document order. Declarations of namespaces are passed as attributes, before the
/// others; CDATA is passed as text. Views are valid during the call.
class KZ_EXPORT DocumentVisitor {
public:
    virtual void BeginElement(DocumentName name) = 0;
    virtual void Attribute(DocumentName name, std::string_view value) = 0;
    virtual void Text(std::string_view text) = 0;
    virtual void EndElement(DocumentName name) = 0;

protected:
    ~DocumentVisitor() = default;
};

class Document;
class DocumentNodeList;

/// Any node. Attributes have no children and no parent here; the children of a document type aren't shown.
class KZ_EXPORT DocumentNode {
public:
    virtual unsigned long AddRef() const = 0;
    virtual unsigned long Release() const = 0;

    [[nodiscard]] virtual DocumentNodeKind Kind() const noexcept = 0;
    /// The name as written, with the prefix; "#text", "#cdata-section", "#comment", "#document" and
    /// "#document-fragment" for nodes without one.
    virtual void Name(DocumentSink & sink) const = 0;
    /// The value of a node that has one: attribute, text, CDATA, comment, instruction.
    virtual void Value(DocumentSink & sink) const = 0;
    /// The value, or for other nodes all text and CDATA below them.
    virtual void Text(DocumentSink & sink) const = 0;
    /// Replaces the value, or for other nodes all their children by one text. Errors: Hierarchy, InvalidText.
    virtual DocumentResult SetText(std::u16string_view text) = 0;
    /// The node written as XML, with the declarations of all prefixes that it uses.
    virtual void Xml(DocumentSink & sink) const = 0;
    /// Calls `visitor` for the node and everything below it; for a document, for its root. Skips kinds other than
    /// elements, texts and CDATA. Uses no recursion.
    virtual void Walk(DocumentVisitor & visitor) const = 0;

    [[nodiscard]] virtual Document * Owner() const = 0;
    [[nodiscard]] virtual DocumentNode * Parent() const = 0;
    [[nodiscard]] virtual bool HasChildren() const noexcept = 0;
    [[nodiscard]] virtual DocumentNode * FirstChild(bool elementsOnly) const = 0;
    [[nodiscard]] virtual DocumentNode * NextSibling(bool elementsOnly) const = 0;
    /// The present children; later changes don't change the list.
    [[nodiscard]] virtual DocumentNodeList * Children() const = 0;

    /// Evaluates an XPath expression at this node. `found` becomes the nodes in document order, or only the first, or
    /// null. Prefixes are those in scope at this node, or at the root of a document. Errors: BadPath, NotNodes,
    /// LimitExceeded.
    virtual DocumentResult Select(std::u16string_view path, DocumentNode *& found) const = 0;
    virtual DocumentResult Select(std::u16string_view path, DocumentNodeList *& found) const = 0;
    /// Writes the text of the first node that the path finds to `sink`, without making an object for that node.
    virtual DocumentResult SelectText(std::u16string_view path, bool & isFound,
                                      DocumentSink & sink) const = 0;

    /// Moves `child`, wherever it is, to the place before `reference`; a null `reference` means after all children.
    /// If `child` is a fragment, its children move. Errors, without a change: Hierarchy, NotAChild.
    virtual DocumentResult InsertBefore(DocumentNode & child, DocumentNode * reference) = 0;
    /// A copy without a parent, of the same document. Of a document a new document; of a document type null.
    [[nodiscard]] virtual DocumentNode * Clone(bool deep) const = 0;

    /// Transforms this node, which the stylesheet sees as a document of its own. The stylesheet is a document or an
    /// element. Errors: BadStylesheet, TransformFailed, LimitExceeded; the sink, or `out`, is then unchanged.
    virtual DocumentResult Transform(DocumentNode const & stylesheet, DocumentSink & sink) const = 0;
    virtual DocumentResult Transform(DocumentNode const & stylesheet, Document & out) const = 0;

protected:
    ~DocumentNode() = default;
};

class KZ_EXPORT DocumentElement : public DocumentNode {
public:
    /// Writes the attribute's value to `sink`; false when there is none. "xmlns" and "xmlns:p" are attributes here.
    virtual bool Attribute(std::u16string_view name, DocumentSink & sink) const = 0;
    /// Sets the attribute's value, or adds the attribute. Errors: InvalidName, InvalidText; NamespaceInUse for a
    /// declaration whose prefix is used with another namespace.
    virtual DocumentResult SetAttribute(std::u16string_view name, std::u16string_view value) = 0;
    /// Removes the attribute. False when there is none, and for a declaration that is in use.
    virtual bool RemoveAttribute(std::u16string_view name) = 0;

protected:
    ~DocumentElement() = default;
};

/// A text or a CDATA section.
class KZ_EXPORT DocumentText : public DocumentNode {
protected:
    ~DocumentText() = default;
};

/// Why the last `Load`, `LoadFile` or `Validate` failed. Never changes.
class KZ_EXPORT DocumentParseError {
public:
    virtual unsigned long AddRef() const = 0;
    virtual unsigned long Release() const = 0;

    [[nodiscard]] virtual DocumentCode Code() const noexcept = 0;
    [[nodiscard]] virtual std::u16string_view Reason() const noexcept = 0;
    /// Counted from 1, in units; 0 for unknown.
    [[nodiscard]] virtual std::uint32_t Line() const noexcept = 0;
    [[nodiscard]] virtual std::uint32_t Column() const noexcept = 0;
    /// What precedes the error: in units of a text, in bytes of a file.
    [[nodiscard]] virtual std::uint32_t Position() const noexcept = 0;
    /// The line without its end.
    [[nodiscard]] virtual std::u16string_view SourceText() const noexcept = 0;
    /// The path of the file.
    [[nodiscard]] virtual std::u16string_view Url() const noexcept = 0;

protected:
    ~DocumentParseError() = default;
};

/// Nodes in a fixed order, and a position among them. A list keeps its nodes.
class KZ_EXPORT DocumentNodeList {
public:
    virtual unsigned long AddRef() const = 0;
    virtual unsigned long Release() const = 0;

    [[nodiscard]] virtual std::size_t Length() const noexcept = 0;
    /// The next node, or the next element; null at the end.
    [[nodiscard]] virtual DocumentNode * Next(bool elementsOnly) = 0;
    virtual void Reset() noexcept = 0;

protected:
    ~DocumentNodeList() = default;
};

class KZ_EXPORT Document : public DocumentNode {
public:
    /// Replaces the content by what the text, or the file, contains. False, without a change of the content, for what
    /// isn't a well-formed document. Nothing else is read: neither the network nor external entities.
    ///
    /// Texts of only white space are dropped in elements that have elements among their children, except where
    /// xml:space is "preserve", and except when the document keeps white space. A declared encoding is used for files
    /// only.
    virtual bool Load(std::u16string_view text) = 0;
    virtual bool LoadFile(std::u16string_view path) = 0;
    /// Sets whether later loads keep all white space. A copy of the document has the same setting.
    virtual void KeepWhiteSpace(bool keep) noexcept = 0;
    [[nodiscard]] virtual bool KeepsWhiteSpace() const noexcept = 0;
    /// Writes the document to the file, in the encoding of the file that was loaded, otherwise in UTF-8. Errors:
    /// CantWrite; the file is then the old one, or the new one if only the disk didn't confirm its name.
    virtual DocumentResult Save(std::u16string_view path) const = 0;

    /// Adds or replaces the schema for a namespace; it is copied. Errors: BadSchema.
    virtual DocumentResult AddSchema(std::u16string_view nameSpace, Document const & schema) = 0;
    /// Sets `isValid` to whether the content satisfies the schemas. Errors: BadSchema.
    virtual DocumentResult Validate(bool & isValid) = 0;
    /// Never null.
    [[nodiscard]] virtual DocumentParseError * LastParseError() const = 0;

    [[nodiscard]] virtual DocumentNode * Root() const = 0;
    /// Puts `element` in the place of the root, or after everything if there is no root. Errors: Hierarchy.
    virtual DocumentResult SetRoot(DocumentNode & element) = 0;

    /// Makes a node without a parent: an element, a text, a CDATA section, a comment, an instruction or a fragment.
    /// `name` is for elements and instructions, `nameSpace` for elements, `text` for the others. Errors:
    /// InvalidArgument, InvalidName, InvalidText.
    virtual DocumentResult Create(DocumentNodeKind kind, std::u16string_view name,
                                  std::u16string_view nameSpace, std::u16string_view text,
                                  DocumentNode *& made) = 0;

protected:
    ~Document() = default;
};

/// A document without content. The first call loads the module with the parser (DocumentModule.h). Null, with a text in
/// the last error, when that is missing or belongs to another version of the library.
[[nodiscard]] KZ_EXPORT Document * CreateDocument();

} // namespace KZPlatform
