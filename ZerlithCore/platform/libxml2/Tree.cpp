// Nodes are linked here by hand: libxml2's own functions join neighbouring texts and free one of them, which an object
// may stand for, and some of them recurse.
#include "ZerlithCore/platform/libxml2/Tree.h"

#include "ZerlithCore/platform/libxml2/NodeList.h"
#include "ZerlithCore/platform/libxml2/Nodes.h"
#include "ZerlithCore/platform/libxml2/Paths.h"

#include <utility>

namespace KZPlatform::LibXml2 {

namespace {

void Free(xmlNode * node) noexcept {
    if (node->type == XML_ATTRIBUTE_NODE) {
        xmlFreeProp(reinterpret_cast<xmlAttr *>(node));
    } else {
        xmlFreeNode(node);
    }
}

// Calls `action` with every object of the subtree.
template <class Action>
void ForEachObject(xmlNode * top, Action action) {
    for (xmlNode * at = top; at; at = NextBelow(at, top)) {
        if (at->_private) action(*static_cast<NodeCore *>(at->_private));
        if (at->type != XML_ELEMENT_NODE) continue;
        for (xmlAttr * attribute = at->properties; attribute; attribute = attribute->next)
            if (attribute->_private) action(*static_cast<NodeCore *>(attribute->_private));
    }
}

std::size_t CountObjects(xmlNode * top) {
    std::size_t count = 0;
    ForEachObject(top, [&count](NodeCore &) { ++count; });
    return count;
}

using NamespaceMap = std::unordered_map<xmlNs const *, xmlNs *>;

// Calls `declared` with each declaration in the subtree and `used` with each reference to one.
template <class Declared, class Used>
void ForEachNamespace(xmlNode * top, Declared declared, Used used) {
    for (xmlNode * at = top; at; at = NextBelow(at, top)) {
        if (at->type != XML_ELEMENT_NODE) continue;
        for (xmlNs * ns = at->nsDef; ns; ns = ns->next) declared(ns);
        if (at->ns) used(at->ns);
        for (xmlAttr * attribute = at->properties; attribute; attribute = attribute->next)
            if (attribute->ns) used(attribute->ns);
    }
}

// A declaration on `top` that says the same as `outer`; `outer` itself where none can.
xmlNs * DeclareAlso(xmlNode * top, xmlNs * outer) {
    if (View(outer->prefix) == "xml" || (!outer->prefix && !top->ns)) return outer;
    if (xmlNs * const made = xmlNewNs(top, outer->href, outer->prefix)) return made;
    for (xmlNs * own = top->nsDef; own; own = own->next)
        if (xmlStrEqual(own->prefix, outer->prefix) && xmlStrEqual(own->href, outer->href)) return own;
    return outer;
}

// Declares on the top of a piece what it uses from outside. What remains, where a prefix means something else in
// between, libxml2 declares at the place of use.
void MakeSelfContained(xmlNode * top) {
    if (top->type != XML_ELEMENT_NODE) return;
    NamespaceMap known;
    ForEachNamespace(
        top, [&known](xmlNs * ns) { known.emplace(ns, ns); },
        [&](xmlNs *& ns) {
            auto const [place, isNew] = known.emplace(ns, nullptr);
            if (isNew) place->second = DeclareAlso(top, ns);
            ns = place->second;
        });
    if (!known.empty() && xmlDOMWrapReconcileNamespaces(nullptr, top, 0) != 0) throw std::bad_alloc();
}

// Takes an attribute out; its namespace comes along.
void UnlinkAttribute(xmlAttr * attribute) {
    auto * const node = reinterpret_cast<xmlNode *>(attribute);
    LibraryCall const call;
    xmlNs * const ns = attribute->ns;
    xmlNode * const parent = node->parent;
    xmlAttr * const before = attribute->prev;
    static_cast<void>(xmlDOMWrapRemoveNode(nullptr, node->doc, node, 0));
    if (!call.IsOutOfMemory()) return;
    attribute->ns = ns;
    attribute->parent = parent;
    attribute->prev = before;
    xmlAttr *& toThis = before ? before->next : parent->properties;
    attribute->next = std::exchange(toThis, attribute);
    if (attribute->next) attribute->next->prev = attribute;
    throw std::bad_alloc();
}

bool StandsInElement(xmlNode const * node) noexcept {
    return node->parent && node->parent->type == XML_ELEMENT_NODE;
}

// What an element brought along while it stood nowhere goes again where its new parent has the same declaration.
void DropRepeatedDeclarations(xmlNode * node) {
    if (node->type != XML_ELEMENT_NODE || node->parent->type != XML_ELEMENT_NODE) return;
    for (xmlNs ** place = &node->nsDef; *place;) {
        xmlNs * const own = *place;
        xmlNs * const outer = xmlSearchNs(node->doc, node->parent, own->prefix);
        if (outer && xmlStrEqual(outer->href, own->href)) {
            ForEachNamespace(
                node, [](xmlNs *) {},
                [own, outer](xmlNs *& ns) {
                    if (ns == own) ns = outer;
                });
            *place = own->next;
            xmlFreeNs(own);
        } else {
            place = &own->next;
        }
    }
}

// Takes a node out of its tree; the namespaces that it uses come along. Errors: std::bad_alloc; the node stands where it
// stood. Outside of elements nothing is declared, and so nothing fails.
void Unlink(xmlNode * node) {
    if (node->type == XML_ATTRIBUTE_NODE) return UnlinkAttribute(reinterpret_cast<xmlAttr *>(node));
    if (!StandsInElement(node)) return xmlUnlinkNode(node);
    xmlNode * const parent = node->parent;
    xmlNode * const next = node->next;
    LibraryCall const call;
    xmlUnlinkNode(node);
    try {
        MakeSelfContained(node);
        call.CheckMemory();
    } catch (std::bad_alloc const &) {
        Link(node, parent, next);
        DropRepeatedDeclarations(node);
        throw;
    }
}

// Gives the objects of a subtree to its copy.
void HandOver(xmlNode * from, Tree & tree, xmlNode * to) noexcept {
    xmlNode * const top = from;
    xmlNode * const copy = to;
    auto const hand = [&tree](auto * old, auto * fresh) {
        if (!old->_private) return;
        auto & core = *static_cast<NodeCore *>(std::exchange(old->_private, nullptr));
        fresh->_private = &core;
        core.MoveTo(tree, reinterpret_cast<xmlNode *>(fresh));
    };
    for (; from; from = NextBelow(from, top), to = NextBelow(to, copy)) {
        hand(from, to);
        if (from->type != XML_ELEMENT_NODE) continue;
        xmlAttr * fresh = to->properties;
        for (xmlAttr * old = from->properties; old; old = old->next, fresh = fresh->next) hand(old, fresh);
    }
}

} // namespace

// --- NodeCore

NodeCore::NodeCore(Tree & tree, xmlNode * node, DocumentNode & face)
    : node_(node), tree_(&tree), face_(face) {
    tree.Attach(node, *this);
    tree.Hold();
}

NodeCore::~NodeCore() {
    tree_->Detach(node_, *this);
    tree_->Drop();
}

void NodeCore::MoveTo(Tree & tree, xmlNode * node) {
    tree.Hold();
    Tree * const old = std::exchange(tree_, &tree);
    node_ = node;
    old->Drop();
}

// --- Tree

Tree::Tree(OwnedDoc doc) : doc_(std::move(doc)) {
    // Without an encoding libxml2 writes letters in attributes as references.
    if (!doc_->encoding) doc_->encoding = CopyOfText("UTF-8").release();
    doc_->_private = this;
}

Tree::~Tree() {
    paths_.reset();
    for (auto const & [root, count] : orphans_) Free(root);
}

Paths & Tree::GetPaths() {
    if (!paths_) paths_ = std::make_unique<Paths>(doc_.get());
    return *paths_;
}

DocumentNode * Tree::Wrap(xmlNode * node) {
    if (!node) return nullptr;
    auto const * const core = node == DocNode() ? document_ : static_cast<NodeCore *>(node->_private);
    return core ? &core->Face() : MakeNode(*this, node);
}

DocumentNode * Tree::WrapNew(xmlNode * node) {
    try {
        orphans_.emplace(node, 0);
        return Wrap(node);
    } catch (std::bad_alloc const &) {
        orphans_.erase(node);
        Free(node);
        throw;
    }
}

void Tree::Attach(xmlNode * node, NodeCore & core) {
    if (node == DocNode()) {
        document_ = &core;
        return;
    }
    node->_private = &core;
    if (!orphans_.empty()) ChangeCount(RootOf(node), 1);
}

void Tree::Detach(xmlNode * node, NodeCore & core) noexcept {
    if (node == DocNode()) {
        if (document_ == &core) document_ = nullptr;
        return;
    }
    node->_private = nullptr;
    if (!orphans_.empty()) ChangeCount(RootOf(node), -1);
}

// Counts objects of an orphan, which goes with the last one.
void Tree::ChangeCount(xmlNode * root, std::ptrdiff_t by) noexcept {
    if (!IsOrphan(root)) return;
    auto const place = orphans_.find(root);
    if (place == orphans_.end()) return;
    place->second += static_cast<std::size_t>(by);
    if (place->second != 0) return;
    orphans_.erase(place);
    Free(root);
}

void Tree::Remove(xmlNode * node) {
    PinLists();
    std::size_t const count = CountObjects(node);
    xmlNode * const root = RootOf(node);
    if (count == 0) {
        xmlUnlinkNode(node);
        return Free(node);
    }
    orphans_.emplace(node, count);
    try {
        Unlink(node);
    } catch (std::bad_alloc const &) {
        orphans_.erase(node);
        throw;
    }
    ChangeCount(root, -static_cast<std::ptrdiff_t>(count));
}

// The ones that live on go first, and if one can't they come back.
void Tree::RemoveChildren(xmlNode * parent) {
    struct Place {
        xmlNode * node;
        xmlNode * next;
    };
    PinLists();
    xmlNode * const root = RootOf(parent);
    std::vector<Place> kept;
    std::ptrdiff_t objects = 0;
    try {
        for (xmlNode *child = parent->children, *next; child; child = next) {
            next = child->next;
            std::size_t const count = CountObjects(child);
            if (count == 0) continue;
            kept.push_back({child, next});
            orphans_.emplace(child, count);
            Unlink(child);
            objects += static_cast<std::ptrdiff_t>(count);
        }
    } catch (std::bad_alloc const &) {
        for (; !kept.empty(); kept.pop_back()) {
            auto const [node, next] = kept.back();
            orphans_.erase(node);
            if (node->parent) continue;
            Link(node, parent, next);
            DropRepeatedDeclarations(node);
        }
        throw;
    }
    while (xmlNode * const child = parent->children) {
        xmlUnlinkNode(child);
        Free(child);
    }
    ChangeCount(root, -objects);
}

void Tree::ReplaceRoot(xmlNode * old, xmlNode * fresh) {
    PinLists();
    orphans_.emplace(old, 0); // so that removing it takes no memory
    try {
        Move(fresh, DocNode(), old);
    } catch (std::bad_alloc const &) {
        orphans_.erase(old);
        throw;
    }
    std::size_t const count = CountObjects(old);
    orphans_.at(old) = count;
    xmlUnlinkNode(old);
    if (count != 0) return;
    orphans_.erase(old);
    Free(old);
}

void Tree::Move(xmlNode * node, xmlNode * parent, xmlNode * before) {
    if (&Of(node) != this) {
        Of(node).PinLists();
        return Adopt(node, CopyNode(node, Doc(), true), parent, before);
    }
    // The way up is long in a deep tree; it is spared where nothing but the node itself stands outside a document.
    xmlNode * const oldRoot = RootOf(node);
    bool const isOnlyOrphan = orphans_.size() == (oldRoot == node ? 1 : 0);
    xmlNode * const newRoot = isOnlyOrphan ? DocNode() : RootOf(parent);
    bool const counts = IsOrphan(oldRoot) || IsOrphan(newRoot);
    auto const count = static_cast<std::ptrdiff_t>(counts ? CountObjects(node) : 0);
    if (before == node) before = node->next;
    if (node->parent) Unlink(node);
    Link(node, parent, before);
    DropRepeatedDeclarations(node);
    ChangeCount(newRoot, count);
    if (oldRoot == node) {
        orphans_.erase(node);
    } else {
        ChangeCount(oldRoot, -count);
    }
}

void Tree::MoveChildren(xmlNode * fragment, xmlNode * parent, xmlNode * before) {
    Tree & source = Of(fragment);
    if (&source == this) {
        while (fragment->children) Move(fragment->children, parent, before);
        return;
    }
    source.PinLists();
    xmlNode * const copy = CopyNode(fragment, Doc(), true);
    while (fragment->children) {
        xmlNode * const child = copy->children;
        xmlUnlinkNode(child);
        Adopt(fragment->children, child, parent, before);
    }
    Free(copy);
}

// Puts `copy` of a node of another tree in its place here, and frees the node. Its objects change over.
void Tree::Adopt(xmlNode * node, xmlNode * copy, xmlNode * parent, xmlNode * before) noexcept {
    Tree & source = Of(node);
    source.Hold(); // until it has been told
    xmlNode * const oldRoot = RootOf(node);
    auto const count = static_cast<std::ptrdiff_t>(CountObjects(node));
    Link(copy, parent, before);
    DropRepeatedDeclarations(copy);
    HandOver(node, *this, copy);
    ChangeCount(RootOf(parent), count);
    xmlUnlinkNode(node);
    if (oldRoot == node) {
        source.orphans_.erase(node);
    } else {
        source.ChangeCount(oldRoot, -count);
    }
    Free(node);
    source.Drop();
}

// Lists hold plain pointers until nodes may go; from then on they hold objects.
void Tree::PinLists() {
    for (NodeList * const list : lists_) list->Pin();
}

// --- Walks

xmlNode * NextBelow(xmlNode * node, xmlNode const * top) noexcept {
    if (xmlNode * const child = FirstBelow(node)) return child;
    while (node != top && !node->next) node = node->parent;
    return node == top ? nullptr : node->next;
}

xmlNode * RootOf(xmlNode * node) noexcept {
    while (node->parent) node = node->parent;
    return node;
}

void Link(xmlNode * node, xmlNode * parent, xmlNode * before) noexcept {
    node->parent = parent;
    node->next = before;
    node->prev = before ? before->prev : parent->last;
    xmlNode *& toNode = node->prev ? node->prev->next : parent->children;
    xmlNode *& backToNode = before ? before->prev : parent->last;
    toNode = node;
    backToNode = node;
}

// --- Copies

std::string_view AttributeValue(xmlAttr const * attribute, std::string & room) {
    xmlNode const * const first = attribute->children;
    if (!first) return {};
    if (!first->next && first->type == XML_TEXT_NODE) return View(first->content);
    LibraryCall const call;
    OwnedText const joined(xmlNodeListGetString(attribute->doc, first, 1));
    call.CheckMemory();
    return room = View(joined.get());
}

namespace {

void CopyDeclarations(xmlNode const * from, xmlNode * to, NamespaceMap & map) {
    for (xmlNs const * ns = from->nsDef; ns; ns = ns->next)
        map.emplace(ns, Need(xmlNewNs(to, ns->href, ns->prefix)));
}

// The prefix "xml" is declared by the document itself.
xmlNs * Mapped(xmlNs * ns, xmlDoc * doc, NamespaceMap & map) {
    if (!ns) return ns;
    if (View(ns->prefix) == "xml" && !map.contains(ns))
        map.emplace(ns, Need(xmlSearchNs(doc, reinterpret_cast<xmlNode *>(doc), ns->prefix)));
    if (map.empty()) return ns;
    auto const place = map.find(ns);
    return place == map.end() ? ns : place->second;
}

xmlNode * CopyElement(xmlNode const * node, xmlDoc * doc, NamespaceMap & map) {
    OwnedNode copy(Need(xmlNewDocNode(doc, nullptr, node->name, nullptr)));
    CopyDeclarations(node, copy.get(), map);
    copy->ns = Mapped(node->ns, doc, map);
    copy->line = node->line;
    std::string room;
    for (xmlAttr const * attribute = node->properties; attribute; attribute = attribute->next) {
        std::string const value(AttributeValue(attribute, room));
        Need(xmlNewNsProp(copy.get(), Mapped(attribute->ns, doc, map), attribute->name, Chars(value)));
    }
    return copy.release();
}

// The node alone.
xmlNode * CopyOne(xmlNode const * node, xmlDoc * doc, NamespaceMap & map) {
    switch (node->type) {
    case XML_ELEMENT_NODE: return CopyElement(node, doc, map);
    case XML_TEXT_NODE: return Need(xmlNewDocText(doc, node->content));
    case XML_CDATA_SECTION_NODE: return Need(xmlNewCDataBlock(doc, node->content, xmlStrlen(node->content)));
    case XML_COMMENT_NODE: return Need(xmlNewDocComment(doc, node->content));
    case XML_PI_NODE: return Need(xmlNewDocPI(doc, node->name, node->content));
    case XML_ENTITY_REF_NODE: return Need(xmlNewReference(doc, node->name));
    case XML_DOCUMENT_FRAG_NODE: return Need(xmlNewDocFragment(doc));
    default: return nullptr;
    }
}

// Everything below `node` as children of `copy`; kinds that can't be copied are left out.
void CopyBelow(xmlNode const * top, xmlNode * copy, xmlDoc * doc, NamespaceMap & map) {
    xmlNode * parent = copy;
    for (xmlNode const * at = FirstBelow(top); at;) {
        xmlNode * const made = CopyOne(at, doc, map);
        if (made) Link(made, parent, nullptr);
        LibraryCall::Current()->CheckMemory();
        if (xmlNode const * const child = made ? FirstBelow(at) : nullptr) {
            at = child;
            parent = made;
            continue;
        }
        while (!at->next) {
            at = at->parent;
            if (at == top) return;
            parent = parent->parent;
        }
        at = at->next;
    }
}

} // namespace

xmlNode * CopyNode(xmlNode const * node, xmlDoc * doc, bool deep) {
    LibraryCall const call;
    if (node->type == XML_ATTRIBUTE_NODE) {
        auto const * const attribute = reinterpret_cast<xmlAttr const *>(node);
        std::string room;
        std::string const value(AttributeValue(attribute, room));
        std::unique_ptr<xmlAttr, FreeBy<xmlFreeProp>> made(
            Need(xmlNewDocProp(doc, attribute->name, Chars(value))));
        call.CheckMemory();
        return reinterpret_cast<xmlNode *>(made.release());
    }
    NamespaceMap map;
    OwnedNode copy(CopyOne(node, doc, map));
    if (!copy) return nullptr;
    if (deep) CopyBelow(node, copy.get(), doc, map);
    // What is declared above the node becomes its own.
    if (copy->type == XML_DOCUMENT_FRAG_NODE) {
        for (xmlNode * child = copy->children; child; child = child->next) MakeSelfContained(child);
    } else {
        MakeSelfContained(copy.get());
    }
    call.CheckMemory();
    return copy.release();
}

OwnedDoc CopyDoc(xmlDoc const * doc, bool deep) {
    LibraryCall const call;
    OwnedDoc copy = NewDoc();
    if (doc->encoding) copy->encoding = Need(xmlStrdup(doc->encoding));
    if (doc->URL) copy->URL = Need(xmlStrdup(doc->URL));
    copy->standalone = doc->standalone;
    if (deep && doc->intSubset) {
        xmlDtd * const dtd = Need(xmlCopyDtd(doc->intSubset));
        copy->intSubset = dtd;
        xmlSetTreeDoc(reinterpret_cast<xmlNode *>(dtd), copy.get());
        Link(reinterpret_cast<xmlNode *>(dtd), reinterpret_cast<xmlNode *>(copy.get()), nullptr);
    }
    NamespaceMap map;
    if (deep)
        CopyBelow(reinterpret_cast<xmlNode const *>(doc), reinterpret_cast<xmlNode *>(copy.get()), copy.get(),
                  map);
    call.CheckMemory();
    return copy;
}

OwnedNode NewText(xmlDoc * doc, std::string const & text) {
    LibraryCall const call;
    OwnedNode node(text.empty() ? nullptr : Need(xmlNewDocText(doc, Chars(text))));
    call.CheckMemory();
    return node;
}

OwnedDoc NewDoc() {
    LibraryCall const call;
    OwnedDoc doc(Need(xmlNewDoc(Chars("1.0"))));
    call.CheckMemory();
    return doc;
}

} // namespace KZPlatform::LibXml2
