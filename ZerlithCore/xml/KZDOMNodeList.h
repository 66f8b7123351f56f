/// @file
/// Lists of nodes.
///
///     KZDOMDocument catalog = KZDOMDocument::Create();
///     catalog.Load(u"<catalog><book><price>35</price></book></catalog>");
///     KZDOMNodeList books = catalog.SelectNodes(u"catalog/book[price > 30]");
///     for (KZDOMElement book = books.GetNextElement(); book.IsValid(); book = books.GetNextElement())
///         KZGetConsole() << book.GetXML() << std::endl;
#pragma once

#include "ZerlithCore/xml/KZDOMElement.h"

/// A handle on a list of nodes in a fixed order, with a current place. An empty handle is an empty list.
///
/// The nodes stay in the list, and exist as long as it does, even if they are removed from the document. Copies of the handle
/// share the place.
///
/// Thread safety, errors: as KZDOMNode.
class KZ_EXPORT KZDOMNodeList {
public:
    static constexpr KZGuid InterfaceId{0x5D0C9A14, 0x4B7E2F31, 0x6E83A19C, 0x7F24D0B5};

    KZDOMNodeList() noexcept = default;
    explicit KZDOMNodeList(KZSmartPtr<KZPlatform::DocumentNodeList> list) noexcept : list_(std::move(list)) {}

    /// The number of nodes.
    [[nodiscard]] std::uint32_t GetLength() const;
    /// The next node; an empty handle at the end.
    KZDOMNode GetNextNode();
    /// The next element, skipping nodes of other types; an empty handle at the end.
    KZDOMElement GetNextElement();
    /// Moves the place back to the first node.
    void Reset();

private:
    KZSmartPtr<KZPlatform::DocumentNodeList> list_;
};
