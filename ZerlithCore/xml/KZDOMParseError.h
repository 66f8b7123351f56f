/// @file
/// Why a document couldn't be loaded or isn't valid.
///
///     KZDOMDocument document = KZDOMDocument::Create();
///     if (!document.Load(u"<list>\n<item></list>")) {
///         KZDOMParseError const error = document.GetLastParseError();
///         KZGetConsole() << L"line " << error.GetLine() << L": " << error.GetReason() << std::endl; // line 2: ...
///     }
#pragma once

#include "ZerlithCore/foundation/KZGuid.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/platform/Documents.h"
#include "ZerlithCore/text/KZString.h"

#include <cstdint>

/// The outcome of a `Load` or `Validate`. An object doesn't change when the document is loaded again.
///
/// After a success, and in an empty handle, the code is 0 and everything else is 0 or empty.
///
/// Errors: std::bad_alloc where a text is returned. Thread safety: as a plain record.
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
    /// The column in the line, in units, from 1 on; 0 when it isn't known, as after `Validate`.
    [[nodiscard]] std::uint32_t GetLinePosition() const noexcept;
    /// The text of the line without its end, at most 4,096 bytes of it.
    [[nodiscard]] KZString GetSourceText() const;
    /// The offset of the error: in units of the text, or in bytes of the file.
    [[nodiscard]] std::uint32_t GetFilePosition() const noexcept;
    /// The name of the file; empty if a text was loaded.
    [[nodiscard]] KZString GetURL() const;

private:
    KZSmartPtr<KZPlatform::DocumentParseError> error_;
};
