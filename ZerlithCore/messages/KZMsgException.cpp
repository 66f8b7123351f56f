// The constructor of the exception with the text of a message. Its class is declared with the other exceptions, but the text
// comes from a message source, which only this room and those above it know.
#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/messages/KZFormatContext.h"
#include "ZerlithCore/messages/KZMessageSource.h"

#include <new>

namespace {

/// The text of `code`; empty when there is no memory for it, because std::bad_alloc must not replace the exception.
KZString SourceText(long code, KZSmartPtr<KZMessageSource> const & source) {
    try {
        KZString text;
        if (!source.IsNull()) static_cast<void>(source->GetText(text, code, KZFormatContext()));
        return text;
    } catch (std::bad_alloc const &) {
        return {};
    }
}

} // namespace

KZMsgException::KZMsgException(long code, KZSmartPtr<KZMessageSource> const & source)
    : KZException(SourceText(code, source)) {}
