/// @file
/// The expressions of a stylesheet, which are replaced in it by function calls.
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
inline constexpr std::string_view xsltNamespace = "http://www.w3.org/1999/XSL/Transform";
/// The function that replaces an expression in a stylesheet. Its argument is the number of the expression.
inline constexpr char expressionFunction[] = "kz-expression";
/// The function that replaces a pattern "key(name, value)", with the same arguments.
inline constexpr char hasKeyFunction[] = "kz-has-key";

/// What an expression's value is used for, which decides the cost besides its evaluation.
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
    std::vector<std::string> uris; // the namespaces of its prefixes
    ExpressionUse use = ExpressionUse::Value;
    bool isAnyLevel = false;  // of xsl:number
    bool isOfContext = false; // the attribute is the context, if that is one
    std::uint64_t weight = 0;
};

/// The expressions of one stylesheet by their numbers.
///
/// libxslt evaluates expressions with libxml2, which limits too little of its work (see Paths.cpp). So each expression in a
/// stylesheet is replaced by a call of one function, which evaluates it here. Work of libxslt itself that grows with the
/// document or the stylesheet is counted by expressions that are added to the stylesheet, as conditions of an xsl:if that are
/// always false.
class StylesheetProgram {
public:
    /// Replaces the expressions in `doc` and keeps them here. Errors: BadStylesheet, LimitExceeded.
    [[nodiscard]] DocumentResult Take(xmlDoc * doc);

    [[nodiscard]] StylesheetExpression const * Find(double number) const noexcept;
    /// The largest number of templates that libxslt may try for one node.
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
    // The number of templates by mode and name; an empty name means any.
    std::map<std::pair<std::string, std::string>, std::size_t> templates_;
};

} // namespace KZPlatform::LibXml2
