// The axes of paths, and the namespaces in scope at an element.
#include "ZerlithCore/platform/libxml2/PathAxes.h"

namespace KZPlatform::LibXml2 {

namespace {

xmlNs const & DeclarationOfXml() {
    static xmlNs const declaration = [] {
        xmlNs ns{};
        ns.type = XML_NAMESPACE_DECL;
        ns.href = XML_XML_NAMESPACE;
        ns.prefix = Chars("xml");
        return ns;
    }();
    return declaration;
}

} // namespace

// An inner declaration hides outer ones of the same prefix, even if it is xmlns="", which declares that there is no namespace.
std::vector<xmlNs const *> NamespacesOn(xmlNode const * element, PathBudget & budget) {
    std::vector<xmlNs const *> all{&DeclarationOfXml()};
    for (xmlNode const * at = element; at && at->type == XML_ELEMENT_NODE; at = at->parent) {
        budget.Spend();
        for (xmlNs const * own = at->nsDef; own; own = own->next) {
            budget.Spend(1 + all.size());
            bool const isHidden = std::ranges::any_of(
                all, [own](xmlNs const * inner) { return View(inner->prefix) == View(own->prefix); });
            if (!isHidden) all.push_back(own);
        }
    }
    std::reverse(all.begin() + 1, all.end()); // the outermost first
    std::erase_if(all, [](xmlNs const * declaration) { return View(declaration->href).empty(); });
    return all;
}

PathNode EndingFirst(PathNodes const & nodes, PathBudget & budget) {
    PathNode first = nodes.list.front();
    for (PathNode const & node : nodes.list) {
        xmlNode const * const outer = PathDetail::Anchor(first);
        xmlNode const * at = PathDetail::Anchor(node);
        for (; at && at != outer; at = at->parent) budget.Spend();
        if (!at) break; // `node` comes after the subtree of `first`, and so do all later ones
        first = node;
    }
    return first;
}

} // namespace KZPlatform::LibXml2
