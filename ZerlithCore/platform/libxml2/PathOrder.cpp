// Sorts nodes by their order in the document. Nodes have no numbers, since every change of a document would have to renumber
// them. Instead the nodes and everything above them are taken as a small tree. Where it branches, the branches are ordered by
// finding them among the children of that node in the document. A walk through the small tree then meets the nodes in order.
// The time is the size of the small tree plus the number of children where it branches.
#include "ZerlithCore/platform/libxml2/PathValue.h"

#include <algorithm>
#include <span>
#include <unordered_map>

namespace KZPlatform::LibXml2 {

namespace {

struct Edge {
    xmlNode * parent;
    xmlNode * child;
};

// The element of a declaration or an attribute; for other nodes the node itself.
xmlNode * PlaceOf(PathNode const & node) noexcept {
    return node.declaration || node.IsAttribute() ? node.Parent().node : node.node;
}

// Whether `left` comes before `right` among their siblings. It searches in both directions by turns, so the time is the
// distance between the two.
bool IsBefore(xmlNode const * left, xmlNode const * right, PathBudget & budget) {
    xmlNode const * back = left->prev;
    for (xmlNode const * on = left->next; on || back;) {
        budget.Spend();
        if (on == right) return true;
        if (back == right) return false;
        if (on) on = on->next;
        if (back) back = back->prev;
    }
    return false;
}

class Order {
    struct Key {
        std::size_t place;
        int kind; // the order at one place: 0 the node, 1 declarations in the order given, 2 attributes
        PathNode node;
    };

public:
    Order(std::vector<PathNode> const & nodes, PathBudget & budget) : budget_(budget) {
        Climb(nodes);
        Gather();
    }

    std::vector<PathNode> Sorted(std::vector<PathNode> const & nodes) {
        NumberPlaces();
        std::vector<Key> keys;
        keys.reserve(nodes.size());
        for (PathNode const & node : nodes)
            keys.push_back({numbers_.at(PlaceOf(node)),
                            node.declaration     ? 1
                            : node.IsAttribute() ? 2
                                                 : 0,
                            node});
        std::ranges::stable_sort(keys, [this](Key const & left, Key const & right) {
            if (left.place != right.place) return left.place < right.place;
            if (left.kind != right.kind) return left.kind < right.kind;
            return left.kind == 2 && left.node != right.node &&
                   IsBefore(left.node.node, right.node.node, budget_);
        });
        std::vector<PathNode> sorted(keys.size());
        std::ranges::transform(keys, sorted.begin(), &Key::node);
        return sorted;
    }

private:
    void Climb(std::vector<PathNode> const & nodes) {
        for (PathNode const & node : nodes) {
            xmlNode * at = PlaceOf(node);
            while (numbers_.emplace(at, 0).second) {
                budget_.Spend(4);
                if (!at->parent) {
                    roots_.push_back(at);
                    break;
                }
                edges_.push_back({at->parent, at});
                at = at->parent;
            }
        }
    }

    // Sorts the edges, so that those of one parent are together and their children are in document order.
    void Gather() {
        std::ranges::sort(edges_, {}, &Edge::parent);
        for (auto first = edges_.begin(); first != edges_.end();) {
            auto const last = std::find_if(first, edges_.end(),
                                           [&](Edge const & edge) { return edge.parent != first->parent; });
            OrderChildren(std::span(first, last));
            first = last;
        }
    }

    void OrderChildren(std::span<Edge> edges) {
        if (edges.size() == 2 && !IsBefore(edges[0].child, edges[1].child, budget_))
            std::swap(edges[0], edges[1]);
        if (edges.size() <= 2) return;
        std::size_t found = 0;
        for (xmlNode * child = edges[0].parent->children; found < edges.size(); child = child->next) {
            budget_.Spend();
            if (numbers_.contains(child)) edges[found++].child = child;
        }
    }

    [[nodiscard]] std::span<Edge const> Below(xmlNode * parent) const {
        auto const first = std::ranges::lower_bound(edges_, parent, {}, &Edge::parent);
        return {first, std::ranges::upper_bound(first, edges_.end(), parent, {}, &Edge::parent)};
    }

    void NumberPlaces() {
        std::size_t number = 0;
        std::vector<std::span<Edge const>> open; // the children still to be walked, one span for each level
        for (xmlNode * const root : roots_) {
            numbers_[root] = number++;
            open.push_back(Below(root));
            while (!open.empty()) {
                if (open.back().empty()) {
                    open.pop_back();
                    continue;
                }
                xmlNode * const at = open.back().front().child;
                open.back() = open.back().subspan(1);
                numbers_[at] = number++;
                open.push_back(Below(at));
            }
        }
    }

    PathBudget & budget_;
    std::unordered_map<xmlNode *, std::size_t> numbers_; // the place of each node of the small tree
    std::vector<Edge> edges_;
    std::vector<xmlNode *> roots_; // in the order in which the nodes were given
};

} // namespace

void SortPathNodes(PathNodes & nodes, PathBudget & budget) {
    if (!nodes.isOrdered && nodes.list.size() > 1) nodes.list = Order(nodes.list, budget).Sorted(nodes.list);
    nodes.isOrdered = true;
}

} // namespace KZPlatform::LibXml2
