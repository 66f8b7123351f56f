/// @file
/// Evaluates the expressions of a stylesheet for libxslt.
#pragma once

#include "ZerlithCore/platform/libxml2/PathEvaluator.h"
#include "ZerlithCore/platform/libxml2/StylesheetProgram.h"

#include <libxml/xpath.h>
#include <libxslt/xsltInternals.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace KZPlatform::LibXml2 {

/// What the expressions of one transformation need: their budget, and the variables and functions of libxslt. It also keeps the
/// first failure, which stops the transformation.
class TransformHost final : public PathHost {
public:
    TransformHost(StylesheetProgram const & program, xsltTransformContext & transform, std::uint64_t work);
    TransformHost(TransformHost const &) = delete;
    TransformHost & operator=(TransformHost const &) = delete;

    [[nodiscard]] std::optional<PathFailure> Failure() const noexcept { return failure_; }

    PathValue Variable(std::string const & name, std::string const & uri) override;
    PathValue Call(std::string const & name, std::string const & uri, std::vector<PathValue> arguments,
                   PathContext const & context) override;

private:
    using KeyName = std::pair<xmlDoc const *, std::pair<std::string, std::string>>;

    static void OnCall(xmlXPathParserContext * parser, int count) noexcept;

    [[nodiscard]] xmlXPathObject * Evaluate(StylesheetExpression const & expression);
    [[nodiscard]] xmlXPathObject * Use(StylesheetExpression const & expression, PathValue value);
    [[nodiscard]] std::string SortKey(PathValue value);
    [[nodiscard]] bool HasKey(std::vector<PathValue> arguments, PathContext const & context);
    void SpendOnArgument(PathValue const & argument);
    void SpendOnKeys(PathValue const & value);
    void SpendOnSiblings(xmlNode * node);
    void SpendOnSubtrees(PathNodes const & nodes, std::uint64_t each);
    void SpendOnSubtree(xmlNode * top, std::uint64_t each);
    void SpendOnNode(xmlNode const & node, std::uint64_t each);
    [[nodiscard]] std::uint64_t AttributesAtWork() const noexcept;
    void SpendOnNumbering(xmlNode * node, bool isAnyLevel);
    void SpendOnSorting(PathNodes const & nodes);
    [[nodiscard]] xmlXPathObject * ObjectOf(PathValue value);
    [[nodiscard]] xmlXPathObject * ObjectOf(PathNodes nodes);
    [[nodiscard]] PathValue ValueOf(xmlXPathObject & object, bool isOrdered);

    StylesheetProgram const & program_;
    xsltTransformContext & transform_;
    PathBudget budget_;
    std::optional<PathFailure> failure_;
    xmlXPathParserContext * parser_ = nullptr; // the context of the innermost call
    xmlNode * lastMatched_ = nullptr;
    std::uint64_t lastSiblings_ = 0;
    std::map<KeyName, PathNodeSet> keys_; // the nodes of the keys that patterns have asked for
    std::unordered_map<std::string, std::uint64_t> keyValues_;
};

} // namespace KZPlatform::LibXml2
