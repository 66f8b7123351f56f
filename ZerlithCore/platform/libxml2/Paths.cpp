// libxml2's own evaluator isn't used, for three reasons. It limits the nodes that it visits but not the work it does with them,
// so "//i/following-sibling::i" takes minutes in a document of 40,000 bytes. It leaves out nodes deeper than 10,000 levels. And
// it ends the process when it has no memory for sorting.
#include "ZerlithCore/platform/libxml2/Paths.h"

#include "ZerlithCore/platform/FloatingPoint.h"
#include "ZerlithCore/platform/libxml2/Limits.h"
#include "ZerlithCore/platform/libxml2/PathEvaluator.h"

namespace KZPlatform::LibXml2 {

namespace {

constexpr std::size_t maxRead = 256;

} // namespace

char16_t const * TextOf(PathFailure failure) noexcept {
    switch (failure) {
    case PathFailure::Prefix: return u"The path has a prefix that isn't declared: ";
    case PathFailure::Function: return u"The path calls a function that isn't there: ";
    case PathFailure::Variable: return u"The path has a variable, and there are none: ";
    case PathFailure::Type: return u"The path treats as nodes what isn't: ";
    case PathFailure::Nesting: return u"The path nests deeper than 250 levels: ";
    case PathFailure::Work: return u"The path takes more than 100,000,000 steps: ";
    default: return u"The path isn't an XPath expression: ";
    }
}

std::string UriOfPrefix(xmlNode * node, std::string const & prefix) {
    xmlNode * const scope = node->type == XML_DOCUMENT_NODE ? xmlDocGetRootElement(node->doc) : node;
    xmlNs const * const ns = scope ? xmlSearchNs(node->doc, scope, Chars(prefix)) : nullptr;
    if (!ns) throw PathFailure::Prefix;
    return std::string(View(ns->href));
}

Paths::Read const & Paths::Find(std::u16string_view path) {
    auto const known = read_.find(path);
    if (known != read_.end()) return known->second;
    Read read;
    read.expression = ParsePath(Utf8Of(path), read.prefixes);
    // The table is emptied when it is full. Only programs that compose paths from data ever fill it.
    if (read_.size() >= maxRead) read_.clear();
    return read_.emplace(path, std::move(read)).first->second;
}

std::vector<std::string> Paths::Resolve(xmlNode * context, std::vector<std::string> const & prefixes) const {
    std::vector<std::string> uris;
    if (prefixes.empty()) return uris;
    for (std::string const & prefix : prefixes) uris.push_back(UriOfPrefix(context, prefix));
    return uris;
}

DocumentResult Paths::Select(xmlNode * context, std::u16string_view path, bool firstOnly,
                             std::vector<xmlNode *> & found) {
    found.clear();
    LibraryCall const call;
    try {
        Read const & read = Find(path);
        if (read.expression.type != PathType::Nodes && read.expression.type != PathType::Unknown)
            return {DocumentCode::NotNodes, u"The path doesn't lead to nodes: " + std::u16string(path)};
        std::vector<std::string> const uris = Resolve(context, read.prefixes);
        QuietFloatingPoint const quiet; // numbers in paths may overflow or be NaN
        PathBudget budget(CurrentLimits().pathWork);
        PathEvaluator evaluator(reinterpret_cast<xmlNode *>(doc_), uris, budget, nullptr);
        PathNodes const nodes = evaluator.Nodes(read.expression, {{context}}, firstOnly);
        found.reserve(nodes.list.size());
        for (PathNode const & node : nodes.list)
            if (!node.declaration) found.push_back(node.node);
        call.CheckMemory();
        return {};
    } catch (PathFailure failure) {
        bool const isLimit = failure == PathFailure::Work || failure == PathFailure::Nesting;
        return {isLimit ? DocumentCode::LimitExceeded : DocumentCode::BadPath,
                TextOf(failure) + std::u16string(path.substr(0, 200))};
    }
}

} // namespace KZPlatform::LibXml2
