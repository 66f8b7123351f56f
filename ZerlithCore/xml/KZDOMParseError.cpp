#include "ZerlithCore/xml/KZDOMParseError.h"

std::int32_t KZDOMParseError::GetErrorCode() const noexcept {
    return error_.IsNull() ? 0 : static_cast<std::int32_t>(error_->Code());
}

KZString KZDOMParseError::GetReason() const {
    return error_.IsNull() ? KZString() : KZString(error_->Reason());
}

std::uint32_t KZDOMParseError::GetLine() const noexcept { return error_.IsNull() ? 0 : error_->Line(); }

std::uint32_t KZDOMParseError::GetLinePosition() const noexcept {
    return error_.IsNull() ? 0 : error_->Column();
}

KZString KZDOMParseError::GetSourceText() const {
    return error_.IsNull() ? KZString() : KZString(error_->SourceText());
}

std::uint32_t KZDOMParseError::GetFilePosition() const noexcept {
    return error_.IsNull() ? 0 : error_->Position();
}

KZString KZDOMParseError::GetURL() const { return error_.IsNull() ? KZString() : KZString(error_->Url()); }
