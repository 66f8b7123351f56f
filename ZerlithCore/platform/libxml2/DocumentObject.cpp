// The document: loading, saving, schemas and making nodes.
#include "ZerlithCore/platform/libxml2/DocumentObject.h"

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/platform/libxml2/Paths.h"
#include "ZerlithCore/platform/libxml2/Schemas.h"

#include <libxml/xmlsave.h>

#include <limits>
#include <utility>

namespace KZPlatform::LibXml2 {

namespace {

bool IsInstructionTarget(std::string const & name) {
    return xmlValidateNCName(Chars(name), 0) == 0 && xmlStrcasecmp(Chars(name), Chars("xml")) != 0;
}

} // namespace

Document * NewDocumentObject(OwnedDoc doc, bool keepsWhiteSpace) {
    auto tree = std::make_unique<Tree>(std::move(doc));
    tree->keepsWhiteSpace = keepsWhiteSpace;
    auto * const object = new DocumentObject(*tree);
    static_cast<void>(tree.release()); // the object owns it now
    return object;
}

void Replace(Document & document, OwnedDoc doc) {
    dynamic_cast<DocumentObject &>(document).Take(std::move(doc));
}

// The old tree exists as long as handles refer to its nodes. If one of those asks for its document, the old tree gets a new
// object. The schemas and the last error stay with this object.
void DocumentObject::Take(OwnedDoc doc) {
    auto tree = std::make_unique<Tree>(std::move(doc));
    tree->schemas = Home().schemas;
    tree->lastError = Home().lastError;
    tree->keepsWhiteSpace = Home().keepsWhiteSpace;
    Home().Detach(Home().DocNode(), *this);
    Tree & fresh = *tree.release();
    fresh.Attach(fresh.DocNode(), *this);
    MoveTo(fresh, fresh.DocNode());
}

bool DocumentObject::Finish(OwnedDoc doc, Fault fault) {
    bool const isGood = doc != nullptr;
    auto * const error = new ParseError(std::move(fault));
    error->AddRef();
    std::shared_ptr<ParseError const> kept(error, [](ParseError const * last) { last->Release(); });
    if (isGood) Take(std::move(doc));
    Home().lastError = std::move(kept);
    return isGood;
}

bool DocumentObject::Load(std::u16string_view text) {
    if (text.starts_with(u'\uFEFF')) text.remove_prefix(1);
    std::string const bytes = Utf8Of(text);
    Fault fault;
    OwnedDoc doc = Parse(bytes, true, Home().keepsWhiteSpace, fault);
    fault.position = static_cast<std::uint32_t>(
        KZEncoding::UnitsInUtf8(std::string_view(bytes).substr(0, fault.position)));
    return Finish(std::move(doc), std::move(fault));
}

bool DocumentObject::LoadFile(std::u16string_view path) {
    std::string bytes;
    Fault fault;
    OwnedDoc doc;
    if (Host().readFile(path, bytes)) {
        doc = Parse(bytes, false, Home().keepsWhiteSpace, fault);
    } else {
        fault.code = DocumentCode::CantRead;
        fault.reason = Host().lastErrorText();
    }
    if (!doc) fault.url = path;
    if (doc) doc->URL = CopyOfText(KZEncoding::UnitsToUtf8(path, KZEncoding::Utf8Mode::Escape)).release();
    return Finish(std::move(doc), std::move(fault));
}

DocumentResult DocumentObject::Save(std::u16string_view path) const {
    LibraryCall const call;
    std::unique_ptr<xmlBuffer, FreeBy<xmlBufferFree>> const buffer(Need(xmlBufferCreate()));
    xmlDoc * const doc = Home().Doc();
    char const * const encoding = doc->encoding ? reinterpret_cast<char const *>(doc->encoding) : "UTF-8";
    xmlSaveCtxt * const save = xmlSaveToBuffer(buffer.get(), encoding, XML_SAVE_AS_XML);
    call.CheckMemory();
    if (!save) return {DocumentCode::CantWrite, call.Reason()};
    long const saved = xmlSaveDoc(save, doc);
    int const closed = xmlSaveClose(save);
    call.CheckMemory();
    if (closed < 0 || saved < 0) return {DocumentCode::CantWrite, call.Reason()};
    std::string_view const bytes(reinterpret_cast<char const *>(xmlBufferContent(buffer.get())),
                                 static_cast<std::size_t>(xmlBufferLength(buffer.get())));
    if (!Host().replaceFile(path, bytes)) return {DocumentCode::CantWrite, Host().lastErrorText()};
    return {};
}

DocumentResult DocumentObject::AddSchema(std::u16string_view nameSpace, Document const & schema) {
    if (!Home().schemas) Home().schemas = std::make_shared<Schemas>();
    return Home().schemas->Add(Utf8Of(nameSpace), reinterpret_cast<xmlDoc const *>(NodeOf(schema)));
}

DocumentResult DocumentObject::Validate(bool & isValid) {
    isValid = false;
    Fault fault;
    if (Home().schemas) {
        DocumentResult result = Home().schemas->Validate(Home().Doc(), fault);
        if (!result) return result;
    } else {
        fault.code = DocumentCode::NoSchema;
        fault.reason = u"The document has no schema";
    }
    isValid = fault.code == DocumentCode::Good;
    static_cast<void>(Finish(nullptr, std::move(fault)));
    return {};
}

DocumentParseError * DocumentObject::LastParseError() const {
    if (!Home().lastError) return new ParseError({});
    return const_cast<ParseError *>(Home().lastError.get());
}

DocumentNode * DocumentObject::Root() const { return Home().Wrap(xmlDocGetRootElement(Home().Doc())); }

DocumentResult DocumentObject::SetRoot(DocumentNode & element) {
    xmlNode * const node = NodeOf(element);
    if (node->type != XML_ELEMENT_NODE)
        return {DocumentCode::Hierarchy, u"The root of a document is an element"};
    xmlNode * const old = xmlDocGetRootElement(Home().Doc());
    if (old == node) return {};
    if (old) {
        Home().ReplaceRoot(old, node);
    } else {
        Home().Move(node, Home().DocNode(), nullptr);
    }
    return {};
}

DocumentResult DocumentObject::CreateElement(std::u16string_view name, std::u16string_view nameSpace,
                                             OwnedNode & made) {
    std::string const text = Utf8Of(name);
    std::string const uri = Utf8Of(nameSpace);
    std::size_t const colon = text.find(':');
    if (xmlValidateQName(Chars(text), 0) != 0 || (colon != text.npos && uri.empty()))
        return {DocumentCode::InvalidName, u"No element can be named " + Quoted(name)};
    if (!IsDocumentText(uri)) return CheckText(XML_ELEMENT_NODE, uri);
    std::string const prefix = colon == text.npos ? std::string() : text.substr(0, colon);
    if (prefix == "xml" || prefix == "xmlns")
        return {DocumentCode::InvalidName, u"The prefix is reserved: " + Quoted(name)};
    made.reset(
        Need(xmlNewDocNode(Home().Doc(), nullptr, Chars(text) + (prefix.empty() ? 0 : colon + 1), nullptr)));
    if (!uri.empty()) made->ns = xmlNewNs(made.get(), Chars(uri), prefix.empty() ? nullptr : Chars(prefix));
    return {};
}

DocumentResult DocumentObject::Create(DocumentNodeKind kind, std::u16string_view name,
                                      std::u16string_view nameSpace, std::u16string_view text,
                                      DocumentNode *& made) {
    made = nullptr;
    auto const type = static_cast<xmlElementType>(kind);
    std::string const content = Utf8Of(text);
    DocumentResult result = CheckText(type, content);
    if (!result) return result;
    LibraryCall const call;
    OwnedNode node;
    xmlDoc * const doc = Home().Doc();
    switch (kind) {
    case DocumentNodeKind::Element: result = CreateElement(name, nameSpace, node); break;
    case DocumentNodeKind::Text: node.reset(Need(xmlNewDocText(doc, Chars(content)))); break;
    case DocumentNodeKind::CData:
        node.reset(Need(xmlNewCDataBlock(doc, Chars(content), static_cast<int>(content.size()))));
        break;
    case DocumentNodeKind::Comment: node.reset(Need(xmlNewDocComment(doc, Chars(content)))); break;
    case DocumentNodeKind::Fragment: node.reset(Need(xmlNewDocFragment(doc))); break;
    case DocumentNodeKind::Instruction: {
        std::string const target = Utf8Of(name);
        if (!IsInstructionTarget(target))
            return {DocumentCode::InvalidName, u"No instruction can be named " + Quoted(name)};
        node.reset(Need(xmlNewDocPI(doc, Chars(target), Chars(content))));
        break;
    }
    default: result = {DocumentCode::InvalidArgument, u"Nodes of this kind can't be made"}; break;
    }
    call.CheckMemory();
    if (node) made = Home().WrapNew(node.release());
    return result;
}

} // namespace KZPlatform::LibXml2
