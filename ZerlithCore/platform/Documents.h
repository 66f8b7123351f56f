/// @file
/// XML documents as a tree of counted nodes: parsing, paths, transformation, schemas and saving.
///
///     KZSmartPtr<KZPlatform::Document> const document(KZPlatform::CreateDocument());
///     if (document->Load(u"<a>text</a>")) ...
///
/// Functions that give an object return a plain pointer, null for none. The object belongs to whoever counts it: put
/// the pointer into a handle (KZSmartPtr) at once. There is one object a node as long as somebody holds it. A node
/// keeps the tree in which it stands, so handles may be dropped in any order.
///
/// Text goes in as units; lone surrogates become U+FFFD. It comes out through a sink, as UTF-8 in pieces that tear no
/// character. The name of an element, attribute or path may have a prefix. Memory that runs out is std::bad_alloc.
///
/// Thread safety: distinct documents may be used from different threads. One document, with all nodes and lists that
/// were got from it, is for one thread at a time; dropping the last handle on a node is a use of its document.
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
    Hierarchy = -0x7FFBFDFF,       ///< 0x80040201: no such node may stand there
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
    // Of texts that were to be parsed or validated
    Malformed = -0x7FFBFCFF, ///< 0x80040301
    Empty = -0x7FFBFCFE,
    UnclosedElement = -0x7FFBFCFD,
    MismatchedTag = -0x7FFBFCFC,
    DuplicateAttribute = -0x7FFBFCFB,
    BadEntity = -0x7FFBFCFA,
    BadEncoding = -0x7FFBFCF9,
    UndeclaredPrefix = -0x7FFBFCF8,
    LimitExceeded = -0x7FFBFCF7, ///< too deep, too long, or too much out of little
    Invalid = -0x7FFBFCF6,       ///< against the schemas
    NoSchema = -0x7FFBFCF5
};

/// How an operation ended; `reason` is empty when it went well.
struct DocumentResult {
    DocumentCode code = DocumentCode::Good;
    std::u16string reason;

    explicit operator bool() const noexcept { return code == DocumentCode::Good; }
};

/// Takes text.
class KZ_EXPORT DocumentSink {
public:
    virtual void Append(std::string_view utf8) = 0;

protected:
    ~DocumentSink() = default;
};

/// A name in its parts; without a prefix that is empty.
struct DocumentName {
    std::string_view prefix;
    std::string_view local;
};

/// Is led through a tree in document order. Declarations of namespaces come as attributes, before the others; CDATA
/// comes as text. Views are valid during the call.
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

/// Any node. Attributes are leaves here and have no parent; the children of a document type aren't shown.
class KZ_EXPORT DocumentNode {
public:
    virtual unsigned long AddRef() const = 0;
    virtual unsigned long Release() const = 0;

    [[nodiscard]] virtual DocumentNodeKind Kind() const noexcept = 0;
    /// As written, with the prefix; "#text", "#cdata-section", "#comment", "#document" and "#document-fragment".
    virtual void Name(DocumentSink & sink) const = 0;
    /// The text of a node that has one of its own: attribute, text, CDATA, comment, instruction.
    virtual void Value(DocumentSink & sink) const = 0;
    /// The value, or all text and CDATA below.
    virtual void Text(DocumentSink & sink) const = 0;
    /// Replaces the value, or everything below by one text. Errors: Hierarchy, InvalidText.
    virtual DocumentResult SetText(std::u16string_view text) = 0;
    /// The node written as XML, with the declarations of all prefixes that it uses.
    virtual void Xml(DocumentSink & sink) const = 0;
    /// Leads `visitor` through the node, or through the root of a document. Other kinds than elements and texts are
    /// stepped over. No recursion.
    virtual void Walk(DocumentVisitor & visitor) const = 0;

    [[nodiscard]] virtual Document * Owner() const = 0;
    [[nodiscard]] virtual DocumentNode * Parent() const = 0;
    [[nodiscard]] virtual bool HasChildren() const noexcept = 0;
    [[nodiscard]] virtual DocumentNode * FirstChild(bool elementsOnly) const = 0;
    [[nodiscard]] virtual DocumentNode * NextSibling(bool elementsOnly) const = 0;
    /// The children at this moment.
    [[nodiscard]] virtual DocumentNodeList * Children() const = 0;

    /// What an XPath expression finds from this node, in document order; the first one only, or null. Prefixes are
    /// those in scope at the node, or at the root of a document. Errors: BadPath, NotNodes, LimitExceeded.
    virtual DocumentResult Select(std::u16string_view path, DocumentNode *& found) const = 0;
    virtual DocumentResult Select(std::u16string_view path, DocumentNodeList *& found) const = 0;
    /// Puts the text of the first node that the path finds into `sink`, without an object for that node.
    virtual DocumentResult SelectText(std::u16string_view path, bool & isFound,
                                      DocumentSink & sink) const = 0;

