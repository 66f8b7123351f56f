// Where possible, a step from many nodes finds its nodes in document order without sorting. If no node of a set is below
// another, their children are found in order. Descendants are found in order if a node is left out that is below one whose
// descendants were walked already. Other results are sorted only when their order is needed.
#include "ZerlithCore/platform/libxml2/PathEvaluator.h"

#include "ZerlithCore/platform/libxml2/PathAxes.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace KZPlatform::LibXml2 {

namespace {

using Kind = PathExpression::Kind;

// Whether the path is a single step from the context node, which is the most common operand of a comparison.
bool IsSingleStep(PathExpression const & path) noexcept {
    return path.kind == Kind::Path && !path.isAbsolute && path.operands.empty() && path.steps.size() == 1 &&
           path.steps.front().predicates.empty();
}

// An empty set, with `isOrdered` and `isFlat` as they will be when the axis has been walked from each node of `from`.
PathNodes NothingFrom(PathNodes const & from, PathAxis axis) {
    PathNodes found;
    bool const isFlat = from.isFlat && LeadsToDistinctNodes(axis);
    if (from.list.size() == 1) {
        found.isFlat = IsFlat(axis);
    } else {
        found.isFlat = isFlat;
        found.isOrdered = from.isOrdered && LeadsToDistinctNodes(axis) && (axis != PathAxis::Child || isFlat);
    }
    return found;
}

PathNodes RequireNodes(PathValue value) {
    auto * const nodes = std::get_if<PathNodes>(&value);
    if (!nodes || nodes->isTree) throw PathFailure::Type;
    return std::move(*nodes);
}

} // namespace

// --- Expressions

PathValue PathEvaluator::Evaluate(PathExpression const & expression, PathContext const & context, Want want) {
    budget_.Spend();
    switch (expression.kind) {
    case Kind::Number: return expression.number;
    case Kind::Literal: budget_.SpendOnReading(expression.text.size()); return expression.text;
    case Kind::Variable:
        if (!host_) throw PathFailure::Variable;
        return host_->Variable(expression.text, std::string(UriOf(expression.prefix)));
    case Kind::Call: return Call(expression, context);
    case Kind::Negation: {
        PathValue value = Evaluate(expression.operands.front(), context, Want::First);
        return expression.number * NumberOf(value, budget_);
    }
    case Kind::Chain: return EvaluateChain(expression, context);
    default: return EvaluatePath(expression, context, want);
    }
}

bool PathEvaluator::IsTrue(PathExpression const & expression, PathContext const & context) {
    return TruthOf(Evaluate(expression, context, Want::Any));
}

PathNodes PathEvaluator::Nodes(PathExpression const & expression, PathContext const & context,
                               bool firstOnly) {
    PathNodes nodes = RequireNodes(Evaluate(expression, context, firstOnly ? Want::First : Want::All));
    SortPathNodes(nodes, budget_);
    return nodes;
}

PathValue PathEvaluator::EvaluateChain(PathExpression const & chain, PathContext const & context) {
    switch (chain.operators.front()) {
    case PathOperator::Or:
    case PathOperator::And: {
        bool const isDecisive = chain.operators.front() == PathOperator::Or;
        return std::ranges::any_of(chain.operands, [&](PathExpression const & operand) {
                   return IsTrue(operand, context) == isDecisive;
               }) == isDecisive;
    }
    case PathOperator::Union: return Unite(chain, context);
    case PathOperator::Plus:
    case PathOperator::Minus:
    case PathOperator::Times:
    case PathOperator::Divide:
    case PathOperator::Modulo: return Compute(chain, context);
    default: break;
    }
    PathExpression const * path = nullptr;
    if (PathExpression const * const literal = LiteralBeside(chain, path)) {
        PathStep const & step = path->steps.front();
        bool isFound = false;
        std::string room;
        WalkAxis(step.axis, context.node, budget_, [&](PathNode const & node) {
            isFound = Matches(step.test, step.axis, node) && TextOf(node, room, budget_) == literal->text;
            return !isFound;
        });
        return isFound;
    }
    PathValue value = Evaluate(chain.operands.front(), context);
    for (std::size_t i = 0; i < chain.operators.size(); ++i) {
        PathValue right = Evaluate(chain.operands[i + 1], context);
        value = Compare(chain.operators[i], value, right, budget_);
    }
    return value;
}

