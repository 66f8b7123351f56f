/// @file
/// The expressions of a stylesheet, taken out of it.
#pragma once

#include "ZerlithCore/platform/libxml2/Library.h"
#include "ZerlithCore/platform/libxml2/PathExpression.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace KZPlatform::LibXml2 {

/// The namespace of XSLT's elements.
inline constexpr std::string_view XsltNamespace = "http://www.w3.org/1999/XSL/Transform";
/// The function that stands in a stylesheet in the place of an expression, with its number as argument.
inline constexpr char ExpressionFunction[] = "kz-expression";
/// The function that stands for a pattern "key(name, value)", with the same arguments.
inline constexpr char HasKeyFunction[] = "kz-has-key";

/// What becomes of an expression's value, and so what it costs beside the evaluation.
enum class ExpressionUse : std::uint8_t {
    Value,        // of a variable; nodes for a loop
    Text,         // goes to the result
    Number,       // is formatted
    Truth,        // is a condition
    Copy,         // nodes that are copied with all that is below
    Templates,    // nodes that are walked through, at most, for templates
    SortKey,      // is compared with those of the other nodes
    KeyValue,     // is what a node is found by
    Pattern,      // is a predicate of a pattern
    Numbering,    // none: the nodes that xsl:number counts are counted
    Attribute,    // none: an attribute is compared with those that the element has already
    AttributeSet, // none: so were all that the element has now
    Weight        // none: a piece of the stylesheet is copied
};

struct StylesheetExpression {
    PathExpression expression;
    std::vector<std::string> uris; // of its prefixes
    ExpressionUse use = ExpressionUse::Value;
    bool isAnyLevel = false;  // of xsl:number
    bool isOfContext = false; // the attribute is the context, if that is one
    std::uint64_t weight = 0;
};

/// The expressions of one stylesheet by their numbers.
///
/// libxslt evaluates by libxml2, which counts too little of its work (Paths.cpp tells more). So each expression in a
/// stylesheet is replaced by a call of one function, which evaluates it here. Work of libxslt's own that grows with the
/// document or the stylesheet is counted by expressions that are put in: as conditions of xsl:if that never hold.
class StylesheetProgram {
public:
    /// Takes the expressions out of `doc`. Errors: BadStylesheet, LimitExceeded.
    [[nodiscard]] DocumentResult Take(xmlDoc * doc);

    [[nodiscard]] StylesheetExpression const * Find(double number) const noexcept;
    /// How many templates may have to be tried for one node.
    [[nodiscard]] std::size_t TemplatesForANode() const noexcept;

private:
    void TakeFrom(xmlNode * element);
    void TakeAttribute(xmlNode * element, xmlAttr * attribute, bool isXslt);
    void CountTemplate(xmlNode * element);
    void CountText(xmlNode * text);
    void AddDefault(xmlNode * element, char const * name, std::string_view path, ExpressionUse use);
    void InsertCount(xmlNode * parent, xmlNode * before, StylesheetExpression expression);
    std::string Call(StylesheetExpression expression);
    std::string Call(xmlNode * element, std::string_view path, ExpressionUse use);
    std::string CallsInTemplate(xmlNode * element, std::string_view text);
    std::string CallsInPatterns(xmlNode * element, std::string_view pattern, bool mayHaveNoVariables);
    std::string CallsInPredicates(xmlNode * element, std::string_view alternative);
    [[nodiscard]] StylesheetExpression Read(xmlNode * element, std::string_view path,
                                            ExpressionUse use) const;

    std::vector<StylesheetExpression> expressions_;
    std::map<std::pair<std::string, std::string>, std::size_t> templates_; // by mode and name, empty for any
};

} // namespace KZPlatform::LibXml2
