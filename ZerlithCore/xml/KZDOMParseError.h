/// @file
/// Why a document couldn't be loaded or isn't valid.
#pragma once

#include "ZerlithCore/foundation/KZGuid.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/platform/Documents.h"
#include "ZerlithCore/text/KZString.h"

#include <cstdint>

/// The outcome of a `Load` or `Validate`. It doesn't change when the document is loaded again.
///
/// After a success, and in a handle on none, the code is 0 and everything else is empty.
///
/// Thread safety: as a plain record.
class KZ_EXPORT KZDOMParseError {
public:
    static constexpr KZGuid InterfaceId{0x5D0C9A15, 0x4B7E2F31, 0x6E83A19C, 0x7F24D0B5};

    KZDOMParseError() noexcept = default;
    explicit KZDOMParseError(KZSmartPtr<KZPlatform::DocumentParseError> const & error) : error_(error) {}

    /// One of KZDOMResult.
    [[nodiscard]] std::int32_t GetErrorCode() const noexcept;
    /// What is wrong, in English.
    [[nodiscard]] KZString GetReason() const;
    /// The line, from 1 on; 0 for a file that can't be read.
    [[nodiscard]] std::uint32_t GetLine() const noexcept;
    /// The place in the line, in units, from 1 on; 0 when it isn't known, as after `Validate`.
    [[nodiscard]] std::uint32_t GetLinePosition() const noexcept;
    /// The text of the line without its end, at most 4,096 bytes of it.
    [[nodiscard]] KZString GetSourceText() const;
    /// Units of the text, or bytes of the file, in front of the place.
    [[nodiscard]] std::uint32_t GetFilePosition() const noexcept;
    /// The name of the file; empty for a text.
    [[nodiscard]] KZString GetURL() const;

private:
    KZSmartPtr<KZPlatform::DocumentParseError> error_;
};