// The literal of a comparison "step = 'literal'" or the reverse, with the step in `path`; null for other comparisons.
PathExpression const * PathEvaluator::LiteralBeside(PathExpression const & chain,
                                                    PathExpression const *& path) const {
    if (chain.operators.size() != 1 || chain.operators.front() != PathOperator::Equal) return nullptr;
    PathExpression const & left = chain.operands.front();
    PathExpression const & right = chain.operands.back();
    path = IsSingleStep(left) ? &left : &right;
    PathExpression const & other = path == &left ? right : left;
    return IsSingleStep(*path) && other.kind == Kind::Literal ? &other : nullptr;
}

PathValue PathEvaluator::Compute(PathExpression const & chain, PathContext const & context) {
    auto const operand = [&](std::size_t number) {
        PathValue value = Evaluate(chain.operands[number], context, Want::First);
        return NumberOf(value, budget_);
    };
    double result = operand(0);
    for (std::size_t i = 0; i < chain.operators.size(); ++i) {
        double const right = operand(i + 1);
        switch (chain.operators[i]) {
        case PathOperator::Plus: result += right; break;
        case PathOperator::Minus: result -= right; break;
        case PathOperator::Times: result *= right; break;
        case PathOperator::Divide: result /= right; break;
        default: result = std::fmod(result, right); break;
        }
    }
    return result;
}

PathNodes PathEvaluator::Unite(PathExpression const & chain, PathContext const & context) {
    PathNodes all;
    PathNodeSet seen;
    for (PathExpression const & operand : chain.operands) {
        PathNodes nodes = RequireNodes(Evaluate(operand, context));
        if (all.list.empty()) {
            all = std::move(nodes);
            continue;
        }
        if (nodes.list.empty()) continue;
        if (seen.empty()) seen.insert(all.list.begin(), all.list.end());
        budget_.Spend(all.list.size() + nodes.list.size());
        for (PathNode const & node : nodes.list)
            if (seen.insert(node).second) all.list.push_back(node);
        all.isOrdered = all.isFlat = false;
    }
    return all;
}

// --- Paths

PathNodes PathEvaluator::EvaluatePath(PathExpression const & path, PathContext const & context, Want want) {
    PathNodes nodes = Start(path, context);
    for (std::size_t i = 0; i < path.steps.size() && !nodes.list.empty(); ++i)
        nodes = Take(path.steps[i], std::move(nodes), i + 1 == path.steps.size() ? want : Want::All);
    return nodes;
}

PathNodes PathEvaluator::Start(PathExpression const & path, PathContext const & context) {
    PathNodes nodes;
    if (path.operands.empty()) {
        nodes.list.push_back(path.isAbsolute ? PathNode{root_, nullptr} : context.node);
        return nodes;
    }
    nodes = RequireNodes(Evaluate(path.operands.front(), context));
    if (!path.predicates.empty()) SortPathNodes(nodes, budget_);
    for (PathExpression const & predicate : path.predicates) Filter(nodes.list, predicate);
    return nodes;
}

PathNodes PathEvaluator::Take(PathStep const & step, PathNodes from, Want want) {
    if (std::ranges::any_of(step.predicates, &PathExpression::IsPositional))
        return TakeWithPositions(step, from);
    if (from.list.size() == 1 || LeadsToDistinctNodes(step.axis)) return TakeEach(step, from, want);
    switch (step.axis) {
    case PathAxis::Descendant:
    case PathAxis::DescendantOrSelf: return TakeBelow(step, std::move(from), want);
    case PathAxis::FollowingSibling:
    case PathAxis::PrecedingSibling: return TakeSiblings(step, std::move(from));
    case PathAxis::Following:
    case PathAxis::Preceding: {
        // Nodes that follow any node of the set follow the one that ends first. Nodes that precede any precede the last one.
        SortPathNodes(from, budget_);
        PathNodes one;
        one.list.push_back(step.axis == PathAxis::Preceding ? from.list.back() : EndingFirst(from, budget_));
        return Take(step, std::move(one), want);
    }
    default: return TakeUpwards(step, from);
    }
}

