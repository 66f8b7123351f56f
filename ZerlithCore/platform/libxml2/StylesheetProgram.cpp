// libxslt matches patterns itself, and only their predicates are replaced. There are two exceptions. With several "//" in a
// pattern libxslt would try all combinations of ancestors, so only the last step stays a pattern, and the whole pattern becomes
// its predicate: "a//b//c" becomes "c[self::c[ancestor::b[ancestor::a]]]". The pattern of a key is put into a predicate of
// "node()" in the same way. Patterns that ask for positions aren't changed.
#include "ZerlithCore/platform/libxml2/StylesheetProgram.h"

#include "ZerlithCore/platform/libxml2/Element.h"
#include "ZerlithCore/platform/libxml2/Paths.h"
#include "ZerlithCore/platform/libxml2/Tree.h"

#include <algorithm>
#include <array>
#include <optional>

namespace KZPlatform::LibXml2 {

namespace {

// The number of elements below the stylesheet's root; libxslt compares some of them with each other.
constexpr std::size_t maxTopElements = 16'384;
// The bytes and attributes that an instruction may copy from the stylesheet without being counted.
constexpr std::size_t freeBytes = 512;
constexpr std::size_t freeAttributes = 16;

struct ExpressionAttribute {
    std::string_view element; // its name in the namespace of XSLT
    std::string_view name;
    ExpressionUse use;
};
constexpr std::array expressionAttributes{
    ExpressionAttribute{"apply-templates", "select", ExpressionUse::Templates},
    ExpressionAttribute{"copy-of", "select", ExpressionUse::Copy},
    ExpressionAttribute{"for-each", "select", ExpressionUse::Value},
    ExpressionAttribute{"if", "test", ExpressionUse::Truth},
    ExpressionAttribute{"key", "use", ExpressionUse::KeyValue},
    ExpressionAttribute{"number", "value", ExpressionUse::Number},
    ExpressionAttribute{"param", "select", ExpressionUse::Value},
    ExpressionAttribute{"sort", "select", ExpressionUse::SortKey},
    ExpressionAttribute{"value-of", "select", ExpressionUse::Text},
    ExpressionAttribute{"variable", "select", ExpressionUse::Value},
    ExpressionAttribute{"when", "test", ExpressionUse::Truth},
    ExpressionAttribute{"with-param", "select", ExpressionUse::Value},
};
constexpr std::array<std::string_view, 3> patternAttributes{"count", "from", "match"};
// The attributes of XSLT's elements that may have expressions in braces. On other elements all attributes may.
constexpr std::array<std::string_view, 10> templateAttributes{
    "case-order", "data-type", "format", "grouping-separator", "grouping-size",
    "href",       "lang",      "name",   "namespace",          "order"};

// The elements of XSLT that contain other elements of XSLT but no instructions.
constexpr std::array<std::string_view, 7> bare{"apply-templates", "attribute-set", "call-template", "choose",
                                               "stylesheet",      "text",          "transform"};

bool IsXslt(xmlNode const * node, std::string_view name = {}) {
    return node->type == XML_ELEMENT_NODE && node->ns && View(node->ns->href) == xsltNamespace &&
           (name.empty() || View(node->name) == name);
}

std::string ValueOf(xmlAttr const * attribute) {
    std::string room;
    return std::string(AttributeValue(attribute, room));
}

xmlAttr * FindAttribute(xmlNode const * element, std::string_view name) {
    xmlAttr * attribute = element->properties;
    while (attribute && (attribute->ns || View(attribute->name) != name)) attribute = attribute->next;
    return attribute;
}

// The place after the literal or the bracketed part that begins at `start`; the end of the text if it isn't closed.
std::size_t BehindBracket(std::string_view text, std::size_t start) {
    int depth = 0;
    for (std::size_t at = start; at < text.size(); ++at) {
        if (text[at] == '"' || text[at] == '\'') {
            at = std::min(text.find(text[at], at + 1), text.size());
        } else if (text[at] == '[') {
            ++depth;
        } else if (text[at] == ']') {
            --depth;
        }
        if (depth <= 0) return std::min(at + 1, text.size());
    }
    return text.size();
}

// The alternatives of a pattern, which are separated by "|".
std::vector<std::string_view> AlternativesIn(std::string_view pattern) {
    std::vector<std::string_view> all;
    std::size_t start = 0;
    for (std::size_t at = 0; at < pattern.size();) {
        char const unit = pattern[at];
        if (unit == '|') {
            all.push_back(pattern.substr(start, at - start));
            start = at + 1;
        }
        bool const isGroup = unit == '[' || unit == '"' || unit == '\'';
        at = isGroup ? BehindBracket(pattern, at) : at + 1;
    }
    all.push_back(pattern.substr(start));
    return all;
}

// The last step of an alternative, without its predicates.
std::string LastStepOf(std::string_view alternative) {
    std::size_t start = 0;
    std::size_t end = alternative.size();
    for (std::size_t at = 0; at < alternative.size();) {
        char const unit = alternative[at];
        if (unit == '/') {
            start = at + 1;
            end = alternative.size();
        }
        if (unit == '[') end = std::min(end, at);
        bool const isGroup = unit == '[' || unit == '"' || unit == '\'';
        at = isGroup ? BehindBracket(alternative, at) : at + 1;
    }
    return std::string(alternative.substr(start, end - start));
}

bool HasVariable(PathExpression const & expression) {
    auto const anyOf = [](std::vector<PathExpression> const & all) {
        return std::ranges::any_of(all, HasVariable);
    };
    return expression.kind == PathExpression::Kind::Variable || anyOf(expression.operands) ||
           anyOf(expression.predicates) || std::ranges::any_of(expression.steps, [&](PathStep const & step) {
               return anyOf(step.predicates);
           });
}

// Whether the pattern is "key(name, value)" without steps. For each node libxslt would search all nodes that have the key.
bool IsKeyPattern(PathExpression const & pattern) {
    return pattern.kind == PathExpression::Kind::Call && pattern.text == "key" &&
           pattern.operands.size() == 2;
}

bool IsPlainPattern(PathExpression const & pattern) {
    return pattern.kind == PathExpression::Kind::Path && pattern.operands.empty() && !pattern.steps.empty() &&
           std::ranges::all_of(pattern.steps, [](PathStep const & step) {
               bool const isStep = step.axis == PathAxis::Child || step.axis == PathAxis::Descendant ||
                                   step.axis == PathAxis::Attribute;
               return isStep && std::ranges::none_of(step.predicates, &PathExpression::IsPositional);
           });
}

PathExpression StepFrom(PathAxis axis, PathTest test, std::vector<PathExpression> predicates) {
    PathExpression path;
    path.steps.push_back({axis, std::move(test), std::move(predicates)});
    return path;
}

// A condition that is true for a child of the root node: "parent::node()[not(parent::node())]".
PathExpression BelowRoot() {
    PathExpression call;
    call.kind = PathExpression::Kind::Call;
    call.function = PathFunction::Not;
    call.type = PathType::Boolean;
    call.operands.push_back(StepFrom(PathAxis::Parent, {}, {}));
    return StepFrom(PathAxis::Parent, {}, {std::move(call)});
}

// A plain pattern as a condition on the node: "a//b/c" becomes "self::c[parent::b[ancestor::a]]". The name of an attribute isn't
// checked, because the last step, which stays a pattern, does that.
PathExpression ConditionOf(PathExpression pattern) {
    std::optional<PathExpression> above;
    if (pattern.isAbsolute && pattern.steps.front().axis != PathAxis::Descendant) above = BelowRoot();
    for (std::size_t i = 0; i < pattern.steps.size(); ++i) {
        PathStep & step = pattern.steps[i];
        PathAxis axis = PathAxis::Self;
        if (i + 1 < pattern.steps.size())
            axis = pattern.steps[i + 1].axis == PathAxis::Descendant ? PathAxis::Ancestor : PathAxis::Parent;
        if (step.axis == PathAxis::Attribute) step.test = {};
        if (above) step.predicates.push_back(std::move(*above));
        above = StepFrom(axis, std::move(step.test), std::move(step.predicates));
    }
    return std::move(*above);
}

// Whether libxslt would try combinations of ancestors, or search a list of all matching nodes.
bool IsCostly(PathExpression const & pattern) {
    auto const jumps = std::ranges::count(pattern.steps, PathAxis::Descendant, &PathStep::axis);
    bool const isFirstFree = pattern.isAbsolute && pattern.steps.front().axis == PathAxis::Descendant;
    return jumps > (isFirstFree ? 2 : 1) || std::ranges::any_of(pattern.steps, [](PathStep const & step) {
               return step.predicates.size() > 1;
           });
}

} // namespace

// --- Reading

DocumentResult StylesheetProgram::Take(xmlDoc * doc) {
    xmlNode * const root = xmlDocGetRootElement(doc);
    std::size_t tops = 0;
    for (xmlNode const * child = root->children; child; child = child->next) ++tops;
    if (IsXslt(root) && tops > maxTopElements)
        return {DocumentCode::LimitExceeded,
                u"The stylesheet has more than 16,384 declarations and templates"};
    std::vector<xmlNode *> nodes; // gathered before nodes are added
    for (xmlNode * at = root; at; at = NextBelow(at, root)) nodes.push_back(at);
    for (xmlNode * const node : nodes) {
        try {
            if (node->type == XML_ELEMENT_NODE) TakeFrom(node);
            if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) CountText(node);
        } catch (PathFailure failure) {
            bool const isLimit = failure == PathFailure::Nesting;
            return {isLimit ? DocumentCode::LimitExceeded : DocumentCode::BadStylesheet,
                    TextOf(failure) + (u"in " + Quoted(UnitsOf(View(node->name))))};
        }
    }
    return {};
}

