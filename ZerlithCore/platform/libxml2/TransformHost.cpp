// Evaluates the expressions of a stylesheet when libxslt calls for them, and counts the work of the transformation.
#include "ZerlithCore/platform/libxml2/TransformHost.h"

#include <libxml/xpathInternals.h>
#include <libxslt/variables.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace KZPlatform::LibXml2 {

namespace {

using OwnedObject = std::unique_ptr<xmlXPathObject, FreeBy<xmlXPathFreeObject>>;

// The depth of nodes that are copied or walked by libxslt, which takes stack for each level.
constexpr int maxDepth = 1000;
// The cost of a node that libxslt copies, of one for which it looks for a template, and of one that is passed in a list.
constexpr std::uint64_t copiedNode = 20;
constexpr std::uint64_t visitedNode = 4;
constexpr std::uint64_t listedNode = 4;

// libxml2 passes a declaration of a namespace as a copy whose `next` is the element.
PathNode PathNodeOf(xmlNode * node) noexcept {
    if (node->type != XML_NAMESPACE_DECL) return {node, nullptr};
    auto const * const declaration = reinterpret_cast<xmlNs const *>(node);
    return {reinterpret_cast<xmlNode *>(declaration->next), declaration};
}

xmlChar const * OrNull(std::string const & text) noexcept { return text.empty() ? nullptr : Chars(text); }

} // namespace

TransformHost::TransformHost(StylesheetProgram const & program, xsltTransformContext & transform,
                             std::uint64_t work)
    : program_(program), transform_(transform), budget_(work) {
    transform_._private = this;
    if (xmlXPathRegisterFunc(transform_.xpathCtxt, Chars(expressionFunction), OnCall) != 0)
        throw std::bad_alloc();
}

// --- Called by libxslt, which is C, so no exception may leave these.

void TransformHost::OnCall(xmlXPathParserContext * parser, int count) noexcept {
    auto & transform = *static_cast<xsltTransformContext *>(parser->context->extra);
    auto & host = *static_cast<TransformHost *>(transform._private);
    double const number = count == 1 ? xmlXPathPopNumber(parser) : -1;
    xmlXPathParserContext * const outer = std::exchange(host.parser_, parser);
    try {
        StylesheetExpression const * const expression = host.program_.Find(number);
        if (!expression || host.failure_) throw PathFailure::Host;
        valuePush(parser, Need(host.Evaluate(*expression)));
    } catch (PathFailure failure) {
        if (!host.failure_) host.failure_ = failure;
    } catch (std::bad_alloc const &) {
        LibraryCall::NoteRefusedMemory();
        host.failure_ = PathFailure::Host;
    }
    host.parser_ = outer;
    if (!host.failure_) return;
    transform.state = XSLT_STATE_STOPPED;
    xmlXPathErr(parser, XPATH_EXPR_ERROR);
}

xmlXPathObject * TransformHost::Evaluate(StylesheetExpression const & expression) {
    xmlXPathContext const & native = *transform_.xpathCtxt;
    PathContext const context{PathNodeOf(native.node),
                              static_cast<std::size_t>(std::max(native.proximityPosition, 0)),
                              static_cast<std::size_t>(std::max(native.contextSize, 0))};
    PathEvaluator evaluator(reinterpret_cast<xmlNode *>(native.doc), expression.uris, budget_, this);
    switch (expression.use) {
    case ExpressionUse::Truth: return xmlXPathNewBoolean(evaluator.IsTrue(expression.expression, context));
    case ExpressionUse::Text: {
        std::string const text = evaluator.Text(expression.expression, context);
        budget_.Spend(text.size() / 4);
        return xmlXPathNewString(Chars(text));
    }
    case ExpressionUse::Weight: budget_.Spend(expression.weight); return xmlXPathNewBoolean(0);
    case ExpressionUse::Numbering:
        SpendOnNumbering(context.node.node, expression.isAnyLevel);
        return xmlXPathNewBoolean(0);
    case ExpressionUse::Attribute:
        if (!expression.isOfContext || context.node.IsAttribute()) budget_.Spend(2 * AttributesAtWork());
        return xmlXPathNewBoolean(0);
    case ExpressionUse::AttributeSet: {
        std::uint64_t const count = AttributesAtWork();
        budget_.Spend(count * count / 4);
        return xmlXPathNewBoolean(0);
    }
    case ExpressionUse::Pattern: SpendOnSiblings(context.node.node); break;
    default: break;
    }
    return Use(expression, evaluator.Evaluate(expression.expression, context));
}

