/// @file
/// What every source beside this one needs of libxml2: one start, owning pointers, and errors that go nowhere else.
#pragma once

#include "ZerlithCore/platform/Documents.h"

#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <cstddef>
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
using OwnedNode = std::unique_ptr<xmlNode, FreeBy<xmlFreeNode>>; // that stands nowhere, and is no attribute
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

/// A text of the library's own. Errors: std::bad_alloc.
[[nodiscard]] OwnedText CopyOfText(std::string const & text);

/// Makes sure that the system has so much memory just now. Errors: std::bad_alloc.
void AskForMemory(std::size_t bytes);

/// Whether all characters may stand in a document.
[[nodiscard]] bool IsDocumentText(std::string_view utf8) noexcept;

/// While it lives, this thread is at work in libxml2 or libxslt. What they complain about on the thread comes here, not to
/// standard error, and memory that the system refuses them comes from a reserve and is noticed.
///
/// Every operation has one as long as it calls either library, and asks `CheckMemory` before it makes its result known:
/// the reserve may have been too small, and then what the libraries have done lacks a part, whatever they say. Calls may nest; what was refused in
/// an inner one was refused in the outer one, too.
class LibraryCall {
public:
    /// Errors: std::bad_alloc, when it is the thread's first one.
    LibraryCall();
    ~LibraryCall();
    LibraryCall(LibraryCall const &) = delete;
    LibraryCall & operator=(LibraryCall const &) = delete;

    /// The first error's text, or what was said without a code if there is no error.
    [[nodiscard]] std::u16string Reason() const;
    /// The line of the first error; 0 for unknown.
    [[nodiscard]] int Line() const noexcept { return line_; }

    [[nodiscard]] bool IsOutOfMemory() const noexcept { return isOutOfMemory_; }
    /// Errors: std::bad_alloc if memory has been refused since this was made.
    void CheckMemory() const {
        if (isOutOfMemory_) throw std::bad_alloc();
    }
    /// Calls `stop` with `context` once memory is refused. It may only set what is asked later: the library is in the middle
    /// of its work then.
    void StopWithoutMemory(void (*stop)(void *), void * context) noexcept {
        stop_ = stop;
        stopContext_ = context;
    }

    /// Tells the innermost call of this thread that memory was refused; false when there is none.
    static bool NoteRefusedMemory() noexcept;

    /// The handlers, to be given to contexts that have some of their own; `self` is a LibraryCall.
    static void Structured(void * self, xmlErrorPtr error) noexcept;
    static void Generic(void * self, char const * format, ...) noexcept;

    /// The innermost one of this thread.
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
