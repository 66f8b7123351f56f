/// @file
/// What every source beside this one needs of libxml2: one start, owning pointers, and errors that go nowhere else.
#pragma once

#include "ZerlithCore/platform/Documents.h"

#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <memory>
#include <new>
#include <string>
#include <string_view>

namespace KZPlatform::LibXml2 {

/// Starts libxml2 and libxslt; the second call does nothing.
void Initialise();

template <auto Free>
struct FreeBy {
    template <class T>
    void operator()(T * object) const noexcept {
        Free(object);
    }
};
struct FreeText {
    void operator()(xmlChar * text) const noexcept { xmlFree(text); }
};
using OwnedDoc = std::unique_ptr<xmlDoc, FreeBy<xmlFreeDoc>>;
using OwnedText = std::unique_ptr<xmlChar, FreeText>;

/// `object`, which is null only when memory has run out.
template <class T>
T * Need(T * object) {
    if (!object) throw std::bad_alloc();
    return object;
}

inline xmlChar const * Chars(std::string const & text) noexcept {
    return reinterpret_cast<xmlChar const *>(text.c_str());
}
inline xmlChar const * Chars(char const * text) noexcept { return reinterpret_cast<xmlChar const *>(text); }
inline std::string_view View(xmlChar const * text) noexcept {
    return text ? std::string_view(reinterpret_cast<char const *>(text)) : std::string_view();
}

/// The text up to its first 0 unit as UTF-8.
[[nodiscard]] std::string Utf8Of(std::u16string_view text);
[[nodiscard]] std::u16string UnitsOf(std::string_view utf8);

/// A message of libxml2 without its line end.
[[nodiscard]] std::u16string MessageOf(std::string_view message);
/// A name in quotes, for messages.
[[nodiscard]] std::u16string Quoted(std::u16string_view text);

/// Whether all characters may stand in a document.
[[nodiscard]] bool IsDocumentText(std::string_view utf8) noexcept;

/// While it lives, what libxml2 and libxslt have to complain about on this thread comes here, not to standard error.
class ErrorScope {
public:
    ErrorScope() noexcept;
    ~ErrorScope();
    ErrorScope(ErrorScope const &) = delete;
    ErrorScope & operator=(ErrorScope const &) = delete;

    /// The first error's text, or what was said without a code if there is no error.
    [[nodiscard]] std::u16string Reason() const;
    /// The line of the first error; 0 for unknown.
    [[nodiscard]] int Line() const noexcept { return line_; }

    /// The handlers, to be given to contexts that have some of their own; `self` is an ErrorScope.
    static void Structured(void * self, xmlErrorPtr error) noexcept;
    static void Generic(void * self, char const * format, ...) noexcept;

    /// The innermost one of this thread.
    static ErrorScope * Current() noexcept;
    void AddText(std::string_view text) noexcept;

private:
    ErrorScope * outer_;
    xmlStructuredErrorFunc oldStructured_;
    void * oldStructuredContext_;
    xmlGenericErrorFunc oldGeneric_;
    void * oldGenericContext_;
    std::string message_;
    std::string text_;
    int line_ = 0;
};

} // namespace KZPlatform::LibXml2
