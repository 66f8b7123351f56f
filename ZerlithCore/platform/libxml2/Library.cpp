// libxml2 keeps its error handlers a thread, so a scope may set and restore them. libxslt keeps one for the process: it is
// replaced once, by one that looks for a scope on its thread and hands on to its predecessor where there is none.
#include "ZerlithCore/platform/libxml2/Library.h"

#include "ZerlithCore/platform/FloatingPoint.h"
#include "ZerlithCore/platform/Utf8.h"
#include "ZerlithCore/platform/libxml2/Schemas.h"

#include <libxml/parser.h>
#include <libxml/xmlschemastypes.h>
#include <libxml/xpath.h>
#include <libxslt/xslt.h>
#include <libxslt/xsltutils.h>

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace KZPlatform::LibXml2 {

namespace {

constexpr std::size_t MaxTextBytes = 4096; // of complaints that are kept

thread_local ErrorScope * currentScope = nullptr;

xmlGenericErrorFunc hostXsltError = nullptr;
void * hostXsltContext = nullptr;

void XsltError(void *, char const * format, ...) noexcept {
    char text[1024];
    std::va_list arguments;
    va_start(arguments, format);
    int const length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (length < 0) return;
    if (ErrorScope * const scope = ErrorScope::Current()) {
        scope->AddText(text);
    } else if (hostXsltError) {
        hostXsltError(hostXsltContext, "%s", text);
    }
}

} // namespace

void Initialise() {
    static std::once_flag once;
    std::call_once(once, [] {
        QuietFloatingPoint const quiet; // the library makes itself a NaN
        xmlInitParser();
        xmlXPathInit();
        xmlSchemaInitTypes();
        xsltInit();
        hostXsltError = xsltGenericError;
        hostXsltContext = xsltGenericErrorContext;
        xsltSetGenericErrorFunc(nullptr, XsltError);
        Schemas::RegisterNames();
    });
}

std::string Utf8Of(std::u16string_view text) {
    std::string utf8 = UnitsToUtf8(text, Utf8Mode::Replace);
    if (std::size_t const end = utf8.find('\0'); end != utf8.npos) utf8.resize(end);
    return utf8;
}

std::u16string UnitsOf(std::string_view utf8) { return Utf8ToUnits(utf8, Utf8Mode::Replace); }

std::u16string MessageOf(std::string_view message) {
    while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) message.remove_suffix(1);
    return UnitsOf(message);
}

std::u16string Quoted(std::u16string_view text) { return u"'" + std::u16string(text.substr(0, 200)) + u"'"; }

bool IsDocumentText(std::string_view utf8) noexcept {
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        auto const byte = static_cast<unsigned char>(utf8[i]);
        if (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') return false;
        // U+FFFE and U+FFFF
        if (byte == 0xEF && i + 2 < utf8.size() && utf8[i + 1] == '\xBF' &&
            static_cast<unsigned char>(utf8[i + 2]) >= 0xBE)
            return false;
    }
    return true;
}

// --- ErrorScope

ErrorScope::ErrorScope() noexcept
    : outer_(currentScope)
    , oldStructured_(xmlStructuredError)
    , oldStructuredContext_(xmlStructuredErrorContext)
    , oldGeneric_(xmlGenericError)
    , oldGenericContext_(xmlGenericErrorContext) {
    currentScope = this;
    xmlSetStructuredErrorFunc(this, Structured);
    xmlSetGenericErrorFunc(this, Generic);
}

ErrorScope::~ErrorScope() {
    xmlSetStructuredErrorFunc(oldStructuredContext_, oldStructured_);
    xmlSetGenericErrorFunc(oldGenericContext_, oldGeneric_);
    currentScope = outer_;
}

ErrorScope * ErrorScope::Current() noexcept { return currentScope; }

std::u16string ErrorScope::Reason() const { return MessageOf(message_.empty() ? text_ : message_); }

void ErrorScope::Structured(void * self, xmlErrorPtr error) noexcept {
    auto & scope = *static_cast<ErrorScope *>(self);
    if (!scope.message_.empty() || !error || error->level < XML_ERR_ERROR || !error->message) return;
    try {
        scope.message_ = error->message;
        scope.line_ = error->line;
    } catch (std::bad_alloc const &) { // the operation fails all the same, without a text
    }
}

void ErrorScope::Generic(void * self, char const * format, ...) noexcept {
    char text[1024];
    std::va_list arguments;
    va_start(arguments, format);
    int const length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (length >= 0) static_cast<ErrorScope *>(self)->AddText(text);
}

void ErrorScope::AddText(std::string_view text) noexcept {
    try {
        if (text_.size() < MaxTextBytes) text_ += text;
    } catch (std::bad_alloc const &) { // as above
    }
}

} // namespace KZPlatform::LibXml2