void StylesheetProgram::TakeFrom(xmlNode * element) {
    bool const isXslt = IsXslt(element);
    bool usesSets = false;
    std::size_t bytes = 0;
    std::size_t count = 0;
    for (xmlAttr * attribute = element->properties; attribute; attribute = attribute->next, ++count) {
        bytes += ValueOf(attribute).size();
        usesSets = usesSets || View(attribute->name) == "use-attribute-sets";
        if (attribute->ns && (isXslt || View(attribute->ns->href) == xsltNamespace)) continue;
        TakeAttribute(element, attribute, isXslt);
    }
    if (IsXslt(element, "template")) CountTemplate(element);
    if (IsXslt(element, "apply-templates")) AddDefault(element, "select", "node()", ExpressionUse::Templates);
    if (IsXslt(element, "sort")) AddDefault(element, "select", ".", ExpressionUse::SortKey);
    if (IsXslt(element, "number") && !FindAttribute(element, "value")) {
        xmlAttr const * const level = FindAttribute(element, "level");
        StylesheetExpression counting;
        counting.use = ExpressionUse::Numbering;
        counting.isAnyLevel = level && ValueOf(level) == "any";
        InsertCount(element->parent, element, std::move(counting));
    }
    if (IsXslt(element, "attribute") || IsXslt(element, "copy")) {
        StylesheetExpression adding;
        adding.use = ExpressionUse::Attribute;
        adding.isOfContext = IsXslt(element, "copy");
        InsertCount(element->parent, element, std::move(adding));
    }
    if (usesSets) {
        StylesheetExpression adding;
        adding.use = ExpressionUse::AttributeSet;
        InsertCount(element, element->children, std::move(adding));
    }
    // libxslt compares the attributes of an element of the result with each other.
    if (isXslt || (bytes <= freeBytes && count <= freeAttributes)) return;
    StylesheetExpression copying;
    copying.use = ExpressionUse::Weight;
    copying.weight = bytes / 8 + count * count;
    InsertCount(element->parent, element, std::move(copying));
}

