/// @file
/// What all sources of this folder need of libxml2: its start, owning pointers, and its errors, which mustn't be printed.
#pragma once

#include "ZerlithCore/platform/DocumentModule.h"

#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <string_view>

namespace KZPlatform::LibXml2 {

/// Starts libxml2 and libxslt; the second call does nothing.
void Initialise(DocumentHost const & host);
/// What `Initialise` was given.
[[nodiscard]] DocumentHost const & Host() noexcept;

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
using OwnedNode = std::unique_ptr<xmlNode, FreeBy<xmlFreeNode>>; // that stands nowhere, and is no attribute
using OwnedText = std::unique_ptr<xmlChar, FreeText>;

/// Returns `object`. Errors: std::bad_alloc for null, which the libraries return when memory has run out.
template <class T>
T * Need(T * object) {
    if (!object) throw std::bad_alloc();
    return object;
}

/// The white space of XML.
inline constexpr std::string_view blanks = " \t\n\r";
[[nodiscard]] constexpr bool IsBlank(char byte) noexcept { return blanks.find(byte) != blanks.npos; }

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

/// A text of the library's own. Errors: std::bad_alloc.
[[nodiscard]] OwnedText CopyOfText(std::string const & text);

/// Makes sure that the system has so much memory just now. Errors: std::bad_alloc.
void AskForMemory(std::size_t bytes);

/// Whether a document may contain all these characters.
[[nodiscard]] bool IsDocumentText(std::string_view utf8) noexcept;

/// While it lives, this thread is at work in libxml2 or libxslt. What they complain about on the thread comes here, not to
/// standard error, and memory that the system refuses them comes from a reserve and is noticed.
///
/// Every operation has one as long as it calls either library, and asks `CheckMemory` before it makes its result known:
/// the reserve may have been too small, and then what the libraries have done lacks a part, whatever they say. Calls may nest; what was refused in
/// an inner one was refused in the outer one, too.
class LibraryCall {
public:
    /// Errors: std::bad_alloc, but only for the first object on a thread.
    LibraryCall();
    ~LibraryCall();
    LibraryCall(LibraryCall const &) = delete;
    LibraryCall & operator=(LibraryCall const &) = delete;

    /// The text of the first error; if there was none, the text of the messages that had no error code.
    [[nodiscard]] std::u16string Reason() const;
    /// The line of the first error; 0 if it isn't known.
    [[nodiscard]] int Line() const noexcept { return line_; }

    [[nodiscard]] bool IsOutOfMemory() const noexcept { return isOutOfMemory_; }
    /// Errors: std::bad_alloc if the libraries got no memory at some time since this object was made.
    void CheckMemory() const {
        if (isOutOfMemory_) throw std::bad_alloc();
    }
    /// Calls `stop` with `context` as soon as memory is refused. The library is in the middle of its work then, so `stop` may
    /// only set flags that are read later.
    void StopWithoutMemory(void (*stop)(void *), void * context) noexcept {
        stop_ = stop;
        stopContext_ = context;
    }

    /// Tells the innermost object of this thread that memory was refused; false when the thread has none.
    static bool NoteRefusedMemory() noexcept;

    /// The error handlers, for contexts of the libraries that have handlers of their own; `self` is a LibraryCall.
    static void Structured(void * self, xmlErrorPtr error) noexcept;
    static void Generic(void * self, char const * format, ...) noexcept;

    /// The innermost object of this thread; null when there is none.
    static LibraryCall * Current() noexcept;
    void AddText(std::string_view text) noexcept;

private:
    void NoteRefusal() noexcept;

    LibraryCall * outer_;
    xmlStructuredErrorFunc oldStructured_;
    void * oldStructuredContext_;
    xmlGenericErrorFunc oldGeneric_;
    void * oldGenericContext_;
    std::string message_;
    std::string text_;
    int line_ = 0;
    bool isOutOfMemory_ = false;
    void (*stop_)(void *) = nullptr;
    void * stopContext_ = nullptr;
};

} // namespace KZPlatform::LibXml2
