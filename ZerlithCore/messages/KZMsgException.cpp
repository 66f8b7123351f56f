// An exception with the text of a message: its class stands with the exceptions, but only this room knows the source.
#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/messages/KZFormatContext.h"
#include "ZerlithCore/messages/KZMessageSource.h"

#include <new>

namespace {

/// Nothing without memory, since an exception must stay the one that it is.
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
