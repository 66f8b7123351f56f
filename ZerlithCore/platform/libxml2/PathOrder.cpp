// Order in a document. Nodes have no numbers of their own, which every change of the tree would have to keep right. So the
// nodes and all that is above them are taken as a tree of their own; where that branches, the branches are put in order by
// looking for them among the children there; and a walk through it meets the nodes in order. That takes as long as
// the small tree is large, and the children are many where it branches.
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

// The node where a declaration or an attribute stands, else the node itself.
xmlNode * PlaceOf(PathNode const & node) noexcept {
    return node.declaration || node.IsAttribute() ? node.Parent().node : node.node;
}

// Whether `left` comes before `right` among their siblings. The search goes both ways at once.
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
        int kind; // at one place: the node, declarations as they came, attributes
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

    // Puts the edges of each parent side by side, with the children in order.
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
        auto const [first, last] = std::ranges::equal_range(edges_, parent, {}, &Edge::parent);
        return {first, last};
    }

    void NumberPlaces() {
        std::size_t number = 0;
        std::vector<std::span<Edge const>> open; // what is still to be walked, a span a level
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
    std::unordered_map<xmlNode *, std::size_t> numbers_; // of the small tree's nodes
    std::vector<Edge> edges_;
    std::vector<xmlNode *> roots_; // in the order in which the nodes led to them
};

} // namespace

void SortPathNodes(PathNodes & nodes, PathBudget & budget) {
    if (!nodes.isOrdered && nodes.list.size() > 1) nodes.list = Order(nodes.list, budget).Sorted(nodes.list);
    nodes.isOrdered = true;
}

} // namespace KZPlatform::LibXml2
