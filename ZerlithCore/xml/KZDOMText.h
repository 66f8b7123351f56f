/// @file
/// Texts of documents.
///
///     KZDOMDocument document = KZDOMDocument::Create();
///     KZDOMText text = document.CreateText(u"5 < 7");
///     document.CreateElement(u"claim", true).AppendChild(text);
///     KZGetConsole() << document.GetRootElement().GetXML() << std::endl; // <claim>5 &lt; 7</claim>
#pragma once

#include "ZerlithCore/xml/KZDOMNode.h"

/// A handle on a text or a CDATA section, or an empty handle.
///
/// Thread safety, errors: as KZDOMNode.
class KZ_EXPORT KZDOMText : public KZDOMNode {
public:
    static constexpr KZGuid InterfaceId{0x5D0C9A12, 0x4B7E2F31, 0x6E83A19C, 0x7F24D0B5};

    /// An empty handle.
    KZDOMText() noexcept = default;
    /// The node as a text; an empty handle if it isn't one.
    explicit KZDOMText(KZDOMNode const & node);

    /// The text as the platform's interface; null for an empty handle.
    [[nodiscard]] KZSmartPtr<KZPlatform::DocumentText> GetTextSP() const;
};
