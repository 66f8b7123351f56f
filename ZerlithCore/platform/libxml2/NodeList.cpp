// A list refers to libxml2's nodes and makes an object for a node only when that is asked for.
#include "ZerlithCore/platform/libxml2/NodeList.h"

#include <utility>

namespace KZPlatform::LibXml2 {

NodeList::NodeList(Tree & tree, std::vector<xmlNode *> nodes) : tree_(tree), nodes_(std::move(nodes)) {
    tree_.Register(*this);
    tree_.Hold();
}

NodeList::~NodeList() {
    tree_.Unregister(*this);
    for (DocumentNode * const node : pinned_) node->Release();
    tree_.Drop();
}

unsigned long NodeList::AddRef() const { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }

unsigned long NodeList::Release() const {
    unsigned long const left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
}

std::size_t NodeList::Length() const noexcept { return nodes_.size() + pinned_.size(); }

DocumentNode * NodeList::Next(bool elementsOnly) {
    for (; next_ < nodes_.size(); ++next_)
        if (!elementsOnly || nodes_[next_]->type == XML_ELEMENT_NODE) return tree_.Wrap(nodes_[next_++]);
    for (; next_ < pinned_.size(); ++next_)
        if (!elementsOnly || pinned_[next_]->Kind() == DocumentNodeKind::Element) return pinned_[next_++];
    return nullptr;
}

void NodeList::Pin() {
    if (nodes_.empty()) return;
    pinned_.reserve(nodes_.size());
    for (xmlNode * const node : nodes_) {
        DocumentNode * const object = tree_.Wrap(node);
        object->AddRef();
        pinned_.push_back(object);
    }
    nodes_.clear();
}

} // namespace KZPlatform::LibXml2
