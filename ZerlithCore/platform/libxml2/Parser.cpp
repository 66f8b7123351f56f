// libxml2's parser with guards in between. Declarations of external entities are dropped before anybody can refer to them,
// so nothing is ever loaded, whatever loader the program has set. The parser has its own guard against entities that
// multiply; these are for what takes it quadratic time or memory: entities that are referred to again and again, or strung
// together to one text, default values of attributes, and elements and declarations with very many names. Tables that the
// parser fills by itself are seen only between two pieces of the source, which is why it is fed in pieces.
//
// The first fault ends the work: from then on the source is at its end and no entity is known. The parser isn't halted at
// every fault, since some of its functions go on with pointers into the source behind the report of one.
//
// A document's texts of white space alone are taken out of the finished tree. While parsing it isn't known yet whether an
// element comes behind them, and what an entity brings doesn't pass the handlers.
#include "ZerlithCore/platform/libxml2/Parser.h"

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/platform/libxml2/Limits.h"
#include "ZerlithCore/platform/libxml2/Tree.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <array>
#include <limits>
#include <unordered_map>
#include <vector>

namespace KZPlatform::LibXml2 {

namespace {

// No XML_PARSE_HUGE: elements nest 256 deep, a text has 10 MB, and entities mustn't multiply.
constexpr int Options = XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_COMPACT | XML_PARSE_BIG_LINES;

// Bytes that default values of attributes may add to a document, and what each of them counts besides.
constexpr std::size_t MaxDefaulted = 10'000'000;
constexpr std::size_t DefaultedCost = 64;
// Bytes that entities may bring in beside ten times the source, and what each reference and each node counts besides.
constexpr std::size_t MaxExpanded = 10'000'000;
constexpr std::size_t ExpandedTimes = 10;
constexpr std::size_t ExpandedCost = 64;
constexpr std::size_t MaxEntityBytes = 32'768;
constexpr int MaxAttributes = 16'384;
constexpr int MaxDeclaredAttributes = 16'384;
constexpr int MaxDeclaredIds = 1'024; // each is reported together with each other one of its element
// Names of an element that are compared with each other without being counted.
constexpr std::size_t FreeAttributes = 256;
constexpr std::size_t FreeNamespaces = 64;
// Bytes of one declaration, whose names are compared with each other, and what the squares of long ones may add up to.
constexpr std::size_t MaxDeclaration = 65'536;
constexpr std::size_t MaxDeclarationSquares = 20'000'000'000;
constexpr std::size_t MaxText = 10'000'000; // the parser's own limit
constexpr std::size_t MaxSourceText = 4096;

struct ParseState {
    std::string_view source;
    LibraryCall const & call;
    Fault fault{};
    std::string_view unread = source;
    xmlParserCtxt * context = nullptr;
    std::size_t defaulted = 0;
    std::size_t expanded = 0;
    std::size_t moved = 0;
    std::size_t lookUps = 0;
    std::size_t declaration = 0; // bytes behind the last ">" of the document type
    std::size_t declarationSquares = 0;
    int declaredAttributes = 0;
    int declaredIds = 0;
    std::unordered_map<xmlEntity const *, std::size_t> entitySizes{}; // of their nodes
    bool isOutOfMemory = false;

