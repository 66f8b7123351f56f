// A context and the compiled expressions are kept with the document, because compiling costs several times what
// evaluating does. An expression may be evaluated by one thread at a time only, so documents don't share them.
#include "ZerlithCore/platform/libxml2/Paths.h"

#include "ZerlithCore/platform/FloatingPoint.h"

#include <libxml/xpathInternals.h>

#include <algorithm>
#include <limits>

namespace KZPlatform::LibXml2 {

namespace {

// Steps that one evaluation may take: some seconds.
constexpr unsigned long MaxOperations = 100'000'000;
constexpr std::size_t MaxCompiled = 256;

bool IsNameByte(char byte) {
    auto const unit = static_cast<unsigned char>(byte);
    return unit >= 0x80 || (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') ||
           (unit >= '0' && unit <= '9') || unit == '_' || unit == '-' || unit == '.';
}

// The names in front of single colons, outside quotes.
std::vector<std::string> PrefixesIn(std::string const & path) {
    std::vector<std::string> prefixes;
    char quote = 0;
    for (std::size_t i = 0; i < path.size(); ++i) {
        char const unit = path[i];
        if (quote) {
            if (unit == quote) quote = 0;
            continue;
        }
        if (unit == '"' || unit == '\'') quote = unit;
        if (unit != ':') continue;
        if (i + 1 < path.size() && path[i + 1] == ':') {
            ++i;
            continue;
        }
        std::size_t start = i;
        while (start > 0 && IsNameByte(path[start - 1])) --start;
        std::string prefix = path.substr(start, i - start);
        if (!prefix.empty() && std::ranges::find(prefixes, prefix) == prefixes.end())
            prefixes.push_back(std::move(prefix));
    }
    return prefixes;
}

char16_t const * TextOf(int error) {
    switch (error) {
    case XPATH_UNDEF_PREFIX_ERROR: return u"The path has a prefix that isn't declared: ";
    case XPATH_UNKNOWN_FUNC_ERROR: return u"The path calls a function that isn't there: ";
    case XPATH_UNDEF_VARIABLE_ERROR: return u"The path has a variable, and there are none: ";
    case XPATH_OP_LIMIT_EXCEEDED: return u"The path takes too many steps: ";
    case XPATH_RECURSION_LIMIT_EXCEEDED: return u"The path nests too deep: ";
    case XPATH_INVALID_TYPE: return u"The path treats as nodes what isn't: ";
    default: return u"The path isn't an XPath expression: ";
    }
}

} // namespace

Paths::Paths(xmlDoc * doc) : context_(Need(xmlXPathNewContext(doc))) {
    context_->error = OnError;
    context_->userData = this;
    context_->opLimit = MaxOperations;
    xmlXPathRegisterFuncLookup(context_.get(), FindFunction, this);
    xmlXPathContextSetCache(context_.get(), 1, -1, 0);
}

// libxml2 would complain to standard error about a function that isn't there.
xmlXPathFunction Paths::FindFunction(void * self, xmlChar const * name, xmlChar const * uri) noexcept {
    xmlXPathContext const & context = *static_cast<Paths *>(self)->context_;
    if (xmlHashLookup2(context.funcHash, name, uri)) return nullptr; // which means: as usual
    return [](xmlXPathParserContext * parser, int) { xmlXPathErr(parser, XPATH_UNKNOWN_FUNC_ERROR); };
}

void Paths::OnError(void * self, xmlErrorPtr error) noexcept {
    auto & paths = *static_cast<Paths *>(self);
    if (paths.error_ != 0) return;
    paths.error_ = error->code - XML_XPATH_EXPRESSION_OK;
}

DocumentResult Paths::Failure(std::u16string_view path) const {
    if (error_ == XPATH_MEMORY_ERROR) throw std::bad_alloc();
    bool const isLimit = error_ == XPATH_OP_LIMIT_EXCEEDED || error_ == XPATH_RECURSION_LIMIT_EXCEEDED;
    return {isLimit ? DocumentCode::LimitExceeded : DocumentCode::BadPath,
            TextOf(error_) + std::u16string(path)};
}

Paths::Compiled const * Paths::Compile(std::u16string_view path) {
    auto const known = compiled_.find(path);
    if (known != compiled_.end()) return &known->second;
    std::string const text = Utf8Of(path);
    Compiled made{decltype(Compiled::expression)(xmlXPathCtxtCompile(context_.get(), Chars(text))),
                  PrefixesIn(text)};
    if (!made.expression) return nullptr;
    // Programs that make up their paths go round in the table; those that don't never fill it.
    if (compiled_.size() >= MaxCompiled) compiled_.clear();
    return &compiled_.emplace(path, std::move(made)).first->second;
}

// Looks up what the path needs, instead of all that is in scope. False for a prefix that isn't declared.
bool Paths::SetPrefixes(xmlNode * context, std::vector<std::string> const & prefixes) {
    scope_.clear();
    xmlNode * const scope = context->type == XML_DOCUMENT_NODE ? xmlDocGetRootElement(context->doc) : context;
    for (std::string const & prefix : prefixes) {
        xmlNs * const ns = scope ? xmlSearchNs(context->doc, scope, Chars(prefix)) : nullptr;
        if (!ns) return false;
        scope_.push_back(ns);
    }
    context_->namespaces = scope_.data();
    context_->nsNr = static_cast<int>(scope_.size());
    return true;
}

DocumentResult Paths::Select(xmlNode * context, std::u16string_view path, Result & found) {
    error_ = 0;
    if (path.size() > std::numeric_limits<int>::max() / 4) return Failure(path.substr(0, 100));
    Compiled const * const compiled = Compile(path);
    if (!compiled) return Failure(path);
    if (!SetPrefixes(context, compiled->prefixes)) {
        error_ = XPATH_UNDEF_PREFIX_ERROR;
        return Failure(path);
    }
    QuietFloatingPoint const quiet; // numbers of paths may overflow, and be none
    context_->node = context;
    context_->opCount = 0;
    found.reset(xmlXPathCompiledEval(compiled->expression.get(), context_.get()));
    context_->namespaces = nullptr;
    context_->nsNr = 0;
    if (!found || error_ != 0) return Failure(path);
    if (found->type != XPATH_NODESET)
        return {DocumentCode::NotNodes, u"The path doesn't lead to nodes: " + std::u16string(path)};
    return {};
}

xmlNode * Paths::FirstOf(xmlXPathObject const & found) noexcept {
    for (int i = 0; found.nodesetval && i < found.nodesetval->nodeNr; ++i)
        if (found.nodesetval->nodeTab[i]->type != XML_NAMESPACE_DECL) return found.nodesetval->nodeTab[i];
    return nullptr;
}

std::vector<xmlNode *> Paths::NodesOf(xmlXPathObject const & found) {
    std::vector<xmlNode *> nodes;
    if (!found.nodesetval) return nodes;
    nodes.assign(found.nodesetval->nodeTab, found.nodesetval->nodeTab + found.nodesetval->nodeNr);
    std::erase_if(nodes, [](xmlNode const * node) { return node->type == XML_NAMESPACE_DECL; });
    return nodes;
}

} // namespace KZPlatform::LibXml2
