// Parses with libxml2, whose handlers are replaced by handlers that check limits first. Declarations of external entities are
// dropped before anything can refer to them, so nothing is ever loaded, whatever loader the program has set. The parser itself
// limits entities that contain others. The limits here are for input that takes the parser quadratic time or memory: entities
// that are used again and again or make up one long text, default values of attributes, and elements and declarations with
// very many names. Some of the parser's tables can be checked only between two pieces of the source, so it gets the source in
// pieces.
//
// The first error ends the work: after it the parser gets no more source, and entities count as undefined. The parser isn't
// stopped at every error, because after reporting some it still uses pointers into the source.
//
// A text of white space only is held back until the next event, which nearly always shows that it is to be dropped, so no node
// is made for it. Where that isn't shown (only comments and instructions before it), its parent is looked at in the end. Nodes
// that come from an entity don't go through the handlers, and xml:space may hold for a part of the document only: as soon as
// either appears, every text becomes a node, and blank ones are removed from the finished tree.
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
#include <utility>
#include <vector>

namespace KZPlatform::LibXml2 {

namespace {

// XML_PARSE_HUGE isn't set, so the parser keeps its limits: 256 levels, 10 MB for a text, and a limit on entities.
constexpr int options = XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_COMPACT | XML_PARSE_BIG_LINES;

// The bytes that default values of attributes may add to a document, and the bytes that each value counts in addition.
constexpr std::size_t maxDefaulted = 10'000'000;
constexpr std::size_t defaultedCost = 64;
// The bytes that entities may add, besides ten times the length of the source, and the bytes that each reference and each node
// counts in addition.
constexpr std::size_t maxExpanded = 10'000'000;
constexpr std::size_t expandedTimes = 10;
constexpr std::size_t expandedCost = 64;
constexpr std::size_t maxEntityBytes = 32'768;
constexpr int maxAttributes = 16'384;
constexpr int maxDeclaredAttributes = 16'384;
constexpr int maxDeclaredIds = 1'024; // each is reported together with each other one of its element
// Names of an element that are compared with each other without being counted.
constexpr std::size_t freeAttributes = 256;
constexpr std::size_t freeNamespaces = 64;
// The bytes of one declaration, whose names the parser compares with each other, and the limit for the sum of the squares of
// long declarations.
constexpr std::size_t maxDeclaration = 65'536;
constexpr std::size_t maxDeclarationSquares = 20'000'000'000;
constexpr std::size_t maxText = 10'000'000; // the parser's own limit
constexpr std::size_t maxSourceText = 4096;

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
    std::size_t declaration = 0; // bytes since the last ">" in the document type
    std::size_t declarationSquares = 0;
    int declaredAttributes = 0;
    int declaredIds = 0;
    std::unordered_map<xmlEntity const *, std::size_t> entitySizes{}; // the size of the nodes of each entity
    bool dropsBlanks = false;                                         // so blank texts may be held back
    bool hasSpaceAttribute = false; // xml:space, or another one of that name
    // White space in front of all nodes of its parent, or behind one that isn't character data, and the line of its end.
    std::string heldBlank{};
    int heldLine = 0;
    std::vector<xmlNode *> doubtful{}; // elements in which a blank text was kept that may have to go
    xmlChar const * spaceName = nullptr;
    bool isOutOfMemory = false;

    [[nodiscard]] bool HasEnded() const noexcept {
        return fault.code != DocumentCode::Good || isOutOfMemory || call.IsOutOfMemory();
    }
};

using OwnedContext = std::unique_ptr<xmlParserCtxt, FreeBy<xmlFreeParserCtxt>>;

// Limits of the parser that have no error code of their own: a part of its message, and the message that is given instead.
struct LimitText {
    std::string_view part;
    char16_t const * reason;
};
constexpr std::array limitTexts{
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
        limitTexts, [message](LimitText const & text) { return message.find(text.part) != message.npos; });
    return known == limitTexts.end() ? nullptr : known->reason;
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

// Sets the column of the offset `at` in `text`, and the text of its line.
void Locate(Fault & fault, std::string_view text, std::size_t at) {
    std::string_view const before = text.substr(0, at);
    std::size_t const start = before.rfind('\n') + 1; // npos + 1 is 0
    std::size_t const end = std::min(text.find_first_of("\r\n", at), text.size());
    std::string_view line = text.substr(start, end - start);
    if (line.ends_with('\r')) line.remove_suffix(1);
    fault.column = Clamped(KZEncoding::UnitsInUtf8(before.substr(start)) + 1);
    fault.sourceText = UnitsOf(line.substr(0, maxSourceText));
}

// Sets the place of the fault in the document. For an error inside an entity's text it is the place of the reference.
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
            if (error->code == XML_ERR_NO_MEMORY && !limit) limit = limitTexts.back().reason;
            state.fault.reason = limit ? limit : MessageOf(message);
            Locate(state, *static_cast<xmlParserCtxt *>(context));
            state.fault.code = limit ? DocumentCode::LimitExceeded : CodeOf(*error);
        });
    }
    // After these errors the parser would loop for ever on the rest of the source, so it is stopped.
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

