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

/// Evaluates paths and keeps the parsed ones. A program has few different paths, so each is parsed once for a document.
class Paths {
public:
    explicit Paths(xmlDoc * doc) : doc_(doc) {}
    Paths(Paths const &) = delete;
    Paths & operator=(Paths const &) = delete;

    /// Puts the nodes that `path` finds from `context` into `found`, in document order; with `firstOnly` only the first one.
    /// Declarations of namespaces are left out.
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

/// The namespace that is declared for a prefix at a node; for a document, at its root element. Errors, thrown:
/// PathFailure::Prefix.
[[nodiscard]] std::string UriOfPrefix(xmlNode * node, std::string const & prefix);

/// The beginning of the message for a failure; the path follows it.
[[nodiscard]] char16_t const * TextOf(PathFailure failure) noexcept;

} // namespace KZPlatform::LibXml2