void StylesheetProgram::TakeAttribute(xmlNode * element, xmlAttr * attribute, bool isXslt) {
    std::string_view const name = View(attribute->name);
    std::string const value = ValueOf(attribute);
    if (!isXslt || std::ranges::find(templateAttributes, name) != templateAttributes.end()) {
        if (value.find('{') != value.npos) SetAttributeValue(attribute, CallsInTemplate(element, value));
        return;
    }
    if (std::ranges::find(patternAttributes, name) != patternAttributes.end())
        return SetAttributeValue(attribute, CallsInPatterns(element, value, name == "match"));
    std::string_view const own = View(element->name);
    for (ExpressionAttribute const & known : expressionAttributes)
        if (known.element == own && known.name == name)
            return SetAttributeValue(attribute, Call(element, value, known.use));
}

void StylesheetProgram::AddDefault(xmlNode * element, char const * name, std::string_view path,
                                   ExpressionUse use) {
    if (FindAttribute(element, name)) return;
    Need(xmlNewProp(element, Chars(name), Chars(Call(element, path, use))));
}

void StylesheetProgram::CountTemplate(xmlNode * element) {
    xmlAttr const * const match = FindAttribute(element, "match");
    if (!match) return;
    xmlAttr const * const mode = FindAttribute(element, "mode");
    std::string const pattern = ValueOf(match);
    for (std::string_view const alternative : AlternativesIn(pattern)) {
        std::string const step = LastStepOf(alternative);
        bool const isName = step.find_first_of("*(:") == step.npos;
        ++templates_[{mode ? ValueOf(mode) : std::string(), isName ? step : std::string()}];
    }
}

std::size_t StylesheetProgram::TemplatesForANode() const noexcept {
    std::size_t most = 0;
    std::size_t unnamed = 0;
    for (auto const & [key, count] : templates_) {
        if (key.second.empty()) unnamed += count;
        most = std::max(most, count);
    }
    return most + unnamed;
}

void StylesheetProgram::CountText(xmlNode * text) {
    std::size_t const bytes = View(text->content).size();
    if (bytes <= freeBytes || !text->parent || text->parent->type != XML_ELEMENT_NODE) return;
    StylesheetExpression copying;
    copying.use = ExpressionUse::Weight;
    copying.weight = bytes / 8;
    xmlNode * const before = IsXslt(text->parent, "text") ? text->parent : text;
    InsertCount(before->parent, before, std::move(copying));
}