xmlXPathObject * TransformHost::Use(StylesheetExpression const & expression, PathValue value) {
    if (expression.use == ExpressionUse::SortKey) {
        std::string const key = SortKey(std::move(value));
        return xmlXPathNewString(Chars(key));
    }
    if (expression.use == ExpressionUse::Number) return xmlXPathNewFloat(NumberOf(value, budget_));
    if (expression.use == ExpressionUse::KeyValue) SpendOnKeys(value);
    if (auto const * const nodes = std::get_if<PathNodes>(&value)) {
        if (expression.use == ExpressionUse::Copy) SpendOnSubtrees(*nodes, copiedNode);
        if (expression.use == ExpressionUse::Templates) SpendOnSubtrees(*nodes, visitedNode);
    }
    return ObjectOf(std::move(value));
}

// libxslt's sort compares each key with a part of the others, and with nearly all of them if they are in the worst order. So a
// key costs more the more nodes are sorted.
std::string TransformHost::SortKey(PathValue value) {
    std::string key = TextOf(std::move(value), budget_);
    auto const size = static_cast<std::uint64_t>(std::max(transform_.xpathCtxt->contextSize, 0));
    budget_.Spend(size / 64 * (1 + key.size() / 32));
    return key;
}

// --- Counting the work of libxslt

// libxslt copies a text, and reads it unit by unit; of nodes it takes the texts.
void TransformHost::SpendOnArgument(PathValue const & argument) {
    constexpr std::uint64_t each = 4;
    if (auto const * const text = std::get_if<std::string>(&argument)) budget_.Spend(each * text->size());
    auto const * const nodes = std::get_if<PathNodes>(&argument);
    std::string room;
    for (std::size_t i = 0; nodes && i < nodes->list.size(); ++i)
        budget_.Spend(each * TextOf(nodes->list[i], room, budget_).size());
}

// When libxslt adds a node to a key, it searches all nodes that have the same value.
void TransformHost::SpendOnKeys(PathValue const & value) {
    auto const count = [this](std::string text) {
        budget_.SpendOnMaking(text.size());
        budget_.Spend(1 + keyValues_[std::move(text)]++ / 32);
    };
    auto const * const nodes = std::get_if<PathNodes>(&value);
    if (!nodes) return count(TextOf(value, budget_));
    std::string room;
    for (PathNode const & node : nodes->list) count(std::string(TextOf(node, room, budget_)));
}

// For a predicate of a pattern libxslt counts the siblings of the node, beginning at the last matched node if that is one of
// them.
void TransformHost::SpendOnSiblings(xmlNode * node) {
    if (node->type == XML_NAMESPACE_DECL || !node->parent) return;
    bool const isNear = lastMatched_ && (lastMatched_ == node || lastMatched_ == node->prev ||
                                         (node->prev && lastMatched_ == node->prev->prev));
    bool const isKnown = lastMatched_ && lastMatched_->parent == node->parent;
    lastMatched_ = node;
    if (isNear) return;
    if (!isKnown) {
        lastSiblings_ = 0;
        for (xmlNode const * at = node->parent->children; at; at = at->next) ++lastSiblings_;
    }
    budget_.Spend(lastSiblings_);
}

void TransformHost::SpendOnSubtrees(PathNodes const & nodes, std::uint64_t each) {
    for (PathNode const & top : nodes.list) {
        if (each == copiedNode && top.IsAttribute()) budget_.Spend(2 * AttributesAtWork());
        if (!top.declaration && !top.IsAttribute()) SpendOnSubtree(top.node, each);
    }
}

