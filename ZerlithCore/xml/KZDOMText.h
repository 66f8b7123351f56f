/// @file
/// Texts of documents.
#pragma once

#include "ZerlithCore/xml/KZDOMNode.h"

/// A handle on a text or a CDATA section, or on none.
///
/// Thread safety, errors: as KZDOMNode.
class KZ_EXPORT KZDOMText : public KZDOMNode {
public:
    static constexpr KZGuid InterfaceId{0x5D0C9A12, 0x4B7E2F31, 0x6E83A19C, 0x7F24D0B5};

    KZDOMText() noexcept = default;
    /// The node as a text; a handle on none if it isn't one.
    explicit KZDOMText(KZDOMNode const & node);

    [[nodiscard]] KZSmartPtr<KZPlatform::DocumentText> GetTextSP() const;
};
