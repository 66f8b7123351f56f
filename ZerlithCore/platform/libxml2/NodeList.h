/// @file
/// Lists of nodes: what a path found, or the children of a node at one moment.
#pragma once

#include "ZerlithCore/platform/libxml2/Tree.h"

namespace KZPlatform::LibXml2 {

/// The nodes of a list, which are all of one tree to begin with. Objects are made when a node is asked for, or when the
/// tree is about to lose nodes.
class NodeList final : public DocumentNodeList {
public:
    NodeList(Tree & tree, std::vector<xmlNode *> nodes);
    NodeList(NodeList const &) = delete;
    NodeList & operator=(NodeList const &) = delete;

    unsigned long AddRef() const override;
    unsigned long Release() const override;

    [[nodiscard]] std::size_t Length() const noexcept override;
    [[nodiscard]] DocumentNode * Next(bool elementsOnly) override;
    void Reset() noexcept override { next_ = 0; }

    /// Holds the objects of all nodes from now on.
    void Pin();

private:
    ~NodeList();

    mutable std::atomic<std::uint32_t> references_{0};
    Tree & tree_;
    std::vector<xmlNode *> nodes_;       // until they are pinned
    std::vector<DocumentNode *> pinned_; // with a reference each
    std::size_t next_ = 0;
};

} // namespace KZPlatform::LibXml2
