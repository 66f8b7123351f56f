// libxml2 compiles one schema and those that it imports. So a schema is made that imports all the added ones, each by the name
// "x-schema:" and its namespace. A callback returns the text for such a name; it knows no other names, and only those of the
// schemas that its thread is compiling. In the copies the locations of imports are replaced by those names or removed, so no
// file is opened and no network is used.
#include "ZerlithCore/platform/libxml2/Schemas.h"

#include "ZerlithCore/platform/FloatingPoint.h"
#include "ZerlithCore/platform/libxml2/Memory.h"
#include "ZerlithCore/platform/libxml2/Tree.h"

#include <libxml/uri.h>
#include <libxml/xmlIO.h>

#include <algorithm>
#include <cstring>

namespace KZPlatform::LibXml2 {

namespace {

constexpr char schemaNamespace[] = "http://www.w3.org/2001/XMLSchema";
// Bytes that compiling may take for a byte of a schema, twice as much as it does: blocks of the reserve are powers of two.
constexpr std::size_t compileCost = 128;
constexpr std::string_view nameStart = "x-schema:";

using SchemaTexts = std::map<std::string, std::string, std::less<>>; // by name

thread_local SchemaTexts const * currentTexts = nullptr;

// The rest of a text that libxml2 is reading.
struct OpenText {
    std::string_view rest;
};

int Match(char const * name) { return currentTexts && std::string_view(name).starts_with(nameStart) ? 1 : 0; }

void * Open(char const * name) noexcept {
    auto const place = currentTexts->find(name);
    return place == currentTexts->end() ? nullptr : new (std::nothrow) OpenText{place->second};
}

int Read(void * open, char * buffer, int length) {
    if (LibraryCall const * const call = LibraryCall::Current(); call && call->IsOutOfMemory()) return -1;
    auto & text = *static_cast<OpenText *>(open);
    std::size_t const count = text.rest.copy(buffer, static_cast<std::size_t>(std::max(length, 0)));
    text.rest.remove_prefix(count);
    return static_cast<int>(count);
}

int Close(void * open) {
    delete static_cast<OpenText *>(open);
    return 0;
}

// The name of a schema. The namespace is escaped, so that the name is always a valid URI.
std::string NameOf(std::string const & nameSpace) {
    LibraryCall const call;
    OwnedText const escaped(Need(xmlURIEscapeStr(Chars(nameSpace), Chars(""))));
    call.CheckMemory();
    return std::string(nameStart) + std::string(View(escaped.get()));
}

std::string TextOf(xmlDoc * doc) {
    LibraryCall const call;
    xmlChar * bytes = nullptr;
    int size = 0;
    xmlDocDumpMemoryEnc(doc, &bytes, &size, "UTF-8");
    OwnedText const text(bytes);
    call.CheckMemory();
    static_cast<void>(Need(bytes));
    return {reinterpret_cast<char const *>(bytes), static_cast<std::size_t>(size)};
}

bool IsSchemaElement(xmlNode const * node, std::string_view name) {
    return node->type == XML_ELEMENT_NODE && node->ns && View(node->ns->href) == schemaNamespace &&
           View(node->name) == name;
}

std::string AttributeOf(xmlNode * node, char const * name) {
    LibraryCall const call;
    OwnedText const value(xmlGetNoNsProp(node, Chars(name)));
    call.CheckMemory();
    return std::string(View(value.get()));
}

DocumentResult Bad(std::u16string reason) { return {DocumentCode::BadSchema, std::move(reason)}; }

} // namespace

void Schemas::RegisterNames() { xmlRegisterInputCallbacks(Match, Open, Read, Close); }

DocumentResult Schemas::Add(std::string const & nameSpace, xmlDoc const * schema) {
    xmlNode * const root = xmlDocGetRootElement(schema);
    if (!root || !IsSchemaElement(root, "schema")) return Bad(u"The document isn't a schema");
    if (AttributeOf(root, "targetNamespace") != nameSpace)
        return Bad(u"The schema is for another namespace than " + Quoted(UnitsOf(nameSpace)));
    for (xmlNode const * child = root->children; child; child = child->next)
        if (IsSchemaElement(child, "include") || IsSchemaElement(child, "redefine"))
            return Bad(u"The schema includes another one, and nothing is loaded: add it by itself");
    // The document type isn't copied, because its declarations would be parsed again.
    OwnedDoc copy = NewDoc();
    Link(CopyNode(root, copy.get(), true), reinterpret_cast<xmlNode *>(copy.get()), nullptr);
    docs_.insert_or_assign(nameSpace, std::move(copy));
    compiled_.reset();
    return {};
}

DocumentResult Schemas::Compile() {
    QuietFloatingPoint const quiet;
    LibraryCall call;
    SchemaTexts texts;
    std::size_t size = 0;
    std::string all =
        "<xs:schema xmlns:xs=\"" + std::string(schemaNamespace) +
        "\" targetNamespace=\"x-schema:\">"; // it has a namespace, since only then may it import schemas without one
    for (auto const & [nameSpace, doc] : docs_) {
        for (xmlNode * child = xmlDocGetRootElement(doc.get())->children; child; child = child->next) {
            if (!IsSchemaElement(child, "import")) continue;
            std::string const wanted = AttributeOf(child, "namespace");
            xmlUnsetProp(child, Chars("schemaLocation"));
            if (docs_.contains(wanted)) xmlNewProp(child, Chars("schemaLocation"), Chars(NameOf(wanted)));
        }
        OwnedDoc const import = NewDoc();
        xmlNode * const element = Need(xmlNewDocNode(import.get(), nullptr, Chars("xs:import"), nullptr));
        Link(element, reinterpret_cast<xmlNode *>(import.get()), nullptr);
        if (!nameSpace.empty()) xmlNewProp(element, Chars("namespace"), Chars(nameSpace));
        xmlNewProp(element, Chars("schemaLocation"), Chars(NameOf(nameSpace)));
        std::string const line = TextOf(import.get());
        all += line.substr(line.find("<xs:import"));
        size += texts.emplace(NameOf(nameSpace), TextOf(doc.get())).first->second.size();
    }
    all += "</xs:schema>";

    struct Current {
        explicit Current(SchemaTexts const & now) { currentTexts = &now; }
        ~Current() { currentTexts = nullptr; }
    } const current(texts);
    call.CheckMemory();
    LargerReserve const reserve(compileCost * size);
    std::unique_ptr<xmlSchemaParserCtxt, FreeBy<xmlSchemaFreeParserCtxt>> const parser(
        Need(xmlSchemaNewMemParserCtxt(all.data(), static_cast<int>(all.size()))));
    xmlSchemaSetParserStructuredErrors(parser.get(), LibraryCall::Structured, &call);
    OwnedSchema compiled(xmlSchemaParse(parser.get()));
    call.CheckMemory();
    compiled_ = std::move(compiled);
    return compiled_ ? DocumentResult() : Bad(call.Reason());
}

DocumentResult Schemas::Validate(xmlDoc * doc, Fault & fault) {
    QuietFloatingPoint const quiet;
    if (docs_.empty()) {
        fault.code = DocumentCode::NoSchema;
        fault.reason = u"The document has no schema";
        return {};
    }
    if (!compiled_)
        if (DocumentResult result = Compile(); !result) return result;
    LibraryCall call;
    std::unique_ptr<xmlSchemaValidCtxt, FreeBy<xmlSchemaFreeValidCtxt>> const context(
        Need(xmlSchemaNewValidCtxt(compiled_.get())));
    xmlSchemaSetValidStructuredErrors(context.get(), LibraryCall::Structured, &call);
    int const outcome = xmlSchemaValidateDoc(context.get(), doc);
    call.CheckMemory();
    if (outcome == 0) return {};
    fault.code = DocumentCode::Invalid;
    fault.reason = call.Reason();
    if (fault.reason.empty()) fault.reason = u"The document can't be checked";
    fault.line = static_cast<std::uint32_t>(std::max(call.Line(), 0));
    return {};
}

} // namespace KZPlatform::LibXml2