// For use in handlers during which the parser may be stopped.
void StopAtLimit(void * context, char16_t const * reason) noexcept {
    NoteLimit(context, reason);
    xmlStopParser(static_cast<xmlParserCtxt *>(context));
}

// --- Blank texts

// Makes a node of the white space that is held back.
void PutHeldBlank(void * context) noexcept {
    ParseState & state = StateOf(context);
    if (state.heldBlank.empty()) return;
    xmlParserInput & input = *static_cast<xmlParserCtxt *>(context)->input;
    int const line = std::exchange(input.line, state.heldLine);
    xmlSAX2Characters(context, Chars(state.heldBlank), static_cast<int>(state.heldBlank.size()));
    input.line = line;
    state.heldBlank.clear();
}

bool IsCharacterData(xmlNode const * node) {
    return node && (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE ||
                    node->type == XML_ENTITY_REF_NODE);
}

// Holds back `text` if it is blank and doesn't continue other character data. False if it is to become a node.
bool HoldsBack(void * context, std::string_view text) noexcept {
    ParseState & state = StateOf(context);
    xmlNode const * const parent = static_cast<xmlParserCtxt *>(context)->node;
    if (!state.dropsBlanks || !parent || IsCharacterData(parent->last)) return false;
    if (!std::ranges::all_of(text, IsBlank)) return false;
    Guarded(context, [&] {
        if (state.heldBlank.empty()) state.heldLine = static_cast<xmlParserCtxt *>(context)->input->line;
        state.heldBlank += text;
    });
    return true;
}

// Drops what is held back before a node that isn't character data, or before the end of its parent, if the parent is known
// to have elements.
void EndHeldBlank(void * context, bool isEndOfParent) noexcept {
    ParseState & state = StateOf(context);
    if (state.heldBlank.empty()) return;
    xmlNode * const parent = static_cast<xmlParserCtxt *>(context)->node;
    if (parent->last && parent->last->type == XML_ELEMENT_NODE) return state.heldBlank.clear();
    bool const isDoubtful = parent->last || !isEndOfParent;
    if (isDoubtful)
        Guarded(context, [&] {
            if (state.doubtful.empty() || state.doubtful.back() != parent) state.doubtful.push_back(parent);
        });
    PutHeldBlank(context);
}

void OnEndElement(void * context, xmlChar const * name, xmlChar const * prefix,
                  xmlChar const * uri) noexcept {
    EndHeldBlank(context, true);
    xmlSAX2EndElementNs(context, name, prefix, uri);
}

void OnComment(void * context, xmlChar const * text) noexcept {
    EndHeldBlank(context, false);
    xmlSAX2Comment(context, text);
}

void OnInstruction(void * context, xmlChar const * target, xmlChar const * data) noexcept {
    EndHeldBlank(context, false);
    xmlSAX2ProcessingInstruction(context, target, data);
}

void OnCData(void * context, xmlChar const * text, int length) noexcept {
    PutHeldBlank(context);
    xmlSAX2CDataBlock(context, text, length);
}

void OnUnresolved(void * context, xmlChar const * name) noexcept {
    PutHeldBlank(context);
    xmlSAX2Reference(context, name);
}

// --- Limits

void OnEntity(void * context, xmlChar const * name, int type, xmlChar const * publicId,
              xmlChar const * systemId, xmlChar * content) noexcept {
    bool const isExternal =
        type == XML_EXTERNAL_GENERAL_PARSED_ENTITY || type == XML_EXTERNAL_PARAMETER_ENTITY;
    if (isExternal) return;
    if (View(content).size() > maxEntityBytes)
        return StopAtLimit(context, u"An entity has more than 32,768 bytes");
    xmlSAX2EntityDecl(context, name, type, publicId, systemId, content);
}

