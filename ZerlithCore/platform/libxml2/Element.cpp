// libxml2 keeps declarations of namespaces apart from attributes. Here they are attributes named "xmlns" and "xmlns:p"; as
// elements and attributes point to their declaration, one that is in use stays as it is.
#include "ZerlithCore/platform/libxml2/Element.h"

#include <libxml/valid.h>

#include <memory>
#include <optional>
#include <utility>

namespace KZPlatform::LibXml2 {

namespace {

using OwnedNamespace = std::unique_ptr<xmlNs, FreeBy<xmlFreeNs>>;

// The prefix that a name of a declaration declares; empty for "xmlns" itself.
std::optional<std::string_view> DeclaredPrefix(std::string_view name) {
    if (name == "xmlns") return std::string_view();
    if (name.starts_with("xmlns:")) return name.substr(6);
    return std::nullopt;
}

bool HasName(xmlAttr const * attribute, std::string_view name) {
    DocumentName const own = NameOf(reinterpret_cast<xmlNode const *>(attribute));
    if (own.prefix.empty()) return own.local == name;
    return name.size() == own.prefix.size() + 1 + own.local.size() && name.starts_with(own.prefix) &&
           name[own.prefix.size()] == ':' && name.ends_with(own.local);
}

xmlAttr * FindAttribute(xmlNode const * element, std::string_view name) {
    xmlAttr * attribute = element->properties;
    while (attribute && !HasName(attribute, name)) attribute = attribute->next;
    return attribute;
}

xmlNs ** FindDeclaration(xmlNode * element, std::string_view prefix) {
    xmlNs ** place = &element->nsDef;
    while (*place && View((*place)->prefix) != prefix) place = &(*place)->next;
    return *place ? place : nullptr;
}

bool IsUsed(xmlNs const * ns, xmlNode * top) {
    for (xmlNode * at = top; at; at = NextBelow(at, top)) {
        if (at->type != XML_ELEMENT_NODE) continue;
        if (at->ns == ns) return true;
        for (xmlAttr const * attribute = at->properties; attribute; attribute = attribute->next)
            if (attribute->ns == ns) return true;
    }
    return false;
}

} // namespace

void SetAttributeValue(xmlAttr * attribute, std::string const & value) {
    OwnedNode text = NewText(attribute->doc, value);
    if (attribute->atype == XML_ATTRIBUTE_ID) {
        xmlRemoveID(attribute->doc, attribute);
        attribute->atype = XML_ATTRIBUTE_CDATA;
    }
    xmlFreeNodeList(attribute->children);
    attribute->children = attribute->last = text.release();
    if (attribute->children) attribute->children->parent = reinterpret_cast<xmlNode *>(attribute);
}

bool Element::Attribute(std::u16string_view name, DocumentSink & sink) const {
    std::string const text = Utf8Of(name);
    if (auto const prefix = DeclaredPrefix(text)) {
        xmlNs * const * const place = FindDeclaration(Node(), *prefix);
        if (place) sink.Append(View((*place)->href));
        return place != nullptr;
    }
    xmlAttr const * const attribute = FindAttribute(Node(), text);
    if (!attribute) return false;
    std::string room;
    sink.Append(AttributeValue(attribute, room));
    return true;
}

DocumentResult Element::SetAttribute(std::u16string_view name, std::u16string_view value) {
    std::string const text = Utf8Of(name);
    std::string const content = Utf8Of(value);
    if (xmlValidateQName(Chars(text), 0) != 0)
        return {DocumentCode::InvalidName, u"No attribute can be named " + Quoted(name)};
    if (DocumentResult result = CheckText(XML_ATTRIBUTE_NODE, content); !result) return result;
    if (auto const prefix = DeclaredPrefix(text)) return SetDeclaration(*prefix, content);
    if (xmlAttr * const attribute = FindAttribute(Node(), text)) {
        SetAttributeValue(attribute, content);
        return {};
    }
    LibraryCall const call;
    std::size_t const colon = text.find(':');
    xmlNs * const ns =
        colon == text.npos ? nullptr : xmlSearchNs(Node()->doc, Node(), Chars(std::string(text, 0, colon)));
    if (colon != text.npos && !ns)
        return {DocumentCode::InvalidName, u"The prefix isn't declared: " + Quoted(name)};
    xmlAttr * const made = Need(xmlNewNsProp(Node(), ns, Chars(text) + (ns ? colon + 1 : 0), Chars(content)));
    if (call.IsOutOfMemory()) xmlRemoveProp(made);
    call.CheckMemory();
    return {};
}

DocumentResult Element::SetDeclaration(std::string_view prefix, std::string const & uri) {
    if (prefix == "xml" || prefix == "xmlns" || (!prefix.empty() && uri.empty()))
        return {DocumentCode::InvalidArgument, u"A declaration of this prefix can't say that"};
    if (xmlNs ** const place = FindDeclaration(Node(), prefix)) {
        xmlNs * const ns = *place;
        if (View(ns->href) == uri) return {};
        if (IsUsed(ns, Node())) return {DocumentCode::NamespaceInUse, u"The declaration is in use"};
        OwnedText href = CopyOfText(uri);
        xmlFree(const_cast<xmlChar *>(std::exchange(ns->href, href.release())));
        return {};
    }
    // What stands here under an outer declaration of the prefix would be read back in another namespace.
    std::string const name(prefix);
    LibraryCall const call;
    xmlNs const * const outer = xmlSearchNs(Node()->doc, Node(), prefix.empty() ? nullptr : Chars(name));
    if (outer && View(outer->href) != uri && IsUsed(outer, Node()))
        return {DocumentCode::NamespaceInUse, u"The element uses the prefix otherwise"};
    OwnedNamespace made(Need(xmlNewNs(nullptr, Chars(uri), prefix.empty() ? nullptr : Chars(name))));
    call.CheckMemory();
    xmlNs ** end = &Node()->nsDef;
    while (*end) end = &(*end)->next;
    *end = made.release();
    return {};
}

bool Element::RemoveAttribute(std::u16string_view name) {
    std::string const text = Utf8Of(name);
    if (auto const prefix = DeclaredPrefix(text)) {
        xmlNs ** const place = FindDeclaration(Node(), *prefix);
        if (!place || IsUsed(*place, Node())) return false;
        xmlNs * const ns = *place;
        *place = ns->next;
        xmlFreeNs(ns);
        return true;
    }
    xmlAttr * const attribute = FindAttribute(Node(), text);
    if (!attribute) return false;
    Home().Remove(reinterpret_cast<xmlNode *>(attribute));
    return true;
}

} // namespace KZPlatform::LibXml2
