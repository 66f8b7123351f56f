/// @file
/// Passes text and failures between the document interface of the platform folder and the classes here. Not installed.
#pragma once

#include "ZerlithCore/foundation/KZGuid.h"
#include "ZerlithCore/platform/Documents.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/xml/KZDOMNodeType.h"

#include <string_view>
#include <utility>

namespace KZDetail {

/// Gathers the text that a document operation writes, in a string.
class StringSink final : public KZPlatform::DocumentSink {
public:
    void Append(std::string_view utf8) override;
    /// Returns the text and leaves the sink empty.
    [[nodiscard]] KZString Take() noexcept { return std::move(text_); }

private:
    KZString text_;
};

/// All units of a text. The document interface stops at the first 0 unit.
[[nodiscard]] inline std::u16string_view ViewOf(KZString const & text) noexcept {
    return std::u16string_view(text);
}

/// A kind of nodes of the document interface as users know it, and the reverse.
[[nodiscard]] KZDOMNodeType TypeOf(KZPlatform::DocumentNodeKind kind) noexcept;
[[nodiscard]] KZPlatform::DocumentNodeKind KindOf(KZDOMNodeType type) noexcept;

/// Throws a KZDOMException if `result` is a failure.
void Check(KZPlatform::DocumentResult const & result, KZGuid const & interfaceId);
/// Throws a KZDOMException.
[[noreturn]] void Fail(KZPlatform::DocumentCode code, KZGuid const & interfaceId, KZString const & message);

/// The object that a handle refers to. Errors: a KZDOMException for null.
template <class T>
T & Existing(T * object, KZGuid const & interfaceId) {
    if (!object) Fail(KZPlatform::DocumentCode::NullNode, interfaceId, u"There is no node");
    return *object;
}

} // namespace KZDetail