// The size of a copy of an entity's nodes. The entity says which node is its last; more siblings may follow that one.
std::size_t SizeOfNodes(xmlEntity const & entity) {
    std::size_t size = 0;
    for (xmlNode * top = entity.children; top; top = top == entity.last ? nullptr : top->next) {
        for (xmlNode * at = top; at; at = NextBelow(at, top)) {
            size += expandedCost;
            if (at->type != XML_ELEMENT_NODE) size += View(at->content).size();
            if (at->type != XML_ELEMENT_NODE) continue;
            for (xmlAttr const * attribute = at->properties; attribute; attribute = attribute->next)
                size += 2 * expandedCost +
                        View(attribute->children ? attribute->children->content : nullptr).size();
        }
    }
    return size;
}

// Counts what a reference adds: the entity's text, which is then parsed, or a copy of the nodes that were made of it.
void CountExpansion(ParseState & state, xmlEntity const & entity) {
    std::size_t size = static_cast<std::size_t>(std::max(entity.length, 0));
    if (entity.children) {
        auto const [place, isNew] = state.entitySizes.emplace(&entity, 0);
        if (isNew) place->second = SizeOfNodes(entity);
        size = place->second;
    }
    state.expanded += expandedCost + size;
}

// The entity that `Find` returns, or null after an error. The parser parses each entity in a context of its own. If a handler
// returns null, that context would look the entity up by itself and go on, so the context is stopped as well.
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
    if (state.expanded > maxExpanded + expandedTimes * state.source.size())
        StopAtLimit(context, u"Entities add more than 10,000,000 bytes and ten times the document");
    return state.HasEnded() ? nullptr : entity;
}

// The parser appends the text of an entity to the text before it, and copies that text each time, so the copied bytes are
// counted.
xmlEntity * OnReference(void * context, xmlChar const * name) noexcept {
    ParseState & state = StateOf(context);
    PutHeldBlank(context);
    state.dropsBlanks = false;
    xmlNode const * const parent = static_cast<xmlParserCtxt *>(context)->node;
    xmlNode const * const last = parent ? parent->last : nullptr;
    if (last && last->type == XML_TEXT_NODE) state.moved += View(last->content).size();
    if (state.moved > CurrentLimits().movedBytes) StopAtLimit(context, u"Too many entities in one text");
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
    return state.declaration <= maxDeclaration && state.declarationSquares <= maxDeclarationSquares;
}

constexpr char16_t const * longDeclarations =
    u"The document type has a declaration of more than 65,536 bytes, or too many long ones";

xmlEntity * OnParameterReference(void * context, xmlChar const * name) noexcept {
    xmlEntity * const entity = Expanded<xmlSAX2GetParameterEntity>(context, name);
    if (!entity || CountDeclaration(StateOf(context), View(entity->content))) return entity;
    StopAtLimit(context, longDeclarations);
    return nullptr;
}