void StylesheetProgram::InsertCount(xmlNode * parent, xmlNode * before, StylesheetExpression expression) {
    xmlNs * const ns = xmlSearchNsByHref(parent->doc, parent, Chars(xsltNamespace.data()));
    bool const mayStandThere = ns && parent->type == XML_ELEMENT_NODE &&
                               !(IsXslt(parent) && std::ranges::find(bare, View(parent->name)) != bare.end());
    if (!mayStandThere) return;
    xmlNode * const count = Need(xmlNewDocNode(parent->doc, ns, Chars("if"), nullptr));
    Link(count, parent, before);
    Need(xmlNewProp(count, Chars("test"), Chars(Call(std::move(expression)))));
}

// --- Expressions

StylesheetExpression StylesheetProgram::Read(xmlNode * element, std::string_view path,
                                             ExpressionUse use) const {
    StylesheetExpression read;
    read.use = use;
    std::vector<std::string> prefixes;
    read.expression = ParsePath(path, prefixes);
    for (std::string const & prefix : prefixes) read.uris.push_back(UriOfPrefix(element, prefix));
    return read;
}

std::string StylesheetProgram::Call(StylesheetExpression expression) {
    expressions_.push_back(std::move(expression));
    return std::string(expressionFunction) + "(" + std::to_string(expressions_.size() - 1) + ")";
}

std::string StylesheetProgram::Call(xmlNode * element, std::string_view path, ExpressionUse use) {
    StylesheetExpression read = Read(element, path, use);
    // A key is made when it is first asked for. That may happen while a variable is computed, so keys may not use variables.
    if (IsXslt(element, "key") && HasVariable(read.expression)) throw PathFailure::Variable;
    return Call(std::move(read));
}

StylesheetExpression const * StylesheetProgram::Find(double number) const noexcept {
    bool const isKnown = number >= 0 && number < static_cast<double>(expressions_.size());
    return isKnown ? &expressions_[static_cast<std::size_t>(number)] : nullptr;
}

// Replaces the expressions in braces; a double brace is a character. A brace that isn't closed stays, and libxslt reports it.
std::string StylesheetProgram::CallsInTemplate(xmlNode * element, std::string_view text) {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        bool const isCharacter = text[at] != '{' || text.substr(at).starts_with("{{");
        if (isCharacter || text.substr(at).starts_with("{}")) {
            std::size_t const length = text[at] == '{' ? 2 : 1;
            result += text.substr(at, length);
            at += length;
            continue;
        }
        std::size_t end = at + 1;
        while (end < text.size() && text[end] != '}') {
            bool const isLiteral = text[end] == '"' || text[end] == '\'';
            end = isLiteral ? BehindBracket(text, end) : end + 1;
        }
        if (end == text.size()) return result += text.substr(at);
        result += "{" + Call(element, text.substr(at + 1, end - at - 1), ExpressionUse::Text) + "}";
        at = end + 1;
    }
    return result;
}

std::string StylesheetProgram::CallsInPatterns(xmlNode * element, std::string_view pattern,
                                               bool mayHaveNoVariables) {
    std::string result;
    for (std::string_view const alternative : AlternativesIn(pattern)) {
        StylesheetExpression read = Read(element, alternative, ExpressionUse::Truth);
        if (mayHaveNoVariables && HasVariable(read.expression)) throw PathFailure::Variable;
        if (!result.empty()) result += '|';
        bool const isKey = IsXslt(element, "key"); // libxslt puts "//" before its pattern
        if (IsKeyPattern(read.expression) && !isKey) {
            read.expression.text = hasKeyFunction;
            result += "node()[" + Call(std::move(read)) + "]";
            continue;
        }
        if (!IsPlainPattern(read.expression) || !(isKey || IsCostly(read.expression))) {
            result += CallsInPredicates(element, alternative);
            continue;
        }
        bool const isNode = isKey && read.expression.steps.back().axis != PathAxis::Attribute;
        result += isNode ? "node()" : LastStepOf(alternative);
        read.expression = ConditionOf(std::move(read.expression));
        result += "[" + Call(std::move(read)) + "]";
    }
    return result;
}

std::string StylesheetProgram::CallsInPredicates(xmlNode * element, std::string_view alternative) {
    std::string result;
    for (std::size_t at = 0; at < alternative.size();) {
        bool const isGroup = alternative[at] == '[' || alternative[at] == '"' || alternative[at] == '\'';
        std::string_view const piece =
            alternative.substr(at, isGroup ? BehindBracket(alternative, at) - at : 1);
        bool const isPredicate = piece.size() > 2 && piece.front() == '[' && piece.back() == ']';
        result += isPredicate
                      ? "[" + Call(element, piece.substr(1, piece.size() - 2), ExpressionUse::Pattern) + "]"
                      : std::string(piece);
        at += piece.size();
    }
    return result;
}

} // namespace KZPlatform::LibXml2
