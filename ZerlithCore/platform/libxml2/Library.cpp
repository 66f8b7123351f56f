// libxml2 has error handlers for each thread, so a LibraryCall sets and restores them. libxslt has one handler for the whole
// process. It is replaced once, by a handler that passes messages to the LibraryCall of the thread, or to the former handler
// if the thread has none.
#include "ZerlithCore/platform/libxml2/Library.h"

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/platform/FloatingPoint.h"
#include "ZerlithCore/platform/libxml2/Memory.h"
#include "ZerlithCore/platform/libxml2/Schemas.h"

#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/threads.h>
#include <libxml/xmlschemastypes.h>
#include <libxml/xpath.h>
#include <libxslt/xslt.h>
#include <libxslt/xsltutils.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace KZPlatform::LibXml2 {

namespace {

constexpr std::size_t maxTextBytes = 4096; // of error messages that are kept

DocumentHost const * usedHost = nullptr;

thread_local LibraryCall * currentCall = nullptr;

xmlGenericErrorFunc hostXsltError = nullptr;
void * hostXsltContext = nullptr;

void XsltError(void *, char const * format, ...) noexcept {
    char text[1024];
    std::va_list arguments;
    va_start(arguments, format);
    int const length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (length < 0) return;
    if (LibraryCall * const call = LibraryCall::Current()) {
        call->AddText(text);
    } else if (hostXsltError) {
        hostXsltError(hostXsltContext, "%s", text);
    }
}

} // namespace

void Initialise(DocumentHost const & host) {
    static std::once_flag once;
    std::call_once(once, [&host] {
        usedHost = &host;
        UseReserve();
        QuietFloatingPoint const quiet; // the library computes a NaN when it starts
        LibraryCall const call;         // what is made once is whole, be it of the reserve
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

DocumentHost const & Host() noexcept { return *usedHost; }

std::string Utf8Of(std::u16string_view text) {
    std::string utf8 = KZEncoding::UnitsToUtf8(text, KZEncoding::Utf8Mode::Replace);
    if (std::size_t const end = utf8.find('\0'); end != utf8.npos) utf8.resize(end);
    return utf8;
}

OwnedText CopyOfText(std::string const & text) {
    LibraryCall const call;
    OwnedText copy(Need(xmlStrdup(Chars(text))));
    call.CheckMemory();
    return copy;
}

void AskForMemory(std::size_t bytes) { std::free(Need(std::malloc(bytes))); }

std::u16string UnitsOf(std::string_view utf8) {
    return KZEncoding::Utf8ToUnits(utf8, KZEncoding::Utf8Mode::Replace);
}

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

// --- LibraryCall

namespace {

// The first use of libxml2 on a thread allocates its globals there, and libxml2 crashes if that fails. So a block of that size
// is allocated and freed first: if that works, the C library can give libxml2 the same block.
void MakeThreadGlobals() {
    thread_local bool areMade = false;
    if (areMade || xmlIsMainThread()) return;
    AskForMemory(sizeof(xmlGlobalState));
    Need(xmlGetGlobalState());
    areMade = true;
}

} // namespace

LibraryCall::LibraryCall() : outer_(currentCall) {
    MakeThreadGlobals();
    oldStructured_ = xmlStructuredError;
    oldStructuredContext_ = xmlStructuredErrorContext;
    oldGeneric_ = xmlGenericError;
    oldGenericContext_ = xmlGenericErrorContext;
    currentCall = this;
    xmlSetStructuredErrorFunc(this, Structured);
    xmlSetGenericErrorFunc(this, Generic);
}

LibraryCall::~LibraryCall() {
    xmlSetStructuredErrorFunc(oldStructuredContext_, oldStructured_);
    xmlSetGenericErrorFunc(oldGenericContext_, oldGeneric_);
    currentCall = outer_;
    if (isOutOfMemory_ && outer_) outer_->NoteRefusal();
}

LibraryCall * LibraryCall::Current() noexcept { return currentCall; }

bool LibraryCall::NoteRefusedMemory() noexcept {
    if (!currentCall) return false;
    currentCall->NoteRefusal();
    return true;
}

void LibraryCall::NoteRefusal() noexcept {
    if (isOutOfMemory_) return;
    isOutOfMemory_ = true;
    if (stop_) stop_(stopContext_);
}

std::u16string LibraryCall::Reason() const { return MessageOf(message_.empty() ? text_ : message_); }

void LibraryCall::Structured(void * self, xmlErrorPtr error) noexcept {
    auto & call = *static_cast<LibraryCall *>(self);
    if (!call.message_.empty() || !error || error->level < XML_ERR_ERROR || !error->message) return;
    try {
        call.message_ = error->message;
        call.line_ = error->line;
    } catch (std::bad_alloc const &) {
        call.NoteRefusal();
    }
}

void LibraryCall::Generic(void * self, char const * format, ...) noexcept {
    char text[1024];
    std::va_list arguments;
    va_start(arguments, format);
    int const length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (length >= 0) static_cast<LibraryCall *>(self)->AddText(text);
}

void LibraryCall::AddText(std::string_view text) noexcept {
    try {
        if (text_.size() < maxTextBytes) text_ += text;
    } catch (std::bad_alloc const &) {
        NoteRefusal();
    }
}

} // namespace KZPlatform::LibXml2
