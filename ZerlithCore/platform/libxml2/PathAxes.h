/// @file
/// The axes of XPath on libxml2's trees.
#pragma once

#include "ZerlithCore/platform/libxml2/PathValue.h"

#include <algorithm>
#include <iterator>

namespace KZPlatform::LibXml2 {

/// Whether the axis goes backward in the order of the document.
[[nodiscard]] constexpr bool IsReverse(PathAxis axis) noexcept {
    return axis == PathAxis::Ancestor || axis == PathAxis::AncestorOrSelf || axis == PathAxis::Preceding ||
           axis == PathAxis::PrecedingSibling;
}

/// Whether the axes of two different nodes never have a node in common.
[[nodiscard]] constexpr bool LeadsToDistinctNodes(PathAxis axis) noexcept {
    return axis == PathAxis::Self || axis == PathAxis::Child || axis == PathAxis::Attribute ||
           axis == PathAxis::Namespace;
}

/// Whether no node on the axis is below another node on it.
[[nodiscard]] constexpr bool IsFlat(PathAxis axis) noexcept {
    return LeadsToDistinctNodes(axis) || axis == PathAxis::Parent || axis == PathAxis::FollowingSibling ||
           axis == PathAxis::PrecedingSibling;
}

/// Whether the node is of a kind that paths can find.
[[nodiscard]] inline bool IsPathNode(PathNode const & node) noexcept {
    if (node.declaration) return true;
    switch (node.node->type) {
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE:
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE:
    case XML_DOCUMENT_NODE:
    case XML_HTML_DOCUMENT_NODE: return true;
    default: return false;
    }
}

/// The declarations of namespaces that are in scope on an element; that of "xml" comes first.
[[nodiscard]] std::vector<xmlNs const *> NamespacesOn(xmlNode const * element, PathBudget & budget);

/// The node of an ordered, non-empty list whose subtree ends first. So whatever follows any of the nodes follows this one. For
/// <a><b/></a><c/> and the nodes a, b and c that is b.
[[nodiscard]] PathNode EndingFirst(PathNodes const & nodes, PathBudget & budget);

namespace PathDetail {

[[nodiscard]] inline xmlNode * LastBelow(xmlNode * node, PathBudget & budget) {
    for (; FirstBelow(node); node = node->last) budget.Spend();
    return node;
}

// The next sibling of the node in that direction, or of the nearest node above that has one; null when none has.
[[nodiscard]] inline xmlNode * Beyond(xmlNode * node, xmlNode * xmlNode::*direction, PathBudget & budget) {
    for (; node && !(node->*direction); node = node->parent) budget.Spend();
    return node ? node->*direction : nullptr;
}

// The element of an attribute or a declaration; for other nodes the node itself.
[[nodiscard]] inline xmlNode * Anchor(PathNode const & node) noexcept {
    return node.IsAttribute() ? node.node->parent : node.node;
}

} // namespace PathDetail

/// Calls `visit` with the nodes on an axis, the nearest first, until it returns false. Nodes of all kinds are visited.
template <class Visit>
// One short loop for each axis. NOLINTNEXTLINE(readability-function-size,readability-function-cognitive-complexity)
void WalkAxis(PathAxis axis, PathNode const & from, PathBudget & budget, Visit visit) {
    auto const goOn = [&](xmlNode * node) {
        budget.Spend();
        return visit(PathNode{node, nullptr});
    };
    bool const isInTree = !from.declaration && !from.IsAttribute();
    xmlNode * const node = from.node;
    switch (axis) {
    case PathAxis::Self:
        budget.Spend();
        visit(from);
        return;
    case PathAxis::Child:
        for (xmlNode * at = isInTree ? FirstBelow(node) : nullptr; at && goOn(at);) at = at->next;
        return;
    case PathAxis::DescendantOrSelf:
        budget.Spend();
        if (!visit(from)) return;
        [[fallthrough]];
    case PathAxis::Descendant:
        for (xmlNode * at = isInTree ? FirstBelow(node) : nullptr; at && goOn(at);) at = NextBelow(at, node);
        return;
    case PathAxis::Parent:
        if (xmlNode * const parent = from.Parent().node) goOn(parent);
        return;
    case PathAxis::AncestorOrSelf:
        budget.Spend();
        if (!visit(from)) return;
        [[fallthrough]];
    case PathAxis::Ancestor:
        for (xmlNode * at = from.Parent().node; at && goOn(at);) at = at->parent;
        return;
    case PathAxis::FollowingSibling:
        for (xmlNode * at = isInTree ? node->next : nullptr; at && goOn(at);) at = at->next;
        return;
    case PathAxis::PrecedingSibling:
        for (xmlNode * at = isInTree ? node->prev : nullptr; at && goOn(at);) at = at->prev;
        return;
    case PathAxis::Following:
        for (xmlNode * top = PathDetail::Anchor(from);
             (top = PathDetail::Beyond(top, &xmlNode::next, budget));)
            for (xmlNode * at = top; at; at = NextBelow(at, top))
                if (!goOn(at)) return;
        return;
    case PathAxis::Preceding:
        for (xmlNode * top = PathDetail::Anchor(from);
             (top = PathDetail::Beyond(top, &xmlNode::prev, budget));)
            for (xmlNode * at = PathDetail::LastBelow(top, budget);;) {
                if (!goOn(at)) return;
                if (at == top) break;
                at = at->prev ? PathDetail::LastBelow(at->prev, budget) : at->parent;
            }
        return;
    case PathAxis::Attribute:
        if (from.declaration || node->type != XML_ELEMENT_NODE) return;
        for (xmlAttr * at = node->properties; at && goOn(reinterpret_cast<xmlNode *>(at));) at = at->next;
        return;
    case PathAxis::Namespace:
        if (from.declaration || node->type != XML_ELEMENT_NODE) return;
        for (xmlNs const * const declaration : NamespacesOn(node, budget))
            if (!visit(PathNode{node, declaration})) return;
        return;
    }
}

} // namespace KZPlatform::LibXml2
