/// @file
/// Text and failures on their way between the documents' seam and the classes of this folder.
#pragma once

#include "ZerlithCore/foundation/KZGuid.h"
#include "ZerlithCore/platform/Documents.h"
#include "ZerlithCore/text/KZString.h"

#include <string_view>
#include <utility>

namespace KZDetail {

/// Gathers text in a string.
class StringSink final : public KZPlatform::DocumentSink {
public:
    void Append(std::string_view utf8) override;
    /// The text; the sink is empty then.
    [[nodiscard]] KZString Take() noexcept { return std::move(text_); }

private:
    KZString text_;
};

/// All units of a text that goes to the seam, which stops at the first 0 unit.
[[nodiscard]] inline std::u16string_view ViewOf(KZString const & text) noexcept {
    return std::u16string_view(text);
}

/// Throws a KZDOMException for a failure.
void Check(KZPlatform::DocumentResult const & result, KZGuid const & interfaceId);
[[noreturn]] void Fail(KZPlatform::DocumentCode code, KZGuid const & interfaceId, KZString const & message);

/// The object behind a handle. Errors: a KZDOMException for null.
template <class T>
T & Existing(T * object, KZGuid const & interfaceId) {
    if (!object) Fail(KZPlatform::DocumentCode::NullNode, interfaceId, u"There is no node");
    return *object;
}

} // namespace KZDetail
