/// @file
/// What expressions give, and what their evaluation may cost.
#pragma once

#include "ZerlithCore/platform/libxml2/PathExpression.h"
#include "ZerlithCore/platform/libxml2/Tree.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <variant>
#include <vector>

namespace KZPlatform::LibXml2 {

/// The work that an evaluation may still do, in units: a node looked at, or some bytes of text.
///
/// Whatever takes time that grows with a document or a text spends from it, before or while it does the work.
class PathBudget {
public:
    explicit PathBudget(std::uint64_t units) noexcept : left_(units) {}

    /// Errors, thrown: PathFailure::Work.
    void Spend(std::uint64_t units = 1) {
        if (units > left_) {
            left_ = 0;
            throw PathFailure::Work;
        }
        left_ -= units;
    }
    /// For text that is looked through, and for text that is made, which takes memory besides.
    void SpendOnReading(std::size_t bytes) { Spend(bytes / 32); }
    void SpendOnMaking(std::size_t bytes) { Spend(bytes / 4); }

private:
    std::uint64_t left_;
};

/// A node, or the declaration of a namespace as it holds on the element `node`.
struct PathNode {
    xmlNode * node = nullptr;
    xmlNs const * declaration = nullptr;

    bool operator==(PathNode const &) const = default;
    [[nodiscard]] bool IsAttribute() const noexcept {
        return !declaration && node->type == XML_ATTRIBUTE_NODE;
    }
    /// The node above, whose node is null at the top.
    [[nodiscard]] PathNode Parent() const noexcept { return {declaration ? node : node->parent, nullptr}; }
};

struct PathNodeHash {
    std::size_t operator()(PathNode const & node) const noexcept {
        return std::hash<void const *>()(node.node) ^ std::hash<void const *>()(node.declaration) << 1;
    }
};
using PathNodeSet = std::unordered_set<PathNode, PathNodeHash>;

/// Distinct nodes.
struct PathNodes {
    std::vector<PathNode> list;
    bool isOrdered = true; // as in the document
    bool isFlat = true;    // none stands below another
    bool isTree = false;   // what a template made for a variable: of use for its text only
};

using PathValue = std::variant<PathNodes, bool, double, std::string>;

/// Orders nodes as they stand in their documents; a declaration comes behind its element, an attribute behind those.
void SortPathNodes(PathNodes & nodes, PathBudget & budget);

/// The text of a node: a view of its own, or of `room`.
[[nodiscard]] std::string_view TextOf(PathNode const & node, std::string & room, PathBudget & budget);

[[nodiscard]] double NumberOf(std::string_view text, PathBudget & budget);
[[nodiscard]] bool TruthOf(PathValue const & value);
/// Of nodes, those of the first one; they are sorted then.
[[nodiscard]] double NumberOf(PathValue & value, PathBudget & budget);
[[nodiscard]] std::string TextOf(PathValue value, PathBudget & budget);

/// Whether `left` and `right` compare, as XPath has it: with nodes, one that compares is enough.
[[nodiscard]] bool Compare(PathOperator how, PathValue & left, PathValue & right, PathBudget & budget);

} // namespace KZPlatform::LibXml2
