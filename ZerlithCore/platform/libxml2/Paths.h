/// @file
/// XPath on one document.
#pragma once

#include "ZerlithCore/platform/libxml2/Library.h"

#include <libxml/xpath.h>

#include <unordered_map>
#include <vector>

namespace KZPlatform::LibXml2 {

/// Evaluates paths and keeps the compiled ones, so that a program's few paths are compiled once a document.
class Paths {
public:
    explicit Paths(xmlDoc * doc);
    Paths(Paths const &) = delete;
    Paths & operator=(Paths const &) = delete;

    using Result = std::unique_ptr<xmlXPathObject, FreeBy<xmlXPathFreeObject>>;

    /// Puts the node-set that `path` finds from `context` into `found`, in document order.
    DocumentResult Select(xmlNode * context, std::u16string_view path, Result & found);

    /// What `found` has, without nodes that stand for declarations of namespaces.
    [[nodiscard]] static xmlNode * FirstOf(xmlXPathObject const & found) noexcept;
    [[nodiscard]] static std::vector<xmlNode *> NodesOf(xmlXPathObject const & found);

private:
    struct Compiled {
        std::unique_ptr<xmlXPathCompExpr, FreeBy<xmlXPathFreeCompExpr>> expression;
        std::vector<std::string> prefixes;
    };
    struct TextHash {
        using is_transparent = void;
        std::size_t operator()(std::u16string_view text) const noexcept {
            return std::hash<std::u16string_view>()(text);
        }
    };

    [[nodiscard]] Compiled const * Compile(std::u16string_view path);
    bool SetPrefixes(xmlNode * context, std::vector<std::string> const & prefixes);
    DocumentResult Failure(std::u16string_view path) const;
    static xmlXPathFunction FindFunction(void * self, xmlChar const * name, xmlChar const * uri) noexcept;
    static void OnError(void * self, xmlErrorPtr error) noexcept;

    std::unique_ptr<xmlXPathContext, FreeBy<xmlXPathFreeContext>> context_;
    std::unordered_map<std::u16string, Compiled, TextHash, std::equal_to<>> compiled_;
    std::vector<xmlNs *> scope_; // the declarations that the context looks prefixes up in
    int error_ = 0;
};

} // namespace KZPlatform::LibXml2