// Walks from each node by itself, since no two walks find the same node.
PathNodes PathEvaluator::TakeEach(PathStep const & step, PathNodes const & from, Want want) {
    PathNodes found = NothingFrom(from, step.axis);
    bool const isReverse = IsReverse(step.axis);
    bool const mayStop = want == Want::Any || (want == Want::First && found.isOrdered && !isReverse);
    for (PathNode const & start : from.list) {
        WalkAxis(step.axis, start, budget_, [&](PathNode const & node) {
            if (Accepts(step, node)) found.list.push_back(node);
            return !mayStop || found.list.empty();
        });
        if (mayStop && !found.list.empty()) break;
    }
    if (isReverse) std::ranges::reverse(found.list);
    return found;
}

// Takes descendants. A node below one that was walked is skipped, since the walk has visited its descendants already. The walk
// doesn't visit attributes and declarations, so these are never skipped.
PathNodes PathEvaluator::TakeBelow(PathStep const & step, PathNodes from, Want want) {
    SortPathNodes(from, budget_);
    PathNodes found;
    found.isFlat = false;
    std::vector<PathNode> tops;
    for (PathNode const & node : from.list) {
        if (!node.declaration && !node.IsAttribute()) {
            tops.push_back(node);
        } else if (step.axis == PathAxis::DescendantOrSelf && Accepts(step, node)) {
            found.list.push_back(node);
            found.isOrdered = false;
        }
    }
    bool const mayStop = want == Want::Any || (want == Want::First && found.isOrdered);
    for (std::size_t next = 0; next < tops.size() && !(mayStop && !found.list.empty());) {
        PathNode const top = tops[next++];
        WalkAxis(PathAxis::DescendantOrSelf, top, budget_, [&](PathNode const & node) {
            if (next < tops.size() && node == tops[next]) ++next;
            if ((node != top || step.axis == PathAxis::DescendantOrSelf) && Accepts(step, node))
                found.list.push_back(node);
            return !mayStop || found.list.empty();
        });
    }
    return found;
}

// Takes parents or ancestors. When a node is met again, all nodes above it have been found already.
PathNodes PathEvaluator::TakeUpwards(PathStep const & step, PathNodes const & from) {
    PathNodes found;
    found.isOrdered = found.isFlat = false;
    PathNodeSet seen;
    for (PathNode const & start : from.list) {
        bool const goesOn = step.axis != PathAxis::Parent;
        PathNode at = step.axis == PathAxis::AncestorOrSelf ? start : start.Parent();
        for (; at.node && seen.insert(at).second; at = at.Parent()) {
            budget_.Spend(2);
            if (Accepts(step, at)) found.list.push_back(at);
            if (!goesOn) break;
        }
    }
    return found;
}

// Takes siblings. Among the children of one parent, the siblings that follow any node of the set are those that follow its
// first node.
PathNodes PathEvaluator::TakeSiblings(PathStep const & step, PathNodes from) {
    SortPathNodes(from, budget_);
    bool const isReverse = step.axis == PathAxis::PrecedingSibling;
    if (isReverse) std::ranges::reverse(from.list);
    PathNodes found;
    std::unordered_set<xmlNode const *> parents;
    for (PathNode const & start : from.list) {
        budget_.Spend(2);
        if (start.declaration || start.IsAttribute()) continue;
        if (!parents.insert(start.node->parent).second) continue;
        WalkAxis(step.axis, start, budget_, [&](PathNode const & node) {
            if (Accepts(step, node)) found.list.push_back(node);
            return true;
        });
    }
    found.isOrdered = found.isFlat = parents.size() <= 1;
    if (isReverse) std::ranges::reverse(found.list);
    return found;
}

