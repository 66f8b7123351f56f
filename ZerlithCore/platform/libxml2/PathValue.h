/// @file
/// The values of expressions, and a limit for the work of an evaluation.
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

/// The work that an evaluation may still do. A unit is one visit of a node or a few bytes of text.
///
/// Everything whose time grows with a document or a text spends from it, before or during the work.
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
    /// For text that is read, and for text that is made. The latter costs more, since it also takes memory.
    void SpendOnReading(std::size_t bytes) { Spend(bytes / 32); }
    void SpendOnMaking(std::size_t bytes) { Spend(bytes / 4); }

private:
    std::uint64_t left_;
};

/// A node, or a declaration of a namespace that is in scope on the element `node`.
struct PathNode {
    xmlNode * node = nullptr;
    xmlNs const * declaration = nullptr;

    bool operator==(PathNode const &) const = default;
    [[nodiscard]] bool IsAttribute() const noexcept {
        return !declaration && node->type == XML_ATTRIBUTE_NODE;
    }
    /// The parent; its `node` is null if there is none.
    [[nodiscard]] PathNode Parent() const noexcept { return {declaration ? node : node->parent, nullptr}; }
};

struct PathNodeHash {
    std::size_t operator()(PathNode const & node) const noexcept {
        return std::hash<void const *>()(node.node) ^ std::hash<void const *>()(node.declaration) << 1;
    }
};
using PathNodeSet = std::unordered_set<PathNode, PathNodeHash>;

/// A set of nodes; none occurs twice.
struct PathNodes {
    std::vector<PathNode> list;
    bool isOrdered = true; // they are in document order
    bool isFlat = true;    // none is below another
    bool isTree = false;   // a variable's content that a template made; only its text may be used
};

using PathValue = std::variant<PathNodes, bool, double, std::string>;

/// Sorts nodes in document order. After an element come its declarations, then its attributes.
void SortPathNodes(PathNodes & nodes, PathBudget & budget);

/// The text of a node: a view of the node's own text if it has one piece, otherwise of `room`, where the pieces are joined.
[[nodiscard]] std::string_view TextOf(PathNode const & node, std::string & room, PathBudget & budget);

[[nodiscard]] double NumberOf(std::string_view text, PathBudget & budget);
[[nodiscard]] bool TruthOf(PathValue const & value);
/// The value as a number or a text. For nodes it is that of the first one; for this the nodes are sorted.
[[nodiscard]] double NumberOf(PathValue & value, PathBudget & budget);
[[nodiscard]] std::string TextOf(PathValue value, PathBudget & budget);

/// Whether the comparison is true by the rules of XPath. For nodes it is true if it is true for one of them.
[[nodiscard]] bool Compare(PathOperator how, PathValue & left, PathValue & right, PathBudget & budget);

} // namespace KZPlatform::LibXml2
