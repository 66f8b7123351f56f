/// @file
/// Lists of nodes: what a path found, or the children of a node at one moment.
#pragma once

#include "ZerlithCore/platform/libxml2/Tree.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace KZPlatform::LibXml2 {

/// The nodes of a list, which are all of one tree at first. Objects for them are made when a node is asked for, or before nodes
/// are removed from the tree.
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

    /// Makes objects for all nodes and holds references on them from now on.
    void Pin();

private:
    ~NodeList();

    mutable std::atomic<std::uint32_t> references_{0};
    Tree & tree_;
    std::vector<xmlNode *> nodes_;       // before `Pin`
    std::vector<DocumentNode *> pinned_; // after `Pin`, with a reference on each
    std::size_t next_ = 0;
};

} // namespace KZPlatform::LibXml2