void TransformHost::SpendOnSubtree(xmlNode * top, std::uint64_t each) {
    int depth = 0;
    for (xmlNode * at = top; at;) {
        SpendOnNode(*at, each);
        if (xmlNode * const child = FirstBelow(at)) {
            if (++depth > maxDepth) throw PathFailure::Nesting;
            at = child;
            continue;
        }
        for (; at != top && !at->next; at = at->parent) --depth;
        at = at == top ? nullptr : at->next;
    }
}

// An element is copied with its attributes and declarations.
void TransformHost::SpendOnNode(xmlNode const & node, std::uint64_t each) {
    budget_.Spend(each);
    if (node.type != XML_ELEMENT_NODE) {
        budget_.SpendOnMaking(View(node.content).size());
    } else if (each == copiedNode) {
        for (xmlAttr const * own = node.properties; own; own = own->next) budget_.Spend(each);
        for (xmlNs const * own = node.nsDef; own; own = own->next) budget_.Spend(each);
    }
}

// How many attributes the element has that is being made: a further one is compared with them.
std::uint64_t TransformHost::AttributesAtWork() const noexcept {
    xmlNode const * const element = transform_.insert;
    if (!element || element->type != XML_ELEMENT_NODE) return 0;
    std::uint64_t count = 0;
    for (xmlAttr const * own = element->properties; own; own = own->next) ++count;
    return count;
}

// xsl:number looks at all nodes before the node (`isAnyLevel`), or at the siblings before it and before its ancestors.
void TransformHost::SpendOnNumbering(xmlNode * node, bool isAnyLevel) {
    for (xmlNode * at = node; at && at->type != XML_NAMESPACE_DECL; at = at->parent) {
        for (xmlNode * sibling = at->prev; sibling; sibling = sibling->prev) {
            budget_.Spend(2);
            for (xmlNode * below = FirstBelow(sibling); isAnyLevel && below;
                 below = NextBelow(below, sibling))
                budget_.Spend(2);
        }
        budget_.Spend(2);
    }
}

// libxml2 sorts the nodes again although they are in order. To compare two, it searches for the last element before a text, and
// for the ancestors of elements without a number, such as those in variables.
void TransformHost::SpendOnSorting(PathNodes const & nodes) {
    if (nodes.list.size() < 2) return;
    for (PathNode const & node : nodes.list) {
        budget_.Spend();
        if (node.declaration || node.IsAttribute()) continue;
        xmlNode const * at = node.node;
        for (; at && at->type != XML_ELEMENT_NODE; at = at->prev ? at->prev : at->parent) budget_.Spend();
        for (; at && reinterpret_cast<std::ptrdiff_t>(at->content) >= 0; at = at->parent) budget_.Spend();
    }
}

// --- Values

xmlXPathObject * TransformHost::ObjectOf(PathValue value) {
    if (auto const * const truth = std::get_if<bool>(&value)) return xmlXPathNewBoolean(*truth);
    if (auto const * const number = std::get_if<double>(&value)) return xmlXPathNewFloat(*number);
    if (auto const * const text = std::get_if<std::string>(&value)) return xmlXPathNewString(Chars(*text));
    return ObjectOf(std::get<PathNodes>(std::move(value)));
}

xmlXPathObject * TransformHost::ObjectOf(PathNodes nodes) {
    SortPathNodes(nodes, budget_);
    SpendOnSorting(nodes);
    OwnedObject object(Need(xmlXPathNewNodeSet(nullptr)));
    if (!object->nodesetval) object->nodesetval = Need(xmlXPathNodeSetCreate(nullptr));
    for (PathNode const & node : nodes.list) {
        int const outcome = node.declaration ? xmlXPathNodeSetAddNs(object->nodesetval, node.node,
                                                                    const_cast<xmlNs *>(node.declaration))
                                             : xmlXPathNodeSetAddUnique(object->nodesetval, node.node);
        if (outcome < 0) throw std::bad_alloc();
    }
    if (nodes.isTree) object->type = XPATH_XSLT_TREE;
    return object.release();
}

