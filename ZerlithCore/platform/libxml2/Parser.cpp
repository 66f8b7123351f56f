// libxml2's parser with guards in between. Declarations of external entities are dropped before anybody can refer to them,
// so nothing is ever loaded, whatever loader the program has set. The parser has its own guard against entities that
// multiply; these are for what takes it quadratic time or memory: default values of attributes, entities that are strung
// together to one text, and elements with very many attributes. The last are seen only between two pieces of the source,
// which is why it is fed in pieces.
//
// A document's texts of white space alone are taken out of the finished tree. While parsing it isn't known yet whether an
// element comes behind them, and what an entity brings doesn't pass the handlers.
#include "ZerlithCore/platform/libxml2/Parser.h"

#include "ZerlithCore/platform/Utf8.h"
#include "ZerlithCore/platform/libxml2/Tree.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <limits>

namespace KZPlatform::LibXml2 {

namespace {

// No XML_PARSE_HUGE: elements nest 256 deep, a text has 10 MB, and entities mustn't multiply.
constexpr int Options = XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_COMPACT | XML_PARSE_BIG_LINES;

// Bytes that default values of attributes may add to a document, and what each of them counts besides.
constexpr std::size_t MaxDefaulted = 10'000'000;
constexpr std::size_t DefaultedCost = 64;
// Bytes that entities may move while they are strung together: a second or less.
constexpr std::size_t MaxMoved = 4'000'000'000;
constexpr std::size_t MaxEntityBytes = 32'768;
constexpr int MaxAttributes = 16'384;
constexpr std::size_t MaxSourceText = 4096;

struct ParseState {
    std::string_view source;
    Fault fault;
    std::string_view unread;
    xmlParserCtxt * context = nullptr;
    std::size_t defaulted = 0;
    std::size_t moved = 0;
    bool isOutOfMemory = false;
};

using OwnedContext = std::unique_ptr<xmlParserCtxt, FreeBy<xmlFreeParserCtxt>>;

DocumentCode CodeOf(xmlError const & error) {
    switch (error.code) {
    case XML_ERR_DOCUMENT_EMPTY: return DocumentCode::Empty;
    case XML_ERR_TAG_NOT_FINISHED: return DocumentCode::UnclosedElement;
    case XML_ERR_TAG_NAME_MISMATCH: return DocumentCode::MismatchedTag;
    case XML_ERR_ATTRIBUTE_REDEFINED:
    case XML_NS_ERR_ATTRIBUTE_REDEFINED: return DocumentCode::DuplicateAttribute;
    case XML_ERR_ENTITYREF_AT_EOF:
    case XML_ERR_ENTITYREF_IN_PROLOG:
    case XML_ERR_ENTITYREF_IN_EPILOG:
    case XML_ERR_ENTITYREF_IN_DTD:
    case XML_ERR_ENTITYREF_NO_NAME:
    case XML_ERR_ENTITYREF_SEMICOL_MISSING:
    case XML_ERR_UNDECLARED_ENTITY:
    case XML_WAR_UNDECLARED_ENTITY:
    case XML_ERR_UNPARSED_ENTITY:
    case XML_ERR_ENTITY_IS_EXTERNAL:
    case XML_ERR_ENTITY_IS_PARAMETER:
    case XML_ERR_INVALID_CHARREF:
    case XML_ERR_ENTITY_BOUNDARY: return DocumentCode::BadEntity;
    case XML_ERR_ENTITY_LOOP:
    case XML_ERR_NAME_TOO_LONG:
    case XML_ERR_INTERNAL_ERROR: return DocumentCode::LimitExceeded;
    case XML_ERR_UNKNOWN_ENCODING:
    case XML_ERR_UNSUPPORTED_ENCODING:
    case XML_ERR_INVALID_ENCODING:
    case XML_ERR_MISSING_ENCODING:
    case XML_I18N_NO_HANDLER:
    case XML_I18N_CONV_FAILED:
    case XML_I18N_NO_OUTPUT:
    case XML_IO_ENCODER: return DocumentCode::BadEncoding;
    case XML_NS_ERR_UNDEFINED_NAMESPACE: return DocumentCode::UndeclaredPrefix;
    default: break;
    }
    std::string_view const message = error.message ? error.message : "";
    if (error.code == XML_ERR_INVALID_CHAR && message.starts_with("Input is not proper"))
        return DocumentCode::BadEncoding;
    return DocumentCode::Malformed;
}

std::uint32_t Clamped(std::size_t value) {
    return static_cast<std::uint32_t>(
        std::min<std::size_t>(value, std::numeric_limits<std::uint32_t>::max()));
}

// Tells place and line from the bytes in front of the cursor and those behind it.
void Locate(Fault & fault, std::string_view text, std::size_t at) {
    std::string_view const before = text.substr(0, at);
    std::size_t const start = before.rfind('\n') + 1; // npos + 1 is 0
    std::size_t const end = std::min(text.find_first_of("\r\n", at), text.size());
    std::string_view line = text.substr(start, end - start);
    if (line.ends_with('\r')) line.remove_suffix(1);
    fault.column = Clamped(UnitsInUtf8(before.substr(start)) + 1);
    fault.sourceText = UnitsOf(line.substr(0, MaxSourceText));
}

// The outermost input: a fault inside an entity's text is told by the place of what refers to it.
void Locate(ParseState & state, xmlParserCtxt & context) {
    if (context.inputNr < 1) return;
    xmlParserInput const & input = *context.inputTab[0];
    auto const inBuffer = static_cast<std::size_t>(input.cur - input.base);
    std::size_t const offset = input.consumed + inBuffer;
    bool const isRecoded = input.buf && input.buf->encoder;
    if (!isRecoded && offset <= state.source.size()) {
        std::string_view const before = state.source.substr(0, offset);
        state.fault.line = Clamped(static_cast<std::size_t>(std::ranges::count(before, '\n')) + 1);
        state.fault.position = Clamped(offset);
        Locate(state.fault, state.source, offset);
        return;
    }
    state.fault.line = Clamped(static_cast<std::size_t>(std::max(input.line, 0)));
    state.fault.position = Clamped(static_cast<std::size_t>(std::max(xmlByteConsumed(&context), 0L)));
    std::string_view const window(reinterpret_cast<char const *>(input.base),
                                  static_cast<std::size_t>(input.end - input.base));
    Locate(state.fault, window, inBuffer);
}

// --- Handlers; libxml2 is C and lets no exception through.

ParseState & StateOf(void * context) {
    return *static_cast<ParseState *>(static_cast<xmlParserCtxt *>(context)->_private);
}

template <class Action>
void Guarded(void * context, Action action) noexcept {
    try {
        action();
    } catch (std::bad_alloc const &) {
        StateOf(context).isOutOfMemory = true;
        xmlStopParser(static_cast<xmlParserCtxt *>(context));
    }
}

bool IsFatal(xmlError const & error) {
    return error.level == XML_ERR_FATAL ||
           (error.domain == XML_FROM_NAMESPACE && error.level == XML_ERR_ERROR);
}

void OnError(void * context, xmlErrorPtr error) noexcept {
    ParseState & state = StateOf(context);
    if (state.fault.code != DocumentCode::Good || !IsFatal(*error)) return;
    if (error->code == XML_ERR_NO_MEMORY) state.isOutOfMemory = true;
    Guarded(context, [&] {
        state.fault.code = CodeOf(*error);
        state.fault.reason = MessageOf(error->message ? error->message : "");
        Locate(state, *static_cast<xmlParserCtxt *>(context));
    });
}

// Ends the parsing for good.
void StopAtLimit(void * context, char16_t const * reason) noexcept {
    ParseState & state = StateOf(context);
    Guarded(context, [&] {
        if (state.fault.code != DocumentCode::Good) return;
        state.fault.code = DocumentCode::LimitExceeded;
        state.fault.reason = reason;
        Locate(state, *static_cast<xmlParserCtxt *>(context));
    });
    xmlStopParser(static_cast<xmlParserCtxt *>(context));
}

void OnEntity(void * context, xmlChar const * name, int type, xmlChar const * publicId,
              xmlChar const * systemId, xmlChar * content) {
    bool const isExternal =
        type == XML_EXTERNAL_GENERAL_PARSED_ENTITY || type == XML_EXTERNAL_PARAMETER_ENTITY;
    if (isExternal) return;
    if (View(content).size() > MaxEntityBytes)
        return StopAtLimit(context, u"An entity has more than 32,768 bytes");
    xmlSAX2EntityDecl(context, name, type, publicId, systemId, content);
}

// The text of an entity is joined with the text in front of it, which is moved each time.
xmlEntity * OnReference(void * context, xmlChar const * name) noexcept {
    ParseState & state = StateOf(context);
    xmlNode const * const parent = static_cast<xmlParserCtxt *>(context)->node;
    xmlNode const * const last = parent ? parent->last : nullptr;
    if (last && last->type == XML_TEXT_NODE) state.moved += View(last->content).size();
    if (state.moved > MaxMoved) {
        StopAtLimit(context, u"Too many entities in one text");
        return nullptr;
    }
    return xmlSAX2GetEntity(context, name);
}

void OnStartElement(void * context, xmlChar const * name, xmlChar const * prefix, xmlChar const * uri,
                    int namespaceCount, xmlChar const ** namespaces, int count, int defaultedCount,
                    xmlChar const ** attributes) {
    // Five pointers an attribute; the defaulted ones stand last, and their values between the last two pointers.
    ParseState & state = StateOf(context);
    for (int i = count - defaultedCount; i < count; ++i)
        state.defaulted +=
            DefaultedCost + static_cast<std::size_t>(attributes[5 * i + 4] - attributes[5 * i + 3]);
    if (state.defaulted > MaxDefaulted)
        return StopAtLimit(context, u"Default values of attributes add more than 10,000,000 bytes");
    xmlSAX2StartElementNs(context, name, prefix, uri, namespaceCount, namespaces, count, defaultedCount,
                          attributes);
}

// Gives the parser the next piece of the source. Its tables have five places an attribute, and two a declaration
// of a namespace.
int Feed(void * self, char * buffer, int length) noexcept {
    auto & state = *static_cast<ParseState *>(self);
    if (state.context->maxatts > 5 * MaxAttributes || state.context->nsMax > 2 * MaxAttributes) {
        Guarded(state.context, [&] {
            if (state.fault.code != DocumentCode::Good) return;
            state.fault.code = DocumentCode::LimitExceeded;
            state.fault.reason = u"An element has too many attributes, or declarations of namespaces";
            Locate(state, *state.context);
        });
        return 0; // the end of the source, as far as the parser knows
    }
    std::size_t const count = state.unread.copy(buffer, static_cast<std::size_t>(std::max(length, 0)));
    state.unread.remove_prefix(count);
    return static_cast<int>(count);
}

// --- White space

bool IsCharacterData(xmlNode const * node) {
    return node && (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE ||
                    node->type == XML_ENTITY_REF_NODE);
}

bool HasElement(xmlNode const * parent) {
    for (xmlNode const * child = parent->children; child; child = child->next)
        if (child->type == XML_ELEMENT_NODE) return true;
    return false;
}

// A blank text beside other character data is part of a text that isn't blank.
void RemoveBlanks(xmlNode * parent) {
    for (xmlNode * child = parent->children; child;) {
        xmlNode * const next = child->next;
        if (IsBlankText(child) && !IsCharacterData(child->prev) && !IsCharacterData(next)) {
            xmlUnlinkNode(child);
            xmlFreeNode(child);
        }
        child = next;
    }
}

void RemoveBlanks(xmlDoc * doc) {
    xmlNode * const top = reinterpret_cast<xmlNode *>(doc);
    bool const mayPreserve = !doc->dict || xmlDictExists(doc->dict, Chars("space"), 5) != nullptr;
    for (xmlNode * at = top; at; at = NextBelow(at, top)) {
        if (at->type != XML_ELEMENT_NODE || !at->children || !HasElement(at)) continue;
        if (mayPreserve && xmlNodeGetSpacePreserve(at) == 1) continue;
        RemoveBlanks(at);
    }
}

OwnedContext MakeContext(ParseState & state) {
    OwnedContext context(Need(xmlNewParserCtxt()));
    context->_private = &state;
    state.context = context.get();
    context->sax->serror = OnError;
    context->sax->entityDecl = OnEntity;
    context->sax->getEntity = OnReference;
    context->sax->startElementNs = OnStartElement;
    return context;
}

} // namespace

OwnedDoc Parse(std::string_view bytes, bool isUtf8, Fault & fault) {
    ParseState state;
    state.source = state.unread = bytes;
    if (bytes.empty() || bytes.size() > std::numeric_limits<int>::max()) {
        fault.code = bytes.empty() ? DocumentCode::Empty : DocumentCode::LimitExceeded;
        fault.reason = bytes.empty() ? u"The document is empty" : u"The document has more than 2 GB";
        return nullptr;
    }
    ErrorScope const scope;
    OwnedContext const context = MakeContext(state);
    OwnedDoc doc(xmlCtxtReadIO(context.get(), Feed, nullptr, &state, nullptr, nullptr,
                               Options | (isUtf8 ? XML_PARSE_IGNORE_ENC : 0)));
    if (state.isOutOfMemory) throw std::bad_alloc();
    if (doc && state.fault.code == DocumentCode::Good) {
        RemoveBlanks(doc.get());
        return doc;
    }
    if (state.fault.code == DocumentCode::Good) {
        state.fault.code = DocumentCode::Malformed;
        state.fault.reason = u"The text isn't a document";
    }
    fault = std::move(state.fault);
    return nullptr;
}

} // namespace KZPlatform::LibXml2