    [[nodiscard]] bool HasEnded() const noexcept {
        return fault.code != DocumentCode::Good || isOutOfMemory || call.IsOutOfMemory();
    }
};

using OwnedContext = std::unique_ptr<xmlParserCtxt, FreeBy<xmlFreeParserCtxt>>;

// Limits of the parser that it doesn't tell by a code of their own: how its message begins, or what is in it, and ours.
struct LimitText {
    std::string_view part;
    char16_t const * reason;
};
constexpr std::array LimitTexts{
    LimitText{"Excessive depth", u"Elements nest deeper than 256 levels"},
    LimitText{"ContentDecl : depth", u"A content model nests deeper than 128 levels"},
    LimitText{"Comment too big", u"A comment has more than 10,000,000 bytes"},
    LimitText{"CData section too big", u"A CDATA section has more than 10,000,000 bytes"},
    LimitText{"AttValue length", u"An attribute's value has more than 10,000,000 bytes"},
    LimitText{" too big found", u"An instruction has more than 10,000,000 bytes"},
    LimitText{
        "Huge input lookup",
        u"An attribute's value, a start tag, a declaration or white space has more than 10,000,000 bytes"},
    LimitText{"too long", u"A name or an identifier has more than 50,000 bytes"},
    LimitText{"entity reference loop", u"An entity refers to itself, or entities expand to too much"},
    LimitText{"XML_PARSE_HUGE", u"The document exceeds a limit of the parser"},
};

char16_t const * LimitIn(std::string_view message) {
    auto const known = std::ranges::find_if(
        LimitTexts, [message](LimitText const & text) { return message.find(text.part) != message.npos; });
    return known == LimitTexts.end() ? nullptr : known->reason;
}

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
    case XML_ERR_NAME_TOO_LONG: return DocumentCode::LimitExceeded;
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
    fault.column = Clamped(KZEncoding::UnitsInUtf8(before.substr(start)) + 1);
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
    if (!state.HasEnded() && IsFatal(*error)) {
        Guarded(context, [&] {
            std::string_view const message = error->message ? error->message : "";
            char16_t const * limit = LimitIn(message);
            // The parser calls a size that it can't reckon with a lack of memory, too.
            if (error->code == XML_ERR_NO_MEMORY && !limit) limit = LimitTexts.back().reason;
            state.fault.reason = limit ? limit : MessageOf(message);
            Locate(state, *static_cast<xmlParserCtxt *>(context));
            state.fault.code = limit ? DocumentCode::LimitExceeded : CodeOf(*error);
        });
    }
    // The parser marks these as its end, but goes round for ever on what is left of the source.
    if (error->code == XML_ERR_NO_MEMORY || error->code == XML_ERR_ENTITY_LOOP)
        xmlStopParser(static_cast<xmlParserCtxt *>(context));
}

void NoteLimit(void * context, char16_t const * reason) noexcept {
    ParseState & state = StateOf(context);
    if (state.HasEnded()) return;
    Guarded(context, [&] {
        state.fault.reason = reason;
        Locate(state, *static_cast<xmlParserCtxt *>(context));
        state.fault.code = DocumentCode::LimitExceeded;
    });
}

// For handlers that the parser calls, which it may be halted in.
void StopAtLimit(void * context, char16_t const * reason) noexcept {
    NoteLimit(context, reason);
    xmlStopParser(static_cast<xmlParserCtxt *>(context));
}

void OnEntity(void * context, xmlChar const * name, int type, xmlChar const * publicId,
              xmlChar const * systemId, xmlChar * content) noexcept {
    bool const isExternal =
        type == XML_EXTERNAL_GENERAL_PARSED_ENTITY || type == XML_EXTERNAL_PARAMETER_ENTITY;
    if (isExternal) return;
    if (View(content).size() > MaxEntityBytes)
        return StopAtLimit(context, u"An entity has more than 32,768 bytes");
    xmlSAX2EntityDecl(context, name, type, publicId, systemId, content);
}

// What a copy of an entity's nodes takes. They end where the entity says; behind them may stand others.
std::size_t SizeOfNodes(xmlEntity const & entity) {
    std::size_t size = 0;
    for (xmlNode * top = entity.children; top; top = top == entity.last ? nullptr : top->next) {
        for (xmlNode * at = top; at; at = NextBelow(at, top)) {
            size += ExpandedCost;
            if (at->type != XML_ELEMENT_NODE) size += View(at->content).size();
            if (at->type != XML_ELEMENT_NODE) continue;
            for (xmlAttr const * attribute = at->properties; attribute; attribute = attribute->next)
                size += 2 * ExpandedCost +
                        View(attribute->children ? attribute->children->content : nullptr).size();
        }
    }
    return size;
}

// Counts what a reference brings in: the entity's text, which is parsed, or the nodes that were made of it.
void CountExpansion(ParseState & state, xmlEntity const & entity) {
    std::size_t size = static_cast<std::size_t>(std::max(entity.length, 0));
    if (entity.children) {
        auto const [place, isNew] = state.entitySizes.emplace(&entity, 0);
        if (isNew) place->second = SizeOfNodes(entity);
        size = place->second;
    }
    state.expanded += ExpandedCost + size;
}

// The entity that `find` gives, or null at the end of the work. Each entity in content is parsed in a context of its own;
// the parser would look up by itself what these give as null, as long as such a context goes on.
template <auto Find>
xmlEntity * Expanded(void * context, xmlChar const * name) noexcept {
    ParseState & state = StateOf(context);
    if (state.HasEnded()) {
        xmlStopParser(static_cast<xmlParserCtxt *>(context));
        return nullptr;
    }
    xmlEntity * const entity = Find(context, name);
    if (!entity) return nullptr;
    Guarded(context, [&] { CountExpansion(state, *entity); });
    if (state.expanded > MaxExpanded + ExpandedTimes * state.source.size())
        StopAtLimit(context, u"Entities add more than 10,000,000 bytes and ten times the document");
    return state.HasEnded() ? nullptr : entity;
}

// The text of an entity is joined with the text in front of it, which is moved each time.
xmlEntity * OnReference(void * context, xmlChar const * name) noexcept {
    ParseState & state = StateOf(context);
    xmlNode const * const parent = static_cast<xmlParserCtxt *>(context)->node;
    xmlNode const * const last = parent ? parent->last : nullptr;
    if (last && last->type == XML_TEXT_NODE) state.moved += View(last->content).size();
    if (state.moved > limits.movedBytes) StopAtLimit(context, u"Too many entities in one text");
    return Expanded<xmlSAX2GetEntity>(context, name);
}

// Counts the bytes of the declaration that `text` continues. False when it is too long.
bool CountDeclaration(ParseState & state, std::string_view text) noexcept {
    if (std::size_t const end = text.rfind('>'); end != text.npos) {
        state.declaration = 0;
        text.remove_prefix(end + 1);
    }
    std::size_t const former = state.declaration;
    state.declaration += text.size();
    state.declarationSquares += state.declaration * state.declaration - former * former;
    return state.declaration <= MaxDeclaration && state.declarationSquares <= MaxDeclarationSquares;
}

constexpr char16_t const * LongDeclarations =
    u"The document type has a declaration of more than 65,536 bytes, or too many long ones";

xmlEntity * OnParameterReference(void * context, xmlChar const * name) noexcept {
    xmlEntity * const entity = Expanded<xmlSAX2GetParameterEntity>(context, name);
    if (!entity || CountDeclaration(StateOf(context), View(entity->content))) return entity;
    StopAtLimit(context, LongDeclarations);
    return nullptr;
}

void OnAttributeDeclaration(void * context, xmlChar const * element, xmlChar const * name, int type,
                            int defaultKind, xmlChar const * defaultValue, xmlEnumeration * values) noexcept {
    ParseState & state = StateOf(context);
    if (type == XML_ATTRIBUTE_ID) ++state.declaredIds;
    if (++state.declaredAttributes > MaxDeclaredAttributes || state.declaredIds > MaxDeclaredIds) {
        xmlFreeEnumeration(values);
        return StopAtLimit(context,
                           u"The document type declares more than 16,384 attributes, or 1,024 identifiers");
    }
    xmlSAX2AttributeDecl(context, element, name, type, defaultKind, defaultValue, values);
}

void OnStartElement(void * context, xmlChar const * name, xmlChar const * prefix, xmlChar const * uri,
                    int namespaceCount, xmlChar const ** namespaces, int count, int defaultedCount,
                    xmlChar const ** attributes) noexcept {
    ParseState & state = StateOf(context);
    if (state.HasEnded()) return xmlStopParser(static_cast<xmlParserCtxt *>(context));
    // Five pointers an attribute; the defaulted ones stand last, and their values between the last two pointers.
    for (int i = count - defaultedCount; i < count; ++i)
        state.defaulted +=
            DefaultedCost + static_cast<std::size_t>(attributes[5 * i + 4] - attributes[5 * i + 3]);
    if (state.defaulted > MaxDefaulted)
        return StopAtLimit(context, u"Default values of attributes add more than 10,000,000 bytes");
    // Each attribute is compared with the others, and each prefix with the declarations that hold.
    auto const names = static_cast<std::size_t>(count);
    auto const declared = static_cast<std::size_t>(static_cast<xmlParserCtxt *>(context)->nsNr) / 2;
    if (names > FreeAttributes) state.lookUps += names * names;
    if (declared > FreeNamespaces) state.lookUps += (declared - FreeNamespaces) * (names + 1);
    if (state.lookUps > limits.nameComparisons)
        return StopAtLimit(context, u"Too many elements with very many attributes or namespaces");
    xmlSAX2StartElementNs(context, name, prefix, uri, namespaceCount, namespaces, count, defaultedCount,
                          attributes);
}

// The parser calls a text that is too long a lack of memory.
void OnText(void * context, xmlChar const * text, int length) noexcept {
    if (StateOf(context).HasEnded()) return xmlStopParser(static_cast<xmlParserCtxt *>(context));
    xmlParserCtxt const & parser = *static_cast<xmlParserCtxt *>(context);
    xmlNode const * const last = parser.node ? parser.node->last : nullptr;
    bool const isJoined = last && last->type == XML_TEXT_NODE && parser.nodemem != 0;
    if (isJoined && static_cast<std::size_t>(parser.nodelen) + static_cast<std::size_t>(length) > MaxText)
        return StopAtLimit(context, u"A text has more than 10,000,000 bytes");
    xmlSAX2Characters(context, text, length);
}

// Gives the parser the next piece of the source. Its tables have five places an attribute, and two a declaration
// of a namespace.
int Feed(void * self, char * buffer, int length) noexcept {
    auto & state = *static_cast<ParseState *>(self);
    if (state.HasEnded()) return 0; // the end of the source, as far as the parser knows
    std::string_view const piece = state.unread.substr(0, static_cast<std::size_t>(std::max(length, 0)));
    if (state.context->maxatts > 5 * MaxAttributes || state.context->nsMax > 2 * MaxAttributes)
        NoteLimit(state.context,
                  u"An element has more than 16,384 attributes, or declarations of namespaces");
    if (state.context->instate == XML_PARSER_DTD && !CountDeclaration(state, piece))
        NoteLimit(state.context, LongDeclarations);
    if (state.HasEnded()) return 0;
    piece.copy(buffer, piece.size());
    state.unread.remove_prefix(piece.size());
    return static_cast<int>(piece.size());
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

// Whether xml:space asks to keep white space in an element; `outer` is what holds around it.
bool KeepsSpace(xmlNode const * element, bool outer) {
    for (xmlAttr const * attribute = element->properties; attribute; attribute = attribute->next) {
        if (!attribute->ns || View(attribute->ns->href) != View(XML_XML_NAMESPACE) ||
            View(attribute->name) != "space")
            continue;
        std::string room;
        std::string_view const value = AttributeValue(attribute, room);
        return value == "preserve" || (outer && value != "default");
    }
    return outer;
}

void RemoveBlanks(xmlDoc * doc) {
    bool const mayKeep = !doc->dict || xmlDictExists(doc->dict, Chars("space"), 5) != nullptr;
    xmlNode * const root = xmlDocGetRootElement(doc);
    std::vector<bool> keeps{false}; // of the elements around the node, from the outermost on
    for (xmlNode * at = root; at;) {
        if (at->type == XML_ELEMENT_NODE && at->children) {
            keeps.push_back(mayKeep && KeepsSpace(at, keeps.back()));
            if (!keeps.back() && HasElement(at)) RemoveBlanks(at);
            at = at->children;
            continue;
        }
        for (; at != root && !at->next; at = at->parent) keeps.pop_back();
        at = at == root ? nullptr : at->next;
    }
}

OwnedContext MakeContext(ParseState & state) {
    OwnedContext context(Need(xmlNewParserCtxt()));
    context->_private = &state;
    state.context = context.get();
    context->sax->serror = OnError;
    context->sax->entityDecl = OnEntity;
    context->sax->getEntity = OnReference;
    context->sax->getParameterEntity = OnParameterReference;
    context->sax->attributeDecl = OnAttributeDeclaration;
    context->sax->startElementNs = OnStartElement;
    context->sax->characters = context->sax->ignorableWhitespace = OnText;
    return context;
}

} // namespace

OwnedDoc Parse(std::string_view bytes, bool isUtf8, bool keepsWhiteSpace, Fault & fault) {
    if (bytes.empty() || bytes.size() > std::numeric_limits<int>::max()) {
        fault.code = bytes.empty() ? DocumentCode::Empty : DocumentCode::LimitExceeded;
        fault.reason = bytes.empty() ? u"The document is empty" : u"The document has more than 2 GB";
        return nullptr;
    }
    LibraryCall const call;
    ParseState state{bytes, call};
    OwnedContext const context = MakeContext(state);
    OwnedDoc doc(xmlCtxtReadIO(context.get(), Feed, nullptr, &state, nullptr, nullptr,
                               Options | (isUtf8 ? XML_PARSE_IGNORE_ENC : 0)));
    call.CheckMemory();
    if (state.isOutOfMemory) throw std::bad_alloc();
    if (doc && state.fault.code == DocumentCode::Good) {
        if (!keepsWhiteSpace) RemoveBlanks(doc.get());
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
