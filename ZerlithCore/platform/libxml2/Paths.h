/// @file
/// XPath on one document.
#pragma once

#include "ZerlithCore/platform/libxml2/PathExpression.h"
#include "ZerlithCore/platform/libxml2/PathValue.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace KZPlatform::LibXml2 {

/// Evaluates paths and keeps the read ones, so that a program's few paths are read once a document.
class Paths {
public:
    explicit Paths(xmlDoc * doc) : doc_(doc) {}
    Paths(Paths const &) = delete;
    Paths & operator=(Paths const &) = delete;

    /// Puts the nodes that `path` finds from `context` into `found`, in document order: all, or the first one. Declarations
    /// of namespaces aren't among them.
    DocumentResult Select(xmlNode * context, std::u16string_view path, bool firstOnly,
                          std::vector<xmlNode *> & found);

private:
    struct Read {
        PathExpression expression;
        std::vector<std::string> prefixes;
    };
    struct TextHash {
        using is_transparent = void;
        std::size_t operator()(std::u16string_view text) const noexcept {
            return std::hash<std::u16string_view>()(text);
        }
    };

    [[nodiscard]] Read const & Find(std::u16string_view path);
    [[nodiscard]] std::vector<std::string> Resolve(xmlNode * context,
                                                   std::vector<std::string> const & prefixes) const;

    xmlDoc * doc_;
    std::unordered_map<std::u16string, Read, TextHash, std::equal_to<>> read_;
};

/// The namespace that a prefix means on a node, and on the root of a document. Errors, thrown: PathFailure::Prefix.
[[nodiscard]] std::string UriOfPrefix(xmlNode * node, std::string const & prefix);

/// What is told of a failure; the path follows.
[[nodiscard]] char16_t const * TextOf(PathFailure failure) noexcept;

} // namespace KZPlatform::LibXml2