PathNodes PathEvaluator::TakeWithPositions(PathStep const & step, PathNodes const & from) {
    PathNodes found = NothingFrom(from, step.axis);
    bool const mayRepeat = from.list.size() > 1 && !LeadsToDistinctNodes(step.axis);
    PathExpression const & first = step.predicates.front();
    double const most = first.kind == Kind::Number ? first.number : HUGE_VAL;
    PathNodeSet seen;
    std::vector<PathNode> nodes;
    for (PathNode const & start : from.list) {
        nodes.clear();
        WalkAxis(step.axis, start, budget_, [&](PathNode const & node) {
            if (Matches(step.test, step.axis, node)) nodes.push_back(node);
            return static_cast<double>(nodes.size()) < most;
        });
        for (PathExpression const & predicate : step.predicates) Filter(nodes, predicate);
        for (PathNode const & node : nodes) {
            if (mayRepeat) budget_.Spend();
            if (!mayRepeat || seen.insert(node).second) found.list.push_back(node);
        }
    }
    if (from.list.size() == 1 && IsReverse(step.axis)) std::ranges::reverse(found.list);
    return found;
}

// Keeps the nodes for which the predicate is true. A node's position is its place in `nodes`.
void PathEvaluator::Filter(std::vector<PathNode> & nodes, PathExpression const & predicate) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < nodes.size(); ++i)
        if (Holds(predicate, {nodes[i], i + 1, nodes.size()})) nodes[kept++] = nodes[i];
    nodes.resize(kept);
}

bool PathEvaluator::Accepts(PathStep const & step, PathNode const & node) {
    return Matches(step.test, step.axis, node) &&
           std::ranges::all_of(step.predicates,
                               [&](PathExpression const & predicate) { return IsTrue(predicate, {node}); });
}

bool PathEvaluator::Holds(PathExpression const & predicate, PathContext const & context) {
    PathValue const value = Evaluate(predicate, context, Want::Any);
    auto const * const number = std::get_if<double>(&value);
    return number ? *number == static_cast<double>(context.position) : TruthOf(value);
}

std::string_view PathEvaluator::UriOf(PathPrefix prefix) const {
    return prefix == noPrefix ? std::string_view() : uris_[static_cast<std::size_t>(prefix)];
}

bool PathEvaluator::Matches(PathTest const & test, PathAxis axis, PathNode const & node) const {
    switch (test.kind) {
    case PathTest::Kind::Node: return IsPathNode(node);
    case PathTest::Kind::Text:
        return !node.declaration &&
               (node.node->type == XML_TEXT_NODE || node.node->type == XML_CDATA_SECTION_NODE);
    case PathTest::Kind::Comment: return !node.declaration && node.node->type == XML_COMMENT_NODE;
    case PathTest::Kind::Instruction:
        return !node.declaration && node.node->type == XML_PI_NODE &&
               (test.name.empty() || View(node.node->name) == test.name);
    default: break;
    }
    bool const isAnyName = test.kind == PathTest::Kind::AnyName;
    if (axis == PathAxis::Namespace)
        return node.declaration &&
               (isAnyName || (test.prefix == noPrefix && View(node.declaration->prefix) == test.name));
    xmlElementType const wanted = axis == PathAxis::Attribute ? XML_ATTRIBUTE_NODE : XML_ELEMENT_NODE;
    if (node.declaration || node.node->type != wanted) return false;
    if (!isAnyName && View(node.node->name) != test.name) return false;
    xmlNs const * const ns = node.node->ns;
    if (test.prefix != noPrefix) return ns && View(ns->href) == UriOf(test.prefix);
    return isAnyName || !ns || (wanted == XML_ATTRIBUTE_NODE && !ns->prefix);
}

} // namespace KZPlatform::LibXml2