void OnAttributeDeclaration(void * context, xmlChar const * element, xmlChar const * name, int type,
                            int defaultKind, xmlChar const * defaultValue, xmlEnumeration * values) noexcept {
    ParseState & state = StateOf(context);
    if (type == XML_ATTRIBUTE_ID) ++state.declaredIds;
    if (++state.declaredAttributes > maxDeclaredAttributes || state.declaredIds > maxDeclaredIds) {
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
    // Each attribute has five pointers, of which the last two enclose its value. Attributes with default values come last.
    for (int i = count - defaultedCount; i < count; ++i)
        state.defaulted +=
            defaultedCost + static_cast<std::size_t>(attributes[5 * i + 4] - attributes[5 * i + 3]);
    if (state.defaulted > maxDefaulted)
        return StopAtLimit(context, u"Default values of attributes add more than 10,000,000 bytes");
    // Each attribute is compared with the others, and each prefix with the declarations that hold.
    auto const names = static_cast<std::size_t>(count);
    auto const declared = static_cast<std::size_t>(static_cast<xmlParserCtxt *>(context)->nsNr) / 2;
    if (names > freeAttributes) state.lookUps += names * names;
    if (declared > freeNamespaces) state.lookUps += (declared - freeNamespaces) * (names + 1);
    if (state.lookUps > CurrentLimits().nameComparisons)
        return StopAtLimit(context, u"Too many elements with very many attributes or namespaces");
    state.heldBlank.clear();
    for (int i = 0; i < count; ++i)
        if (attributes[5 * i] == state.spaceName) state.hasSpaceAttribute = true;
    if (state.hasSpaceAttribute) state.dropsBlanks = false;
    xmlSAX2StartElementNs(context, name, prefix, uri, namespaceCount, namespaces, count, defaultedCount,
                          attributes);
}

constexpr char16_t const * longText = u"A text has more than 10,000,000 bytes";

// The parser reports a text that is too long as a lack of memory, so the length is checked before.
void OnText(void * context, xmlChar const * text, int length) noexcept {
    if (StateOf(context).HasEnded()) return xmlStopParser(static_cast<xmlParserCtxt *>(context));
    ParseState & state = StateOf(context);
    auto const size = static_cast<std::size_t>(length);
    if (HoldsBack(context, {reinterpret_cast<char const *>(text), size})) {
        if (state.heldBlank.size() > maxText && state.heldBlank.size() != size)
            StopAtLimit(context, longText);
        return;
    }
    PutHeldBlank(context);
    xmlParserCtxt const & parser = *static_cast<xmlParserCtxt *>(context);
    xmlNode const * const last = parser.node ? parser.node->last : nullptr;
    bool const isJoined = last && last->type == XML_TEXT_NODE && parser.nodemem != 0;
    if (isJoined && static_cast<std::size_t>(parser.nodelen) + size > maxText)
        return StopAtLimit(context, longText);
    xmlSAX2Characters(context, text, length);
}

// Gives the parser the next piece of the source, after checking its tables, which have five entries for each attribute and two
// for each declaration of a namespace.
int Feed(void * self, char * buffer, int length) noexcept {
    auto & state = *static_cast<ParseState *>(self);
    if (state.HasEnded()) return 0; // the parser takes that for the end of the source
    std::string_view const piece = state.unread.substr(0, static_cast<std::size_t>(std::max(length, 0)));
    if (state.context->maxatts > 5 * maxAttributes || state.context->nsMax > 2 * maxAttributes)
        NoteLimit(state.context,
                  u"An element has more than 16,384 attributes, or declarations of namespaces");
    if (state.context->instate == XML_PARSER_DTD && !CountDeclaration(state, piece))
        NoteLimit(state.context, longDeclarations);
    if (state.HasEnded()) return 0;
    piece.copy(buffer, piece.size());
    state.unread.remove_prefix(piece.size());
    return static_cast<int>(piece.size());
}

// --- White space in the finished tree

bool HasElement(xmlNode const * parent) {
    for (xmlNode const * child = parent->children; child; child = child->next)
        if (child->type == XML_ELEMENT_NODE) return true;
    return false;
}

// Removes blank texts. One that is next to other character data is kept, because together they are a text that isn't blank.
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

// Whether white space is to be kept in an element by its xml:space; without that attribute, `outer`.
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

// Unless `mayKeep` is set, no element has xml:space.
void RemoveBlanks(xmlDoc * doc, bool mayKeep) {
    xmlNode * const root = xmlDocGetRootElement(doc);
    std::vector<bool> keeps{false}; // one entry for each element around the node, the outermost first
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

// The elements for which it was in doubt, or all, if the handlers don't know everything.
void RemoveBlanks(xmlDoc * doc, ParseState const & state) {
    if (!state.dropsBlanks) return RemoveBlanks(doc, state.hasSpaceAttribute);
    for (xmlNode * const parent : state.doubtful)
        if (HasElement(parent)) RemoveBlanks(parent);
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
    context->sax->endElementNs = OnEndElement;
    context->sax->characters = context->sax->ignorableWhitespace = OnText;
    context->sax->comment = OnComment;
    context->sax->processingInstruction = OnInstruction;
    context->sax->cdataBlock = OnCData;
    context->sax->reference = OnUnresolved;
    state.spaceName = Need(xmlDictLookup(context->dict, Chars("space"), -1));
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
    state.dropsBlanks = !keepsWhiteSpace;
    OwnedContext const context = MakeContext(state);
    OwnedDoc doc(xmlCtxtReadIO(context.get(), Feed, nullptr, &state, nullptr, nullptr,
                               options | (isUtf8 ? XML_PARSE_IGNORE_ENC : 0)));
    call.CheckMemory();
    if (state.isOutOfMemory) throw std::bad_alloc();
    if (doc && state.fault.code == DocumentCode::Good) {
        if (!keepsWhiteSpace) RemoveBlanks(doc.get(), state);
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