    /// Moves `child`, from wherever it stands, in front of `reference`, or behind all children for null. Of a
    /// fragment the children move. Errors, without a change: Hierarchy, NotAChild.
    virtual DocumentResult InsertBefore(DocumentNode & child, DocumentNode * reference) = 0;
    /// A copy that stands nowhere, of the same document; of a document a new document. Null for a document type.
    [[nodiscard]] virtual DocumentNode * Clone(bool deep) const = 0;

    /// What an XSLT stylesheet makes of this node, which it sees as a document of its own. The stylesheet is a document
    /// or an element. Errors: BadStylesheet, TransformFailed, LimitExceeded; the sink, or `out`, is as it was.
    virtual DocumentResult Transform(DocumentNode const & stylesheet, DocumentSink & sink) const = 0;
    virtual DocumentResult Transform(DocumentNode const & stylesheet, Document & out) const = 0;

protected:
    ~DocumentNode() = default;
};

class KZ_EXPORT DocumentElement : public DocumentNode {
public:
    /// Puts the attribute's value into `sink`; false when there is none. "xmlns" and "xmlns:p" are attributes here.
    virtual bool Attribute(std::u16string_view name, DocumentSink & sink) const = 0;
    /// Errors: InvalidName, InvalidText; NamespaceInUse for a declaration whose prefix something uses otherwise.
    virtual DocumentResult SetAttribute(std::u16string_view name, std::u16string_view value) = 0;
    /// False when there is none, and for a declaration that is in use.
    virtual bool RemoveAttribute(std::u16string_view name) = 0;

protected:
    ~DocumentElement() = default;
};

/// A text or a CDATA section.
class KZ_EXPORT DocumentText : public DocumentNode {
protected:
    ~DocumentText() = default;
};

/// Why the last `Load` or `Validate` said false. Never changes.
class KZ_EXPORT DocumentParseError {
public:
    virtual unsigned long AddRef() const = 0;
    virtual unsigned long Release() const = 0;

    [[nodiscard]] virtual DocumentCode Code() const noexcept = 0;
    [[nodiscard]] virtual std::u16string_view Reason() const noexcept = 0;
    /// From 1 on, in units; 0 for unknown.
    [[nodiscard]] virtual std::uint32_t Line() const noexcept = 0;
    [[nodiscard]] virtual std::uint32_t Column() const noexcept = 0;
    /// Units of a text, bytes of a file in front of the fault.
    [[nodiscard]] virtual std::uint32_t Position() const noexcept = 0;
    /// The line without its end.
    [[nodiscard]] virtual std::u16string_view SourceText() const noexcept = 0;
    /// The path of the file.
    [[nodiscard]] virtual std::u16string_view Url() const noexcept = 0;

protected:
    ~DocumentParseError() = default;
};

/// Nodes in a fixed order, and a place among them. A list keeps its nodes.
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
    /// Replaces the content by what the text, or the file, says. False, without a change of the content, for what
    /// isn't a well-formed document. Nothing else is read: neither the network nor external entities.
    ///
    /// Texts of white space alone go away in elements that have elements among their children, but where xml:space says
    /// "preserve", and unless the document keeps them. A declaration of the encoding counts for files only.
    virtual bool Load(std::u16string_view text) = 0;
    virtual bool LoadFile(std::u16string_view path) = 0;
    /// Whether later loads keep all white space. A copy of the document has the same setting.
    virtual void KeepWhiteSpace(bool keep) noexcept = 0;
    [[nodiscard]] virtual bool KeepsWhiteSpace() const noexcept = 0;
    /// Replaces the file, in the encoding of the one that was loaded, else in UTF-8. Errors: CantWrite; the old file
    /// stands then, or the new one if the disk didn't confirm its name.
    virtual DocumentResult Save(std::u16string_view path) const = 0;

    /// Adds, or replaces, the schema for a namespace. The document is copied. Errors: BadSchema.
    virtual DocumentResult AddSchema(std::u16string_view nameSpace, Document const & schema) = 0;
    /// Puts into `isValid` whether the content follows the schemas. Errors: BadSchema.
    virtual DocumentResult Validate(bool & isValid) = 0;
    /// Never null.
    [[nodiscard]] virtual DocumentParseError * LastParseError() const = 0;

    [[nodiscard]] virtual DocumentNode * Root() const = 0;
    /// Puts `element` where the root is, or behind everything. Errors: Hierarchy.
    virtual DocumentResult SetRoot(DocumentNode & element) = 0;

    /// Makes a node that stands nowhere: an element, a text, a CDATA section, a comment, an instruction or a fragment.
    /// `name` is for elements and instructions, `nameSpace` for elements, `text` for the others.
    /// Errors: InvalidArgument, InvalidName, InvalidText.
    virtual DocumentResult Create(DocumentNodeKind kind, std::u16string_view name,
                                  std::u16string_view nameSpace, std::u16string_view text,
                                  DocumentNode *& made) = 0;

protected:
    ~Document() = default;
};

/// A document without content.
[[nodiscard]] KZ_EXPORT Document * CreateDocument();

} // namespace KZPlatform