PathValue TransformHost::ValueOf(xmlXPathObject & object, bool isOrdered) {
    switch (object.type) {
    case XPATH_BOOLEAN: return object.boolval != 0;
    case XPATH_NUMBER: return object.floatval;
    case XPATH_STRING: {
        std::string_view const text = View(object.stringval);
        budget_.SpendOnMaking(text.size());
        return std::string(text);
    }
    case XPATH_NODESET:
    case XPATH_XSLT_TREE: break;
    default: throw PathFailure::Type;
    }
    PathNodes nodes;
    xmlNodeSet const * const set = object.nodesetval;
    for (int i = 0; set && i < set->nodeNr; ++i) {
        budget_.Spend(listedNode);
        nodes.list.push_back(PathNodeOf(set->nodeTab[i]));
    }
    nodes.isOrdered = isOrdered || nodes.list.size() < 2;
    nodes.isFlat = nodes.list.size() < 2;
    nodes.isTree = object.type == XPATH_XSLT_TREE;
    return nodes;
}

// The nodes of a variable are in order, because they come from an expression.
PathValue TransformHost::Variable(std::string const & name, std::string const & uri) {
    budget_.Spend(1 + static_cast<std::uint64_t>(std::max(transform_.varsNr - transform_.varsBase, 0)) / 8);
    OwnedObject const object(xmlXPathVariableLookupNS(transform_.xpathCtxt, Chars(name), OrNull(uri)));
    if (!object) throw failure_.value_or(PathFailure::Variable);
    return ValueOf(*object, true);
}

bool TransformHost::HasKey(std::vector<PathValue> arguments, PathContext const & context) {
    KeyName name{context.node.node->doc, {TextOf(arguments[0], budget_), TextOf(arguments[1], budget_)}};
    auto known = keys_.find(name);
    if (known == keys_.end()) {
        PathValue const found = Call("key", {}, std::move(arguments), context);
        auto const * const nodes = std::get_if<PathNodes>(&found);
        PathNodeSet set;
        if (nodes) set.insert(nodes->list.begin(), nodes->list.end());
        known = keys_.emplace(std::move(name), std::move(set)).first;
    }
    return known->second.contains(context.node);
}

PathValue TransformHost::Call(std::string const & name, std::string const & uri,
                              std::vector<PathValue> arguments, PathContext const & context) {
    if (name == hasKeyFunction && arguments.size() == 2) return HasKey(std::move(arguments), context);
    xmlXPathContext & native = *transform_.xpathCtxt;
    xmlXPathFunction const function = xmlXPathFunctionLookupNS(&native, Chars(name), OrNull(uri));
    if (!function || function == OnCall) throw PathFailure::Function;
    int const count = static_cast<int>(arguments.size());
    for (PathValue & argument : arguments) {
        if (name != "generate-id") SpendOnArgument(argument);
        OwnedObject object(Need(ObjectOf(std::move(argument))));
        if (valuePush(parser_, object.get()) < 0) throw std::bad_alloc();
        static_cast<void>(object.release());
    }
    auto const oldNode = std::exchange(native.node, context.node.node);
    auto const oldPosition = std::exchange(native.proximityPosition, static_cast<int>(context.position));
    auto const oldSize = std::exchange(native.contextSize, static_cast<int>(context.size));
    auto const oldFunction = std::exchange(native.function, Chars(name));
    auto const oldUri = std::exchange(native.functionURI, OrNull(uri));
    function(parser_, count);
    native.node = oldNode;
    native.proximityPosition = oldPosition;
    native.contextSize = oldSize;
    native.function = oldFunction;
    native.functionURI = oldUri;
    OwnedObject const result(valuePop(parser_));
    if (!result || parser_->error != XPATH_EXPRESSION_OK) throw failure_.value_or(PathFailure::Host);
    return ValueOf(*result, false);
}

} // namespace KZPlatform::LibXml2
