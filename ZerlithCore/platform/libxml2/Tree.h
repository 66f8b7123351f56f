/// @file
/// A tree of libxml2's nodes and the objects that stand for them.
#pragma once

#include "ZerlithCore/platform/libxml2/Library.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <unordered_map>
#include <vector>

namespace KZPlatform::LibXml2 {

class NodeList;
class ParseError;
class Paths;
class Schemas;
class Tree;

/// The common part of the objects of all kinds of nodes: the node, its tree and the reference count.
///
/// The node's `_private` points to its object, so a node has one object at a time. The tree knows the object of its document.
/// Releasing the last reference deletes the object. It also frees the node's whole subtree if that is outside of the document
/// and none of its nodes has an object any more.
class NodeCore {
public:
    NodeCore(Tree & tree, xmlNode * node, DocumentNode & face);
    NodeCore(NodeCore const &) = delete;
    NodeCore & operator=(NodeCore const &) = delete;
    virtual ~NodeCore();

    unsigned long AddReference() const noexcept {
        return references_.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    unsigned long DropReference() const {
        unsigned long const left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) delete this;
        return left;
    }

    [[nodiscard]] xmlNode * Node() const noexcept { return node_; }
    [[nodiscard]] Tree & Home() const noexcept { return *tree_; }
    [[nodiscard]] DocumentNode & Face() const noexcept { return face_; }
    /// Makes this the object of `node` in `tree` instead of its present node.
    void MoveTo(Tree & tree, xmlNode * node);

private:
    mutable std::atomic<std::uint32_t> references_{0};
    xmlNode * node_;
    Tree * tree_;
    DocumentNode & face_;
};

/// One document of libxml2 with everything that depends on it. It exists as long as an object or a list refers to it.
///
/// A node is either below the document or in an orphan, which is a subtree whose top has no parent. An orphan exists as long as
/// one of its nodes has an object; `orphans_` has the number of objects of each. The namespaces that an orphan uses are
/// declared inside it, so it never points to nodes outside.
class Tree {
public:
    explicit Tree(OwnedDoc doc);
    Tree(Tree const &) = delete;
    Tree & operator=(Tree const &) = delete;
    ~Tree();

    [[nodiscard]] static Tree & Of(xmlNode const * node) noexcept {
        return *static_cast<Tree *>(node->doc->_private);
    }

    void Hold() noexcept { ++holders_; }
    void Drop() noexcept {
        if (--holders_ == 0) delete this;
    }

    [[nodiscard]] xmlDoc * Doc() const noexcept { return doc_.get(); }
    [[nodiscard]] xmlNode * DocNode() const noexcept { return reinterpret_cast<xmlNode *>(doc_.get()); }
    [[nodiscard]] Paths & GetPaths();

    /// The object of a node of this tree. If the node has none, a new one with a reference count of 0. Null for null.
    [[nodiscard]] DocumentNode * Wrap(xmlNode * node);
    /// The same for a node that has just been made and stands nowhere; the tree owns it from now on, or frees it when it
    /// throws.
    [[nodiscard]] DocumentNode * WrapNew(xmlNode * node);

    // What follows is done whole, or throws std::bad_alloc and has changed nothing.

    /// Removes a node from its parent and frees it. If it or a node below it has an object, it is kept as an orphan instead.
    void Remove(xmlNode * node);
    /// The same for all children of `parent`.
    void RemoveChildren(xmlNode * parent);
    /// The same for the root, in whose place comes `fresh`, which may stand below it.
    void ReplaceRoot(xmlNode * old, xmlNode * fresh);
    /// Moves a node of any tree below `parent` of this one, to the place before `before` or, for null, to the end. Out of another
    /// tree a copy comes, which takes over the objects. Requires: the place is fit for it.
    void Move(xmlNode * node, xmlNode * parent, xmlNode * before);
    /// The same for all children of a fragment.
    void MoveChildren(xmlNode * fragment, xmlNode * parent, xmlNode * before);

    void Register(NodeList & list) { lists_.push_back(&list); }
    void Unregister(NodeList & list) noexcept { std::erase(lists_, &list); }

    // Objects call these when they begin and cease to stand for a node.
    void Attach(xmlNode * node, NodeCore & core);
    void Detach(xmlNode * node, NodeCore & core) noexcept;

    /// These two stay when the content is replaced.
    std::shared_ptr<Schemas> schemas;
    std::shared_ptr<ParseError const> lastError;
    bool keepsWhiteSpace = false;

private:
    [[nodiscard]] bool IsOrphan(xmlNode const * root) const noexcept { return root != DocNode(); }
    void Adopt(xmlNode * node, xmlNode * copy, xmlNode * parent, xmlNode * before) noexcept;
    void ChangeCount(xmlNode * root, std::ptrdiff_t by) noexcept;
    void PinLists();

    std::size_t holders_ = 0;
    OwnedDoc doc_;
    NodeCore * document_ = nullptr;
    std::unordered_map<xmlNode *, std::size_t> orphans_; // the top of each orphan, and its number of objects
    std::vector<NodeList *> lists_;
    std::unique_ptr<Paths> paths_;
};

// --- Walks. They don't enter attributes, entity references and document types.

/// The first child; null for a node that walks don't enter.
[[nodiscard]] inline xmlNode * FirstBelow(xmlNode const * node) noexcept {
    switch (node->type) {
    case XML_ELEMENT_NODE:
    case XML_DOCUMENT_NODE:
    case XML_DOCUMENT_FRAG_NODE: return node->children;
    default: return nullptr;
    }
}
/// The node after `node` in document order, as long as it is below `top`; null at the end.
[[nodiscard]] xmlNode * NextBelow(xmlNode * node, xmlNode const * top) noexcept;
/// The top of the node's tree, which has no parent.
[[nodiscard]] xmlNode * RootOf(xmlNode * node) noexcept;
/// Whether it is a text that is empty or has only white space.
[[nodiscard]] inline bool IsBlankText(xmlNode const * node) noexcept {
    if (node->type != XML_TEXT_NODE) return false;
    xmlChar const * at = node->content;
    while (at && IsBlank(static_cast<char>(*at))) ++at;
    return !at || *at == '\0';
}
/// Makes `node`, which has no parent, a child of `parent`: before `before`, or the last one if that is null.
void Link(xmlNode * node, xmlNode * parent, xmlNode * before) noexcept;

// --- Copies

/// A copy for `doc` that has no parent and declares the namespaces that it uses; null for a kind that can't be copied.
[[nodiscard]] xmlNode * CopyNode(xmlNode const * node, xmlDoc * doc, bool deep);
[[nodiscard]] OwnedDoc CopyDoc(xmlDoc const * doc, bool deep);
[[nodiscard]] OwnedDoc NewDoc();

/// A text that stands nowhere; null for an empty one.
[[nodiscard]] OwnedNode NewText(xmlDoc * doc, std::string const & text);

/// The value of an attribute: a view of the attribute's own text if that is one piece, otherwise of `room`.
[[nodiscard]] std::string_view AttributeValue(xmlAttr const * attribute, std::string & room);

} // namespace KZPlatform::LibXml2
