/// @file
/// Evaluation of XPath expressions on a tree.
#pragma once

#include "ZerlithCore/platform/libxml2/PathExpression.h"
#include "ZerlithCore/platform/libxml2/PathValue.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace KZPlatform::LibXml2 {

/// The node for which an expression is evaluated, and its position among the nodes that are being filtered.
struct PathContext {
    PathNode node;
    std::size_t position = 1;
    std::size_t size = 1;
};

/// Provides the variables, and the functions that XPath doesn't define. `uri` is the namespace of the name's prefix, or empty
/// for a name without a prefix.
class PathHost {
public:
    virtual PathValue Variable(std::string const & name, std::string const & uri) = 0;
    virtual PathValue Call(std::string const & name, std::string const & uri,
                           std::vector<PathValue> arguments, PathContext const & context) = 0;

protected:
    ~PathHost() = default;
};

/// Evaluates expressions; `uris` has the namespace of each of their prefixes.
///
/// A step is taken from all nodes of a set together. So a set never has more nodes than the document, and a node isn't visited
/// again because two nodes of the set lead to it. Only for predicates that ask for a position is a step taken from each node by
/// itself.
///
/// Errors, thrown: PathFailure, std::bad_alloc.
class PathEvaluator {
public:
    /// `root` is the node that "/" means. Without a `host` there are no variables and only the functions of XPath.
    PathEvaluator(xmlNode * root, std::span<std::string const> uris, PathBudget & budget, PathHost * host)
        : root_(root), uris_(uris), budget_(budget), host_(host) {}

    [[nodiscard]] PathValue Evaluate(PathExpression const & expression, PathContext const & context) {
        return Evaluate(expression, context, Want::All);
    }
    [[nodiscard]] bool IsTrue(PathExpression const & expression, PathContext const & context);
    /// The value of the expression as text.
    [[nodiscard]] std::string Text(PathExpression const & expression, PathContext const & context) {
        return TextOf(Evaluate(expression, context, Want::First), budget_);
    }
    /// The nodes in document order; with `firstOnly` at least the first one.
    [[nodiscard]] PathNodes Nodes(PathExpression const & expression, PathContext const & context,
                                  bool firstOnly);

private:
    // Which nodes are needed: all, the first one in the document, or any one. More may be returned.
    enum class Want : unsigned char { All, First, Any };

    PathValue Evaluate(PathExpression const & expression, PathContext const & context, Want want);
    PathValue EvaluateChain(PathExpression const & chain, PathContext const & context);
    PathValue Compute(PathExpression const & chain, PathContext const & context);
    PathNodes Unite(PathExpression const & chain, PathContext const & context);
    [[nodiscard]] PathExpression const * LiteralBeside(PathExpression const & chain,
                                                       PathExpression const *& path) const;

    PathNodes EvaluatePath(PathExpression const & path, PathContext const & context, Want want);
    PathNodes Start(PathExpression const & path, PathContext const & context);
    PathNodes Take(PathStep const & step, PathNodes from, Want want);
    PathNodes TakeEach(PathStep const & step, PathNodes const & from, Want want);
    PathNodes TakeBelow(PathStep const & step, PathNodes from, Want want);
    PathNodes TakeUpwards(PathStep const & step, PathNodes const & from);
    PathNodes TakeSiblings(PathStep const & step, PathNodes from);
    PathNodes TakeWithPositions(PathStep const & step, PathNodes const & from);
    void Filter(std::vector<PathNode> & nodes, PathExpression const & predicate);
    [[nodiscard]] bool Accepts(PathStep const & step, PathNode const & node);
    [[nodiscard]] bool Holds(PathExpression const & predicate, PathContext const & context);
    [[nodiscard]] bool Matches(PathTest const & test, PathAxis axis, PathNode const & node) const;
    [[nodiscard]] std::string_view UriOf(PathPrefix prefix) const;

    PathValue Call(PathExpression const & call, PathContext const & context);
    PathValue CallHost(PathExpression const & call, PathContext const & context);
    // The argument with that number, or the context node if the call has fewer arguments.
    [[nodiscard]] PathValue Argument(PathExpression const & call, std::size_t number,
                                     PathContext const & context);
    [[nodiscard]] std::string TextArgument(PathExpression const & call, std::size_t number,
                                           PathContext const & context);
    [[nodiscard]] double NumberArgument(PathExpression const & call, std::size_t number,
                                        PathContext const & context);
    [[nodiscard]] PathNodes NodesArgument(PathExpression const & call, PathContext const & context);
    [[nodiscard]] std::string NameOfArgument(PathExpression const & call, PathContext const & context);
    [[nodiscard]] PathNodes FindIds(PathExpression const & call, PathContext const & context);
    [[nodiscard]] bool HasLanguage(PathExpression const & call, PathContext const & context);
    [[nodiscard]] std::string Concat(PathExpression const & call, PathContext const & context);
    [[nodiscard]] std::string Substring(PathExpression const & call, PathContext const & context);
    [[nodiscard]] std::string SubstringAfter(PathExpression const & call, PathContext const & context);
    [[nodiscard]] std::string SubstringBefore(PathExpression const & call, PathContext const & context);
    [[nodiscard]] std::size_t Find(std::string_view text, std::string_view part);
    [[nodiscard]] double Sum(PathNodes const & nodes);

    xmlNode * root_;
    std::span<std::string const> uris_;
    PathBudget & budget_;
    PathHost * host_;
};

} // namespace KZPlatform::LibXml2
